#include "shared/dispatchtask.h"

#include "board/list_index.h"
#include "frame/reporting.h"
#include "platform/win32.h"
#include "shared/client_settings.h"
#include "shared/dot_guard.h"
#include "shared/mail_header.h"
#include "shared/outgoing_mail.h"
#include "shared/page_store.h"
#include "shared/recipients.h"
#include "shared/task_makers.h"
#include "store/ascii.h"
#include "store/guard.h"
#include "text/plain_text.h"

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>
#include <vector>

using brevant::EqualsIgnoreCase;
using brevant::TBoardCache;
using brevant::TBoardKind;
using brevant::TMailText;

namespace {

constexpr const char* kModule = "..\\shared\\dispatchtask.cpp";
constexpr const char* kLastScan = "Last Mailing List Scan Time";
constexpr const char* kSentMark = "Sent to mailing list";
// Bytes of a body that go out between two looks at the continue flag.
constexpr std::size_t kPiece = 256;
constexpr int kServerCloses = 421;

// The messages in the list's order: marking and committing must not disturb the walk.
std::vector<DWORD> MessagesOf(TForum& forum) {
  const brevant::TListIndex& index = forum.MessageIndex();
  std::vector<DWORD> messages;
  messages.reserve(index.Size());
  for (std::size_t i = 0; i < index.Size(); ++i) messages.push_back(index.At(i).index);
  return messages;
}

// The content as it is stored; false when it cannot be read to its end.
bool ReadContent(TMail& message, std::string* content) {
  TStream& stream = message.Content();
  content->resize(stream.Size());
  if (content->empty()) return true;
  stream.Seek(0, 0);
  const int size = static_cast<int>(content->size());
  return stream.Read(content->data(), size) == size;
}

bool IsHtml(const TMail& message) {
  return EqualsIgnoreCase(message.String("Document type"), "text/html");
}

bool IsBlank(std::string_view text) {
  return text.find_first_not_of(" \t\r\n") == std::string_view::npos;
}

}  // namespace

struct TMailDispatchTask::TRun {
  explicit TRun(const TSetup& setup)
      : standard(setup.Integer("Standard SMTP Mode") != 0),
        dropsScripts(setup.Number("Safe HTML") != 0),
        server(setup.String("SMTP Server")),
        board(setup),
        cache(setup.String("Data Directory")) {}

  bool standard;
  bool dropsScripts;
  std::string server;
  brevant::TBoardIdentity board;
  brevant::TRecipients recipients;
  TBoardCache cache;
  std::string body;     // of the message at hand, as it goes out
  bool failed = false;  // something is to be tried again
};

TMailDispatchTask::TMailDispatchTask(TSetup* setup, TPersistentState* state) : TTask(setup, state) {
  client_.SetContinueFlag(&continue_);
}

void TMailDispatchTask::TraceHere(int line) { brevant::Trace(state_, kModule, line); }

int TMailDispatchTask::Execute() {
  if (setup_ == nullptr) return 0;
  try {
    return ExecuteRun();
  } catch (...) {
    // The server drops a message whose end never came.
    client_.TProtocol::Disconnect();
    DisplayProgress(0, 0);
    return 0;
  }
}

int TMailDispatchTask::ExecuteRun() {
  worked_ = 0;
  TraceHere();
  if (!IsDue()) {
    TraceHere();
    return 1;
  }
  worked_ = 1;
  const unsigned failures = brevant::silentFailures;
  bool triesAgain = false;
  {
    TRun run(*setup_);
    WatchCommits(run);
    for (const std::string& name : run.cache.Names(TBoardKind::kForum)) {
      if (Aborted()) break;
      DispatchForum(run, name);
    }
    TraceHere();
    run.cache.CloseAll();
    if (!run.cache.Reliable()) run.failed = true;
    // A message or an address may have been passed over.
    if (brevant::silentFailures != failures) run.failed = true;
    triesAgain = run.standard && (run.failed || Aborted());
  }
  client_.Disconnect();
  TraceHere();
  if (!triesAgain && state_ != nullptr) state_->Time(kLastScan, TTime::Now());
  return continue_ != 0 && worked_ != 0 ? 1 : 0;
}

bool TMailDispatchTask::IsDue() const {
  const std::string data = setup_->String("Data Directory");
  const TTime newest = std::max(brevant::LocalFileTime(brevant::NewestFileTime(data + "*.*")),
                                setup_->LastModifyTime());
  const TTime last = state_ == nullptr ? TTime() : state_->Time(kLastScan);
  return last < newest;
}

void TMailDispatchTask::WatchCommits(TRun& run) {
  if (commit_) run.cache.SetCommit(commit_);
  run.cache.SetCommitObserver([&run](TBoardKind, const std::string& name, bool safe) {
    if (safe) return;
    DisplayHistory("Cannot save %s", name.c_str());
    run.failed = true;
  });
}

