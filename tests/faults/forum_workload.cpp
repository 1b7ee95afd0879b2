#include "forum_workload.h"

#include "platform/win32.h"

#include <stdexcept>

namespace faults {

enum class ForumWorkload::Step {
  kInsert,
  kReplace,
  kRemove,
  kRename,
  kRelink,
  kList,
  kProperty,
  kSubForum,
  kAnnouncement,
  kMark,
  kRecreate,
  kCommit,
  kReopen,
};

namespace {

constexpr int kReadWrite = static_cast<int>(STGM_READWRITE);
constexpr int kCreate = static_cast<int>(STGM_CREATE);
constexpr int kExclusive = static_cast<int>(STGM_SHARE_EXCLUSIVE);

std::string TextOf(unsigned number, unsigned size) {
  std::string text(size, '\0');
  std::uint32_t state = number * 2654435761U + size;
  for (char& c : text) {
    state = state * 1664525U + 1013904223U;
    c = static_cast<char>(state >> 24);
  }
  return text;
}

bool WriteContent(TMail& mail, const std::string& content) {
  TStream& stream = mail.Content();
  const int size = static_cast<int>(content.size());
  stream.Seek(0, 0);
  return stream.SetSize(0) == 1 && stream.Write(content.data(), size) == size;
}

}  // namespace

ForumWorkload::ForumWorkload(unsigned seed) : random_(seed) { Plan(); }

ForumWorkload::~ForumWorkload() = default;

unsigned ForumWorkload::Choose(std::size_t count) {
  return static_cast<unsigned>(random_() % count);
}

void ForumWorkload::Plan() {
  startsEmpty_ = Choose(8) == 0;
  before_ = startsEmpty_ ? 0 : Choose(Choose(4) == 0 ? 60 : 12);
  limit_ = Choose(3) == 0 ? static_cast<LONG>(2 + Choose(8)) : 100;
  const unsigned commits = 2 + Choose(3);
  for (unsigned i = 0; i < commits; ++i) PlanCommit();
}

void ForumWorkload::PlanCommit() {
  constexpr unsigned kSizes[] = {0,   1,    63,   64,   65,   500,  512,
                                 513, 2000, 4095, 4096, 4097, 9000, 30000};
  constexpr Step kSteps[] = {Step::kInsert,   Step::kInsert, Step::kInsert,      Step::kReplace,
                             Step::kReplace,  Step::kRemove, Step::kRemove,      Step::kRename,
                             Step::kRelink,   Step::kList,   Step::kList,        Step::kProperty,
                             Step::kSubForum, Step::kMark,   Step::kAnnouncement};
  const unsigned changes = 1 + Choose(5);
  for (unsigned i = 0; i < changes; ++i) {
    Step step = kSteps[Choose(std::size(kSteps))];
    if (Choose(100) == 0) step = Step::kRecreate;
    actions_.push_back({step, Choose(1U << 31), kSizes[Choose(std::size(kSizes))]});
  }
  actions_.push_back({Choose(3) == 0 ? Step::kReopen : Step::kCommit, 0, 0});
}

void ForumWorkload::Prepare(const std::string& directory) {
  if (startsEmpty_) return;
  struct Nobody : WorkloadObserver {
    void Committing() override {}
    void Committed() override {}
    bool ClosedWell() override { return true; }
  } nobody;
  bool good = Create(directory);
  for (unsigned i = 0; good && i < before_; ++i) {
    good = Insert({Step::kInsert, i, 20 + i * 37});
  }
  if (!good || !Close(nobody)) throw std::runtime_error("the workload cannot be prepared");
  prepared_ = expected_;
}

bool ForumWorkload::Create(const std::string& directory) {
  expected_.clear();
  hasForum_ = false;
  forum_ = std::make_unique<TForum>();
  if (forum_->Open(kForum, directory.c_str(), kReadWrite, kCreate, kExclusive) != 1) return false;
  return forum_->Number("Max Message Count", limit_) == 1;
}

bool ForumWorkload::Open(const std::string& directory) {
  forum_ = std::make_unique<TForum>();
  return forum_->Open(kForum, directory.c_str(), kReadWrite, 0, kExclusive) == 1;
}

bool ForumWorkload::Close(WorkloadObserver& observer) {
  observer.Committing();
  hasForum_ = true;
  const int closed = forum_->Close();
  forum_.reset();
  if (closed != 1 || !observer.ClosedWell()) return false;
  observer.Committed();
  return true;
}

bool ForumWorkload::Commit(WorkloadObserver& observer) {
  observer.Committing();
  hasForum_ = true;
  if (forum_->Storage().Commit() != 1) return false;
  observer.Committed();
  return true;
}

bool ForumWorkload::Run(const std::string& directory, WorkloadObserver& observer, bool* unsafe) {
  *unsafe = false;
  expected_ = prepared_;
  hasForum_ = !startsEmpty_;
  bool good = true;
  const auto create = [&] {
    observer.Committing();
    if (!Create(directory)) return false;
    observer.Committed();
    return true;
  };
  good = startsEmpty_ ? create() : Open(directory);
  for (const Action& action : actions_) {
    if (!good) break;
    if (action.step == Step::kCommit) {
      good = Commit(observer);
    } else if (action.step == Step::kReopen) {
      good = Close(observer) && Open(directory);
    } else if (action.step == Step::kRecreate) {
      good = Close(observer) && create();
    } else {
      good = Do(action);
      // A change that failed half-way must not reach the file.
      if (!good) *unsafe = forum_->Storage().Commit() == 1;
    }
  }
  good = good && Close(observer);
  if (forum_ != nullptr) forum_->Close();
  forum_.reset();
  return good;
}

bool ForumWorkload::Do(const Action& action) {
  switch (action.step) {
    case Step::kInsert:
      return Insert(action);
    case Step::kReplace:
      return Replace(action);
    case Step::kRemove:
      return Remove(action);
    case Step::kRename:
      return Rename(action);
    case Step::kRelink:
      return Relink(action);
    case Step::kList:
      return ChangeList(action);
    case Step::kProperty:
      return ChangeProperty(action);
    case Step::kSubForum:
      return ChangeSubForum(action);
    case Step::kAnnouncement:
      return ChangeAnnouncement(action);
    case Step::kMark:
      return Mark(action);
    case Step::kRecreate:
    case Step::kCommit:
    case Step::kReopen:
      break;
  }
  return false;
}

DWORD ForumWorkload::Pick(unsigned number) const {
  if (expected_.empty()) return 0;
  return std::next(expected_.begin(), static_cast<std::ptrdiff_t>(number % expected_.size()))
      ->first;
}

bool ForumWorkload::Insert(const Action& action) {
  if (draft_ == nullptr) {
    draft_ = std::make_unique<TMail>();
    if (draft_->OpenTemporary(static_cast<int>(STGM_DELETEONRELEASE)) != 1) return false;
  }
  const std::string subject = "Subject " + std::to_string(action.number);
  const std::string content = TextOf(action.number, action.size);
  draft_->String("SUBJECT", subject.c_str());
  draft_->Number("LINK ID", static_cast<LONG>(Pick(action.number)));
  if (!WriteContent(*draft_, content)) return false;
  if (draft_->CreateList("ATTACHMENT", 128) != 1) return false;
  for (unsigned i = 0; i < action.number % 3; ++i) {
    draft_->WriteListItem(("file" + std::to_string(i)).c_str(), "name", -1);
  }
  draft_->CloseList();
  const bool full = expected_.size() >= static_cast<std::size_t>(limit_);
  const DWORD index = forum_->InsertMessage(*draft_);
  if (index == 0) return false;
  if (full) expected_.erase(expected_.begin());
  expected_[index] = {subject, content};
  return true;
}

bool ForumWorkload::Replace(const Action& action) {
  const DWORD index = Pick(action.number);
  if (index == 0) return true;
  TMail mail;
  if (forum_->OpenMessage(index, &mail) != 1) return false;
  const std::string content = TextOf(action.number + 1, action.size);
  if (!WriteContent(mail, content)) return false;
  expected_[index].second = content;
  return true;
}

bool ForumWorkload::Remove(const Action& action) {
  const DWORD index = Pick(action.number);
  if (index == 0) return true;
  expected_.erase(index);
  return forum_->RemoveMessage(index) == 1;
}

bool ForumWorkload::Rename(const Action& action) {
  const DWORD index = Pick(action.number);
  if (index == 0) return true;
  TMail mail;
  if (forum_->OpenMessage(index, &mail) != 1) return false;
  const std::string subject = "Renamed " + std::to_string(action.number);
  expected_[index].first = subject;
  return RenameMessage(&mail, forum_.get(), subject.c_str()) == 1;
}

bool ForumWorkload::Relink(const Action& action) {
  const DWORD index = Pick(action.number);
  if (index == 0) return true;
  TMail mail;
  if (forum_->OpenMessage(index, &mail) != 1) return false;
  return RelinkMessage(&mail, forum_.get(), Pick(action.number / 7)) == 1;
}

bool ForumWorkload::ChangeList(const Action& action) {
  const std::string key = "reader" + std::to_string(action.number % 5) + "@example.org";
  if (action.number % 3 == 0 && FindMailingList(key.c_str(), forum_.get()) == 1) {
    return RemoveMailingList(key.c_str(), forum_.get()) == 1;
  }
  return AddMailingList(key.c_str(), std::to_string(action.number).c_str(), forum_.get()) == 1;
}

bool ForumWorkload::ChangeProperty(const Action& action) {
  const std::string key = "Property " + std::to_string(action.number % 7);
  return forum_->String(key.c_str(), std::to_string(action.number).c_str()) == 1;
}

bool ForumWorkload::ChangeSubForum(const Action& action) {
  const std::string name = "part" + std::to_string(action.number % 3);
  if (action.number % 4 == 0) {
    forum_->RemoveSubForum(name.c_str());  // there or not
    return true;
  }
  TForum source;
  if (source.OpenTemporary(static_cast<int>(STGM_DELETEONRELEASE)) != 1) return false;
  source.String("Title", std::to_string(action.number).c_str());
  return forum_->InsertSubForum(name.c_str(), source) == 1;
}

bool ForumWorkload::ChangeAnnouncement(const Action& action) {
  TMail mail;
  return forum_->OpenAnnouncement(&mail) == 1 &&
         WriteContent(mail, TextOf(action.number, action.size));
}

bool ForumWorkload::Mark(const Action& action) {
  const auto mark = [&](IStorage* storage) {
    CLSID id{};
    id.Data1 = action.number;
    return storage->SetClass(id) == S_OK && storage->SetStateBits(action.number, 0xFFFF) == S_OK;
  };
  const DWORD index = Pick(action.number);
  if (index == 0 || action.number % 2 == 0) return mark(forum_->Storage().Interface());
  TMail mail;
  return forum_->OpenMessage(index, &mail) == 1 && mark(mail.Storage().Interface());
}

}  // namespace faults
