#include "shared/mailtask.h"

#include "board/list_index.h"
#include "frame/reporting.h"
#include "platform/win32.h"
#include "shared/client_settings.h"
#include "shared/link_subject.h"
#include "shared/mailing_lists.h"
#include "shared/subject_tag.h"
#include "shared/task_makers.h"
#include "shared/vote_counter.h"
#include "store/ascii.h"
#include "store/guard.h"
#include "text/charset.h"
#include "text/encoded_words.h"

#include <new>

using brevant::EqualsIgnoreCase;
using brevant::TBoardCache;
using brevant::TBoardKind;
using brevant::TMailHeaders;
using brevant::TMailRoute;
using brevant::TMessageReader;
using brevant::TReadResult;
using brevant::TVoteResult;

namespace {

constexpr const char* kModule = "..\\shared\\mailtask.cpp";

bool SetLinkId(TMail& mail, const TMailRoute& route) {
  const LONG answered = brevant::TagLinkId(brevant::ParseSubjectTag(route.header));
  return answered <= 0 || mail.Number("LINK ID", answered) == 1;
}

// A link whose form gave no address has everything in its subject, of which header is the whole
// text: the item keeps what its record holds.
bool SplitSubject(TMail& link, const std::string& header, bool decodeText) {
  if (*link.String("Address") != '\0') return true;
  std::string subject = link.String("SUBJECT");
  const auto fit = [decodeText](std::string_view text, const char* key) {
    return decodeText ? brevant::FitProperty(std::string(text), key) : std::string(text);
  };
  if (decodeText && subject == fit(header, "SUBJECT")) subject = header;
  const brevant::TLinkSubject parts = brevant::SplitLinkSubject(subject);
  return link.String("SUBJECT", fit(parts.subject, "SUBJECT").c_str()) == 1 &&
         link.String("Address", fit(parts.address, "Address").c_str()) == 1 &&
         (!parts.size || link.Number("Size", *parts.size) == 1);
}

// Cuts an item's subject to what the list of that container holds of it: less than the item itself
// when the numbers before it are long.
bool FitListedSubject(const TForum& container, TMail& mail) {
  const DWORD index = static_cast<DWORD>(container.Number("Last Message Index")) + 1;
  const brevant::MessageKey key(index, static_cast<DWORD>(mail.Number("LINK ID")));
  const std::size_t room = brevant::kMessageRecordSize - 2 - key.Text().size();
  const std::string subject = mail.String("SUBJECT");
  const std::string fitting(brevant::CutAtCharacter(subject, room));
  return fitting == subject || mail.String("SUBJECT", fitting.c_str()) == 1;
}

}  // namespace

struct TMailRetrievalTask::TRun {
  explicit TRun(TSetup& setup)
      : localDirectory(setup.String("Local Directory")),
        attachments(setup.Integer("Allow attachment - forum") != 0),
        keepUnsaved(setup.Integer("Keep Unsaved Mail") != 0),
        decodeText(setup.Integer("Decode Mail Text") != 0),
        safeHtml(setup.Integer("Safe HTML") != 0),
        boardName(setup.String("BBS Name")),
        cache(setup.String("Data Directory")),
        votes(cache, ledger, decodeText, setup.Integer("Save Voter Address") != 0) {}

  std::string localDirectory;
  bool attachments;
  bool keepUnsaved;
  bool decodeText;
  bool safeHtml;
  std::string boardName;
  brevant::TFilingLedger ledger;
  TBoardCache cache;
  brevant::TVoteCounter votes;
};

TMailRetrievalTask::TMailRetrievalTask(TSetup* setup, TPersistentState* state)
    : TTask(setup, state) {
  client_.SetContinueFlag(&continue_);
}

void TMailRetrievalTask::Abort() {
  client_.Interrupt();
  TTask::Abort();
}

void TMailRetrievalTask::TraceHere(int line) { brevant::Trace(state_, kModule, line); }

int TMailRetrievalTask::Execute() {
  if (setup_ == nullptr) return 0;
  try {
    return ExecuteRun();
  } catch (...) {
    // Without "QUIT" the server keeps every message: rather twice than never.
    client_.TProtocol::Disconnect();
    return 0;
  }
}

int TMailRetrievalTask::ExecuteRun() {
  loggedOn_ = failed_ = broken_ = false;
  handled_ = 0;
  TraceHere();
  DisplayProgress(0, 100);
  const std::string server = setup_->String("POP3 Server");
  DisplayStatus("Connecting to %s", server.c_str());
  if (LogOn(server)) {
    TraceHere();
    loggedOn_ = true;
    DisplayHistory("Logged onto %s successfully", server.c_str());
    const unsigned failures = brevant::silentFailures;
    TRun run(*setup_);
    // A setting that could not be read may say what is to be kept.
    if (brevant::silentFailures != failures) throw std::bad_alloc();
    WatchCommits(run);
    WalkMailbox(run);
    LogOff(run);
  } else {
    if (!Aborted()) {
      DisplayHistory("Cannot log onto %s", server.c_str());
      if (state_ != nullptr) state_->Error("Cannot log onto %s", server.c_str());
    }
    TraceHere();
  }
  if (!Aborted() && handled_ == 0) {
    DisplayHistory("Found no new message");
    if (state_ != nullptr) state_->Result("Found no new message");
  }
  DisplayProgress(0, 0);
  return !Aborted() && loggedOn_ && !failed_ ? 1 : 0;
}

