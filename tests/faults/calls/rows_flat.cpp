// Flat functions over forums, their messages and mailing lists.
#include "calls/board.h"
#include "calls/row.h"

namespace faults {

namespace {

// A forum that is open while the row runs. Given away to `CloseForum` it is not closed again.
class OpenTalk {
 public:
  explicit OpenTalk(const Trial& run, const char* name = "Talk")
      : forum_(OpenForum(name, run.Data())) {}
  ~OpenTalk() { CloseForum(forum_); }
  OpenTalk(const OpenTalk&) = delete;
  OpenTalk& operator=(const OpenTalk&) = delete;
  operator TForum*() const { return forum_; }
  TForum* operator->() const { return forum_; }
  bool Commits() const { return forum_->Storage().Commit() != 0; }

 private:
  TForum* forum_;
};

// --- Files ---------------------------------------------------------------------------------------

void OpenOne(Trial& run) {
  TForum* forum = run.Call([&] { return OpenForum("Talk", run.Data()); });
  run.Succeeds(forum != nullptr);
  if (forum != nullptr) run.Sees(forum->Number("Message Count"));
  CloseForum(forum);
}
void OpenOldOne(Trial& run) {
  TForum* forum = run.Call([&] { return OpenForum("Old", run.Data()); });
  run.Succeeds(forum != nullptr);
  if (forum != nullptr) run.Sees(forum->Number("Message Count"));
  CloseForum(forum);
  // The message list that is being made.
  run.MayBePartOf("Data/Old.mwd:");
}
void CreateOne(Trial& run) {
  TForum* forum = run.Call([&] { return CreateForum("New", run.Data()); });
  run.Succeeds(forum != nullptr);
  CloseForum(forum);
  run.MayBePartOf("Data/New");
}
void CreateInPlace(Trial& run) {
  TForum* forum = run.Call([&] { return CreateForum("Talk", run.Data()); });
  run.Succeeds(forum != nullptr);
  CloseForum(forum);
  // What was there was to go.
  run.MayBePartOf("Data/Talk.mwd");
}
void CloseOne(Trial& run) {
  TForum* forum = OpenForum("Talk", run.Data());
  forum->String("Description", "another text of more than a few characters");
  run.Call([&] { CloseForum(forum); });
  run.SaysNothing();
}
void RenameOne(Trial& run) {
  run.Succeeds(run.Call([&] { return RenameForum("Talk", "Talk anew", run.Data()); }) != 0);
}
void DeleteOne(Trial& run) {
  run.Succeeds(run.Call([&] { return DeleteForum("Talk", run.Data()); }) != 0);
}

void StartSearch(Trial& run) {
  TForumSearcher* search = run.Call([&] { return StartForumSearch(run.Data()); });
  run.Succeeds(search != nullptr);
  EndForumSearch(search);
}
void FindFirst(Trial& run) {
  TForumSearcher* search = StartForumSearch(run.Data());
  const char* found = run.Call([&] { return FindFirstForum(search); });
  run.Succeeds(found != nullptr);
  run.Sees(found);
  EndForumSearch(search);
}
void FindNext(Trial& run) {
  TForumSearcher* search = StartForumSearch(run.Data());
  FindFirstForum(search);
  const char* found = run.Call([&] { return FindNextForum(search); });
  run.Succeeds(found != nullptr);
  run.Sees(found);
  EndForumSearch(search);
}
void EndSearch(Trial& run) {
  TForumSearcher* search = StartForumSearch(run.Data());
  FindFirstForum(search);
  run.Call([&] { EndForumSearch(search); });
  run.Succeeds(true);
}

// --- Messages ------------------------------------------------------------------------------------

void OpenTemporaryMessage(Trial& run) {
  TMail* mail = run.Call([] { return OpenMessage(0, nullptr); });
  run.Succeeds(mail != nullptr);
  if (mail != nullptr) run.Sees(mail->String("SUBJECT", kLong));
  CloseMessage(mail);
}
void OpenOneMessage(Trial& run) {
  const OpenTalk forum(run);
  TMail* mail = run.Call([&] { return OpenMessage(2, forum); });
  run.Succeeds(mail != nullptr);
  if (mail != nullptr) run.Sees(mail->String("SUBJECT"));
  CloseMessage(mail);
}
void InsertOne(Trial& run) {
  const OpenTalk forum(run);
  const OwnedMail mail = NewMail("Fourth");
  const DWORD index = run.Call([&] { return InsertMessage(mail.get(), forum); });
  run.Sees(index);
  run.Succeeds(forum.Commits() && index != 0);
  // An element that is not listed; the next insertion makes it anew.
  run.MayBePartOf("Data/Talk.mwd:/4");
}
void InsertIntoFullOne(Trial& run) {
  const OpenTalk forum(run);
  forum->Number("Max Message Count", 3);
  const OwnedMail mail = NewMail("Fourth");
  const DWORD index = run.Call([&] { return InsertMessage(mail.get(), forum); });
  run.Sees(index);
  run.Succeeds(forum.Commits() && index != 0);
  run.MayBePartOf("Data/Talk.mwd:/");
}
void RenameOneMessage(Trial& run) {
  const OpenTalk forum(run);
  const OwnedMail mail(OpenMessage(2, forum));
  const int result = run.Call([&] { return RenameMessage(mail.get(), forum, kLong); });
  run.Succeeds(forum.Commits() && result != 0);
}
void RelinkOneMessage(Trial& run) {
  const OpenTalk forum(run);
  const OwnedMail mail(OpenMessage(3, forum));
  const int result = run.Call([&] { return RelinkMessage(mail.get(), forum, 1); });
  run.Succeeds(forum.Commits() && result != 0);
}
void CloseOneMessage(Trial& run) {
  const OpenTalk forum(run);
  TMail* mail = OpenMessage(2, forum);
  mail->String("SUBJECT", kLong);
  run.Call([&] { CloseMessage(mail); });
  run.SaysNothing();
}
void RemoveOneMessage(Trial& run) {
  const OpenTalk forum(run);
  const int result = run.Call([&] { return RemoveMessage(2, forum); });
  run.Succeeds(forum.Commits() && result != 0);
  // The numbers of the first and the last one.
  run.MayBePartOf("Data/Talk.mwd:/INFO");
}
void OpenTheAnnouncement(Trial& run) {
  const OpenTalk forum(run);
  TMail* mail = run.Call([&] { return OpenAnnouncement(forum); });
  run.Succeeds(mail != nullptr);
  CloseMessage(mail);
}
void MakeTheAnnouncement(Trial& run) {
  const OpenTalk forum(run, "Old");
  TMail* mail = run.Call([&] { return OpenAnnouncement(forum); });
  CloseMessage(mail);
  run.Succeeds(forum.Commits() && mail != nullptr);
}

void StartWalk(Trial& run) {
  const OpenTalk forum(run);
  TMessageSearcher* walk = run.Call([&] { return StartMessageSearch(forum); });
  run.Succeeds(walk != nullptr);
  EndMessageSearch(walk);
}
void FindFirstOne(Trial& run) {
  const OpenTalk forum(run);
  TMessageSearcher* walk = StartMessageSearch(forum);
  const TMessageSearchResult found = run.Call([&] { return FindFirstMessage(walk); });
  run.Sees(found.subject);
  run.Succeeds(found.index != 0);
  EndMessageSearch(walk);
}
void FindNextOne(Trial& run) {
  const OpenTalk forum(run);
  TMessageSearcher* walk = StartMessageSearch(forum);
  FindFirstMessage(walk);
  const TMessageSearchResult found = run.Call([&] { return FindNextMessage(walk); });
  run.Sees(found.subject);
  run.Succeeds(found.index != 0);
  EndMessageSearch(walk);
}
void EndWalk(Trial& run) {
  const OpenTalk forum(run);
  TMessageSearcher* walk = StartMessageSearch(forum);
  FindFirstMessage(walk);
  run.Call([&] { EndMessageSearch(walk); });
  run.Succeeds(true);
}

// --- Mailing lists -------------------------------------------------------------------------------

constexpr char kList[] = "two@lists.example.org";

void NameOfList(Trial& run) {
  const OpenTalk forum(run);
  run.Sees(run.Call([&] { return GetMailingListName(kList, forum); }));
  run.SaysNothing();
}
void AddList(Trial& run) {
  const OpenTalk forum(run);
  const int result =
      run.Call([&] { return AddMailingList("three@lists.example.org", kLong, forum); });
  run.Succeeds(forum.Commits() && result != 0);
}
void RenameList(Trial& run) {
  const OpenTalk forum(run);
  const int result =
      run.Call([&] { return RenameMailingList("three@lists.example.org", kLong, forum); });
  run.Succeeds(forum.Commits() && result != 0);
}
void RemoveList(Trial& run) {
  const OpenTalk forum(run);
  const int result = run.Call([&] { return RemoveMailingList("one@lists.example.org", forum); });
  run.Succeeds(forum.Commits() && result != 0);
}
void FindList(Trial& run) {
  const OpenTalk forum(run);
  run.Succeeds(run.Call([&] { return FindMailingList(kList, forum); }) != 0);
}
void StartListWalk(Trial& run) {
  const OpenTalk forum(run);
  TListItemSearcher* walk = run.Call([&] { return StartMailingListSearch(forum); });
  run.Succeeds(walk != nullptr);
  EndMailingListSearch(walk);
}
void FindFirstList(Trial& run) {
  const OpenTalk forum(run);
  TListItemSearcher* walk = StartMailingListSearch(forum);
  const TMailingListSearchResult found = run.Call([&] { return FindFirstMailingList(walk); });
  run.Sees(found.name);
  run.Succeeds(found.key != nullptr);
  EndMailingListSearch(walk);
}
void FindNextList(Trial& run) {
  const OpenTalk forum(run);
  TListItemSearcher* walk = StartMailingListSearch(forum);
  FindFirstMailingList(walk);
  const TMailingListSearchResult found = run.Call([&] { return FindNextMailingList(walk); });
  run.Sees(found.name);
  run.Succeeds(found.key != nullptr);
  EndMailingListSearch(walk);
}
void EndListWalk(Trial& run) {
  const OpenTalk forum(run);
  TListItemSearcher* walk = StartMailingListSearch(forum);
  run.Call([&] { EndMailingListSearch(walk); });
  run.Succeeds(true);
}

// --- Plain text ----------------------------------------------------------------------------------

constexpr char kHtml[] =
    "<html><body><p>A first paragraph with some words.</p><ul><li>One<li>Two</ul></body></html>";

void PlainText(Trial& run) {
  const OwnedMail mail = NewMail("A page", kHtml);
  char* text = run.Call([&] { return GetPlainTextContent(mail.get()); });
  run.Sees(text);
  run.Succeeds(text != nullptr);
  FreePlainTextContent(text);
}
void FreePlainText(Trial& run) {
  const OwnedMail mail = NewMail("A page", kHtml);
  char* text = GetPlainTextContent(mail.get());
  run.Call([&] { FreePlainTextContent(text); });
  run.Succeeds(true);
}

}  // namespace

Rows FlatRows() {
  return {
      {"OpenForum", OpenOne},
      {"OpenForum(of an older layout)", OpenOldOne},
      {"CreateForum", CreateOne},
      {"CreateForum(in place of one)", CreateInPlace},
      {"CloseForum", CloseOne},
      {"RenameForum", RenameOne},
      {"DeleteForum", DeleteOne},
      {"StartForumSearch", StartSearch},
      {"FindFirstForum", FindFirst},
      {"FindNextForum", FindNext},
      {"EndForumSearch", EndSearch},
      {"OpenMessage(temporary)", OpenTemporaryMessage},
      {"OpenMessage", OpenOneMessage},
      {"InsertMessage", InsertOne},
      {"InsertMessage(into a full forum)", InsertIntoFullOne},
      {"RenameMessage", RenameOneMessage},
      {"RelinkMessage", RelinkOneMessage},
      {"CloseMessage", CloseOneMessage},
      {"RemoveMessage", RemoveOneMessage},
      {"OpenAnnouncement", OpenTheAnnouncement},
      {"OpenAnnouncement(makes it)", MakeTheAnnouncement},
      {"StartMessageSearch", StartWalk},
      {"FindFirstMessage", FindFirstOne},
      {"FindNextMessage", FindNextOne},
      {"EndMessageSearch", EndWalk},
      {"GetMailingListName", NameOfList},
      {"AddMailingList", AddList},
      {"RenameMailingList", RenameList},
      {"RemoveMailingList", RemoveList},
      {"FindMailingList", FindList},
      {"StartMailingListSearch", StartListWalk},
      {"FindFirstMailingList", FindFirstList},
      {"FindNextMailingList", FindNextList},
      {"EndMailingListSearch", EndListWalk},
      {"GetPlainTextContent", PlainText},
      {"FreePlainTextContent", FreePlainText, Row::Kind::kQuiet},
  };
}

}  // namespace faults