void TMailDispatchTask::DispatchForum(TRun& run, const std::string& name) {
  const TBoardCache::THandle forum = run.cache.Open(TBoardKind::kForum, name);
  if (!forum) {
    run.failed = true;
    return;
  }
  TraceHere();
  run.recipients.Load(*forum);
  if (run.recipients.LeftSomeOut()) run.failed = true;
  if (run.recipients.Empty()) return;
  TraceHere();
  for (const DWORD index : MessagesOf(*forum)) {
    if (Aborted() || run.recipients.Empty()) break;
    if (!DispatchMessage(run, forum, index)) return;
  }
  run.cache.Commit(forum);
}

// False when a mark could not be saved: what is sent now could not be marked either.
bool TMailDispatchTask::DispatchMessage(TRun& run, const TBoardCache::THandle& forum, DWORD index) {
  TOutcome outcome = TOutcome::kSent;
  bool wasSent = false;
  bool marked = true;
  {
    TMail message;
    if (forum->OpenMessage(index, &message) == 0 || message.Number(kSentMark) != 0) return true;
    if (!run.recipients.AreTheSourceOf(message.String("To"))) {
      outcome = Send(run, *forum, message);
      wasSent = outcome == TOutcome::kSent;
    }
    if (outcome == TOutcome::kSent) marked = message.Number(kSentMark, 1) == 1;
  }
  if (outcome == TOutcome::kFailed) run.failed = true;
  if (!marked) {
    run.failed = true;
    if (run.cache.Commit(forum) != 0) DisplayHistory("Cannot save %s", forum.Name().c_str());
    return false;
  }
  // What was sent is marked on the disk before anything else is sent; a mark that only spares a
  // message from being sent can wait.
  const bool saves =
      wasSent || forum->Storage().BytesSinceCommit() > TBoardCache::TLimits().uncommittedBytes;
  return !saves || run.cache.Commit(forum) != 0;
}

TMailDispatchTask::TOutcome TMailDispatchTask::Send(TRun& run, TForum& forum, TMail& message) {
  TraceHere();
  if (!IsOpen() && !LogOn(run)) return TOutcome::kFailed;
  const std::string subject = message.String("Subject");
  DisplayStatus("Sending %s to mailing list(s)", subject.c_str());
  TraceHere();
  NameSender(run, message);
  TOutcome outcome = NameRecipients(run, message.String("To"));
  if (outcome != TOutcome::kSent) return outcome;
  DisplayProgress(0, 100);
  outcome = SendMessageText(run, forum, message);
  // The recipients' refusals are told one by one; this one would go unnoticed.
  if (outcome == TOutcome::kFailed && !Aborted()) {
    DisplayHistory("Cannot send %s to mailing list(s)", subject.c_str());
  }
  DisplayProgress(0, 0);
  return outcome;
}

bool TMailDispatchTask::LogOn(TRun& run) {
  // An abort ends waits only, and a server nearby may answer without one.
  if (Aborted()) return false;
  // What a connection that broke has left behind goes.
  client_.Disconnect();
  brevant::ApplyStandardMode(client_, *setup_, "Standard SMTP Mode");
  const WORD port = brevant::PortSetting(*setup_, "SMTP Port");
  if (client_.Connect(run.server.c_str(), static_cast<short>(port)) != 0) {
    DisplayHistory("Logged onto %s successfully", run.server.c_str());
    return true;
  }
  // A connection that went only half the way would count as open for the next message.
  client_.Disconnect();
  if (!Aborted()) DisplayHistory("Cannot log onto %s", run.server.c_str());
  return false;
}

void TMailDispatchTask::NameSender(const TRun& run, const TMail& message) {
  if (run.standard) {
    client_.From(run.board.address.empty() ? nullptr : run.board.address.c_str());
    return;
  }
  const std::string name = message.String("From Name");
  const std::string address = message.String("From EMail Address");
  if (address.empty()) {
    client_.From(nullptr);
  } else if (EqualsIgnoreCase(name, address)) {
    client_.From(address.c_str());
  } else {
    client_.From(("\"" + name + "\"<" + address + ">").c_str());
  }
}

// Sent here means that the server takes the message for somebody.
TMailDispatchTask::TOutcome TMailDispatchTask::NameRecipients(TRun& run, const std::string& to) {
  bool tried = false;
  bool accepted = false;
  for (std::size_t i = 0; i < run.recipients.Addresses().size() && !Aborted();) {
    const std::string address = run.recipients.Addresses()[i];
    if (brevant::ContainsWholeWord(to, address)) {
      ++i;
      continue;
    }
    tried = true;
    if (client_.OpenResource(address.c_str(), kOpenForWriting) != 0) {
      accepted = true;
      ++i;
      continue;
    }
    if (Aborted()) break;
    DisplayHistory("Cannot send mail to %s", address.c_str());
    if (!IsOpen()) return TOutcome::kFailed;
    // Without a sender the server refuses whomever it is told.
    const int reply = client_.RecipientReply();
    if (client_.SenderAccepted() && reply != 0 && reply != kServerCloses) {
      run.recipients.Drop(i);
    } else {
      ++i;
    }
  }
  // An abort counts behind the test for an empty text, which is done with whatever happens.
  if (accepted) return TOutcome::kSent;
  if (Aborted() && tried) TakeBack();
  return tried || Aborted() ? TOutcome::kFailed : TOutcome::kNobody;
}