bool TMailRetrievalTask::LogOn(const std::string& server) {
  // An abort ends waits only, and a server nearby may answer without one.
  if (Aborted()) return false;
  brevant::ApplyStandardMode(client_, *setup_, "Standard POP3 Mode");
  const std::string password = setup_->String("POP3 Password");
  const TSecurityInfos security(setup_->String("POP3 Account"), password.c_str());
  return client_.Connect(server.c_str(), security, brevant::PortSetting(*setup_, "POP3 Port")) != 0;
}

void TMailRetrievalTask::WatchCommits(TRun& run) {
  if (commit_) run.cache.SetCommit(commit_);
  run.cache.SetCommitObserver([this, &run](TBoardKind kind, const std::string& name, bool safe) {
    if (safe) {
      run.ledger.Committed(kind, name);
    } else {
      run.ledger.Lost(kind, name);
      CannotKeep(name);
    }
  });
}

void TMailRetrievalTask::WalkMailbox(TRun& run) {
  if (client_.MessageCount() <= 0) return;
  for (int found = client_.GetFirst(); found != 0 && !Aborted(); found = client_.GetNext()) {
    DisplayStatus("Scanning mailbox for new messages");
    DisplayProgress(client_.CurrentMessage(), client_.MessageCount());
    const std::string messageId =
        client_.MessageId() != nullptr ? client_.MessageId() : std::string();
    const bool deleted = HandleMessage(run);
    TraceHere();
    if (!deleted && state_ != nullptr) state_->String("POP3 Last Message ID", messageId.c_str());
    if (broken_) break;
  }
}

// Whether the message was deleted from the mailbox.
bool TMailRetrievalTask::HandleMessage(TRun& run) {
  const TMailHeaders headers = TMailHeaders::Of(client_);
  const TMailRoute route = routes_.Find(headers, run.boardName, run.decodeText, run.cache);
  switch (route.kind) {
    case TMailRoute::TKind::kOwn:
      return DeleteMessage(run);
    case TMailRoute::TKind::kForum:
    case TMailRoute::TKind::kLinkList:
      return HandleItem(run, headers, route);
    case TMailRoute::TKind::kSurvey:
      return HandleVote(run, headers);
    case TMailRoute::TKind::kStray:
      break;
  }
  return false;
}

// A post to a forum, or a link to a list.
bool TMailRetrievalTask::HandleItem(TRun& run, const TMailHeaders& headers,
                                    const TMailRoute& route) {
  ++handled_;
  TMail mail;
  if (run.cache.GivenUp(route.board, route.name) ||
      mail.OpenTemporary(static_cast<int>(STGM_DELETEONRELEASE)) == 0) {
    return CannotKeep(route.name);
  }
  TraceHere();
  TMessageReader reader(client_, run.localDirectory, continue_, run.decodeText);
  reader.KeepFilesHarmless(run.safeHtml);
  DisplayStatus("Retrieving \"%s\"", headers.subject.c_str());
  TraceHere();
  const bool attachments = route.kind == TMailRoute::TKind::kForum && run.attachments;
  const TReadResult result = reader.Read(mail, attachments);
  if (result == TReadResult::kRead) {
    if (Complete(run, mail, headers, route)) return FileMessage(run, mail, headers, route, reader);
    reader.RemoveFiles();
  }
  if (result == TReadResult::kRead || result == TReadResult::kUnwritable) {
    return CannotKeep(route.name);
  }
  return NotRetrieved(result, headers);
}

// The message stays in the mailbox because it could not be read to its end.
bool TMailRetrievalTask::NotRetrieved(TReadResult result, const TMailHeaders& headers) {
  broken_ = result == TReadResult::kBroken;
  if (!Aborted()) DisplayHistory("Cannot retrieve \"%s\"", headers.subject.c_str());
  return false;
}

// The message stays in the mailbox because it could not be written safely.
bool TMailRetrievalTask::CannotKeep(const std::string& container) {
  DisplayHistory("Cannot save message to [%s]", container.c_str());
  failed_ = true;
  return false;
}

// Adds what the item takes from its headers only.
bool TMailRetrievalTask::Complete(TRun& run, TMail& mail, const TMailHeaders& headers,
                                  const TMailRoute& route) {
  if (route.kind == TMailRoute::TKind::kForum) return SetLinkId(mail, route);
  const std::string& subject = headers.subject;
  return SplitSubject(mail, run.decodeText ? brevant::DecodeHeader(subject) : subject,
                      run.decodeText);
}

bool TMailRetrievalTask::HandleVote(TRun& run, const TMailHeaders& headers) {
  TMessageReader reader(client_, run.localDirectory, continue_, run.decodeText);
  std::vector<brevant::TFormField> fields;
  TraceHere();
  const TReadResult result = reader.ReadForm(fields);
  if (result != TReadResult::kRead) return NotRetrieved(result, headers);
  const LONG number = client_.CurrentMessage();
  const TVoteResult votes = run.votes.Count(fields, headers.from, number);
  if (!votes.givenUp.empty()) return CannotKeep(votes.givenUp);
  if (run.ledger.MustStay(number)) return false;
  if (votes.counted > 0) {
    DisplayHistory("Retrieved form from %s successfully", headers.from.c_str());
  }
  if (!votes.failed.empty()) {
    DisplayHistory("Cannot save message to [%s]", votes.failed.c_str());
    if (run.keepUnsaved) return false;
  }
  return DeleteMessage(run);
}

bool TMailRetrievalTask::FileMessage(TRun& run, TMail& mail, const TMailHeaders& headers,
                                     const TMailRoute& route, TMessageReader& reader) {
  const LONG number = client_.CurrentMessage();
  const std::string subject = mail.String("SUBJECT");
  const bool listRequest =
      route.kind == TMailRoute::TKind::kForum &&
      (EqualsIgnoreCase(subject, "Subscribe") || EqualsIgnoreCase(subject, "Unsubscribe"));
  bool saved = false;
  TraceHere();
  if (TBoardCache::THandle container = run.cache.Open(route.board, route.name)) {
    const bool fits = !run.decodeText || FitListedSubject(*container, mail);
    saved = listRequest ? ChangeMailingList(run, *container, mail, reader.SenderAddress())
                        : fits && container->InsertMessage(mail) != 0;
    if (listRequest || !saved) reader.RemoveFiles();
    // Letting go of the container may commit it; the ledger must know of the message by then.
    if (saved) run.ledger.Filed(route.board, container.Name(), number, reader.TakeFiles());
  } else {
    reader.RemoveFiles();
  }
  if (run.ledger.MustStay(number)) return false;
  if (!saved) {
    DisplayHistory("Cannot save message to [%s]", route.name.c_str());
    if (run.keepUnsaved) return false;
  } else if (!listRequest) {
    DisplayHistory("Retrieved \"%s\" successfully", headers.subject.c_str());
  }
  return DeleteMessage(run);
}

// "Subscribe" or "Unsubscribe": adds the sender to the forum's mailing list or removes the sender.
// An address that may not stand on a list is reported, and the request is done with. Whether the
// request needs no other try.
bool TMailRetrievalTask::ChangeMailingList(TRun& run, TForum& forum, TMail& mail,
                                           const std::string& address) {
  const bool subscribe = EqualsIgnoreCase(mail.String("SUBJECT"), "Subscribe");
  if (!brevant::IsListAddress(address)) {
    DisplayHistory(
        subscribe ? "Cannot subscribe \"%s\" to [%s]" : "Cannot unsubscribe \"%s\" from [%s]",
        address.c_str(), forum.String("Name"));
    return true;
  }
  if (subscribe) {
    std::string name = mail.String("From Name");
    if (run.decodeText) name = brevant::FitListName(name, address);
    return brevant::SubscribeAddress(forum, address, name) != 0;
  }
  return brevant::UnsubscribeAddress(forum, address);
}

bool TMailRetrievalTask::DeleteMessage(TRun& run) {
  const LONG number = client_.CurrentMessage();
  if (client_.DeleteCurrent() == 0) return false;
  run.ledger.Deleted(number);
  return true;
}

// Mail leaves the mailbox only after it is safe on disk: "QUIT" goes out behind the last commit.
void TMailRetrievalTask::LogOff(TRun& run) {
  TraceHere();
  run.cache.CloseAll();
  TraceHere();
  const bool known = run.cache.Reliable();
  if (!known) failed_ = true;
  if (!known || (run.ledger.AnyLost() && !DeleteSafeOnly(run))) {
    client_.TProtocol::Disconnect();
  } else {
    client_.Disconnect();
  }
}

// Takes every deletion back and deletes again what was filed safely. Without it being certain that
// the server has done so, the connection must end without "QUIT".
bool TMailRetrievalTask::DeleteSafeOnly(TRun& run) {
  // On a connection that failed, what comes next may be the late reply to an earlier command.
  if (Aborted() || (client_.Status() & kStatusConnected) == 0) return false;
  if (client_.ResetMarks() == 0) return false;
  for (const LONG number : run.ledger.SafeDeletions()) {
    if (Aborted()) return false;
    client_.DeleteByNumber(number);
  }
  return !Aborted();
}

TTask* brevant::MakeMailRetrievalTask(TSetup* setup, TPersistentState* state) {
  try {
    return new TMailRetrievalTask(setup, state);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