TMailDispatchTask::TOutcome TMailDispatchTask::SendMessageText(TRun& run, TForum& forum,
                                                               TMail& message) {
  const bool html = IsHtml(message);
  std::string content;
  if (!ReadContent(message, &content)) {
    TakeBack();
    return TOutcome::kFailed;
  }
  TMailText text;
  if (run.standard) {
    const std::string charset = message.String("Charset");
    text = html ? brevant::StandardHtmlText(content, charset, run.dropsScripts)
                : brevant::StandardPlainText(content, charset);
  } else {
    brevant::TPlainTextRules rules;
    rules.dropsScripts = run.dropsScripts;
    text.text = html ? brevant::HtmlToPlainText(content, rules) : std::move(content);
  }
  if (html && IsBlank(text.text)) {
    // Nothing to send now or ever.
    TakeBack();
    return TOutcome::kSent;
  }
  if (Aborted() || !PrepareHeader(run, forum, message, text)) {
    TakeBack();
    return TOutcome::kFailed;
  }
  if (!StartData()) return TOutcome::kFailed;
  return SendBody(run, run.body) && EndData(run) ? TOutcome::kSent : TOutcome::kFailed;
}

// Gives the client the header lines, and the run the body, of the message at hand.
bool TMailDispatchTask::PrepareHeader(TRun& run, const TForum& forum, const TMail& message,
                                      TMailText& text) {
  if (!run.standard) {
    run.body = std::move(text.text);
    return client_.Subject(message.String("Subject")) != 0 &&
           client_.BBS(run.board.name.c_str()) != 0;
  }
  const std::string subject = brevant::StandardSubject(message);
  if (!subject.empty() && client_.Subject(subject.c_str()) == 0) return false;
  if (client_.BBS(brevant::HeaderBytes(run.board.name).c_str()) == 0) return false;
  brevant::TStandardMail mail = brevant::ComposeStandardMail(run.board, forum, message, text);
  run.body = std::move(mail.body);
  return std::all_of(mail.fields.begin(), mail.fields.end(), [this](const auto& field) {
    return client_.AddHeader(field.first, field.second.c_str()) != 0;
  });
}

// A server that does not wait for a message takes every line of one for a command.
bool TMailDispatchTask::StartData() {
  if (client_.StartData() != 0) return true;
  if (IsOpen()) {
    TakeBack();
  } else {
    // It may be at the beginning of the data all the same: what is sent now would be text.
    client_.TProtocol::Disconnect();
  }
  return false;
}

bool TMailDispatchTask::SendBody(const TRun& run, const std::string& body) {
  // In standard mode the client sees to the dots.
  brevant::TDotGuard guard;
  const auto write = [this](std::string_view piece) {
    return piece.empty() || client_.Write(piece.data(), static_cast<int>(piece.size())) ==
                                static_cast<int>(piece.size());
  };
  bool whole = true;
  for (std::size_t at = 0; at < body.size() && whole && !Aborted();) {
    const std::string_view piece = std::string_view(body).substr(at, kPiece);
    at += piece.size();
    whole = write(run.standard ? piece : guard.Take(piece));
    if (whole) DisplayProgress(static_cast<int>(at), static_cast<int>(body.size()));
  }
  if (whole && !Aborted() && write(guard.Finish())) return true;
  // Without its end the server drops the message.
  client_.TProtocol::Disconnect();
  return false;
}

bool TMailDispatchTask::EndData(const TRun& run) {
  TraceHere();
  if (Aborted()) {
    client_.TProtocol::Disconnect();
    return false;
  }
  const bool taken = client_.Close() != 0;
  if (run.standard) return taken;
  if (IsOpen()) return true;
  // An abort that ends the wait for the answer changes nothing about a message that went out whole.
  // Whether it did shows when something more is sent.
  return Aborted() && client_.SendCommand("RSET", nullptr) > 0;
}

// Before the data has begun. The next message must not become part of this one.
void TMailDispatchTask::TakeBack() {
  if (client_.Abort() == 0 && !Aborted()) client_.TProtocol::Disconnect();
}

TTask* brevant::MakeMailDispatchTask(TSetup* setup, TPersistentState* state) {
  try {
    return new TMailDispatchTask(setup, state);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
