// The file delivery task.
#include "shared/filetask.h"

#include "frame/reporting.h"
#include "shared/client_settings.h"
#include "shared/delivery_plan.h"
#include "shared/fat_journal.h"
#include "shared/site_paths.h"
#include "shared/task_makers.h"
#include "store/ascii.h"
#include "store/guard.h"
#include "text/unique_file.h"

#include <algorithm>
#include <exception>
#include <new>

using brevant::SeparatorOf;
using brevant::TDeliveryPlan;
using brevant::TLocalFile;
using brevant::TLocalFolder;

namespace {

constexpr const char* kModule = "..\\shared\\filetask.cpp";
constexpr const char* kLastTransfer = "Last Site Transfer Time";
// What an indirect transfer stores a file as before it gets its name.
constexpr const char* kTemporaryName = "TEMP.FTP";
// Larger blocks only make an abort wait longer.
constexpr DWORD kBlockBytes = 64 * 1024;
// No site is as deep; the table, and a tree that somebody made for the purpose, may be.
constexpr int kDeepest = 256;

}  // namespace

// What one delivery works with.
struct TFileDeliveryTask::TRun {
  TRun(const TSetup& setup, const std::atomic<int>& goOn)
      : server(setup.String("FTP Server")),
        tablePath(std::string(setup.String("Program Directory")) + server + ".fat"),
        shellCommand(setup.String("FTP Shell Command")),
        standardMode(setup.Integer("Standard FTP Mode") != 0),
        everyFolder(setup.Integer("Deliver Every Folder") != 0),
        indirect(setup.Number("Indirect FTP transfer") != 0),
        scan(goOn, setup.Integer("Keep File Name Case") != 0,
             brevant::RootOf(setup.String("Local Directory"))),
        block(kBlockBytes, '\0') {}

  std::string server;
  std::string tablePath;
  std::string shellCommand;
  bool standardMode;
  bool everyFolder;
  bool indirect;
  bool goesOn = false;    // the delivery before was cut short
  bool loggedOn = false;  // once at least
  bool lost = false;      // a connection broke
  bool stopped = false;
  brevant::TLocalScan scan;
  std::string block;
};

struct TFileDeliveryTask::TFolder {
  const TFolder* above;
  std::string shown;   // how texts name it
  std::string path;    // full, with its final separator
  std::string remote;  // what the server is told to change to
  std::string key;     // of its section in the table
  int depth;
};

TFileDeliveryTask::TFileDeliveryTask(TSetup* setup, TPersistentState* state) : TTask(setup, state) {
  client_.SetContinueFlag(&continue_);
}

TFileDeliveryTask::~TFileDeliveryTask() = default;

void TFileDeliveryTask::TraceHere(int line) { brevant::Trace(state_, kModule, line); }

void TFileDeliveryTask::StepFailed() {
  if (run_->standardMode) delivered_ = false;
}

void TFileDeliveryTask::Stop() {
  run_->stopped = true;
  delivered_ = false;
}

bool TFileDeliveryTask::Stopped() const { return continue_ == 0 || run_->stopped; }

// What a lost connection left undone is not delivered.
void TFileDeliveryTask::CheckConnection() {
  if (!run_->loggedOn || Connected()) return;
  run_->lost = true;
  delivered_ = false;
}

bool TFileDeliveryTask::Noted(bool written) {
  if (written) return true;
  DisplayHistory("Cannot save %s", remoteFat_->Journal().Path().c_str());
  Stop();
  return false;
}

TRemoteDirectoryRecord& TFileDeliveryTask::Record(const std::string& key) const {
  TRemoteDirectoryRecord* record = remoteFat_->RemoteDirectoryRecord(key.c_str());
  if (record == nullptr) throw std::bad_alloc();
  return *record;
}

int TFileDeliveryTask::Execute() {
  TraceHere();
  if (setup_ == nullptr) return 0;
  int done = 0;
  try {
    if (*setup_->String("FTP Server") == '\0' || !IsDue()) return 1;
    done = Deliver();
  } catch (const std::exception&) {
    // Out of memory: what was delivered is in the table.
    client_.TProtocol::Disconnect();
    if (remoteFat_ != nullptr) remoteFat_->CutShort();
    remoteFat_.reset();
  }
  run_.reset();
  DisplayProgress(0, 0);
  return done;
}

bool TFileDeliveryTask::IsDue() const {
  TTime newest = setup_->LastModifyTime();
  if (state_ == nullptr) return TTime() < newest;
  newest = std::max(newest, state_->Time("Last Site Update Time"));
  return state_->Time(kLastTransfer) < newest;
}

int TFileDeliveryTask::Deliver() {
  DisplayProgress(0, 100);
  const unsigned failures = brevant::silentFailures;
  delivered_ = true;
  run_ = std::make_unique<TRun>(*setup_, continue_);
  const std::string local = setup_->String("Local Directory");
  const std::string remote = setup_->String("Remote Directory");
  const TFolder top{nullptr,
                    local,
                    brevant::RootOf(local),
                    remote,
                    brevant::TopKey(setup_->String("FTP Account"), remote),
                    0};
  // A setting that could not be read may say where files go.
  if (brevant::silentFailures != failures) throw std::bad_alloc();
  if (!brevant::CanEnter(top.path)) {
    DisplayHistory("Cannot change directory to %s (Local)", local.c_str());
    return 0;
  }
  TraceHere();
  remoteFat_ = std::make_unique<TRemoteFAT>(run_->tablePath.c_str());
  if (remoteFat_->Loaded() == 0) {
    DisplayHistory("Cannot open %s", run_->tablePath.c_str());
    remoteFat_.reset();
    return 0;
  }
  run_->goesOn = remoteFat_->WasCutShort() != 0;
  DeliverFolder(top);
  TraceHere();
  if (Connected()) client_.Disconnect();
  if (!Finish() || brevant::silentFailures != failures) return 0;
  if (state_ != nullptr) state_->Time(kLastTransfer, TTime::Now());
  return 1;
}

// Whether the delivery is done, and the table written back.
bool TFileDeliveryTask::Finish() {
  if (Stopped() || run_->lost) remoteFat_->CutShort();
  const bool saved = remoteFat_->Save() != 0;
  if (!saved) DisplayHistory("Cannot save %s", run_->tablePath.c_str());
  remoteFat_.reset();
  return saved && delivered_ && continue_ != 0;
}

void TFileDeliveryTask::DeliverFolder(const TFolder& folder) {
  TraceHere();
  TLocalFolder local;
  if (!Scan(folder, &local)) return;
  TDeliveryPlan plan = brevant::PlanDelivery(local, Record(folder.key));
  if (run_->everyFolder) brevant::PlanFolders(local, *remoteFat_, folder.key, &plan);
  if (Stopped()) return;
  const bool needed = plan.Any() || (run_->goesOn && folder.above == nullptr);
  if (needed && !Connected() && !LogOn(folder)) return;
  if (Connected()) {
    const bool entered = Enter(folder);
    if (entered) BringUpToDate(folder, plan);
    CheckConnection();
    if (!entered) return;
  } else if (!run_->everyFolder && !run_->goesOn) {
    // What changed below an unchanged directory waits for a delivery that comes by.
    return;
  }
  DeliverFolders(folder, local.folders);
  if (!Ended()) Leave(folder);
}

void TFileDeliveryTask::DeliverFolders(const TFolder& folder,
                                       const std::vector<std::string>& names) {
  const char separator = SeparatorOf(folder.key);
  for (const std::string& name : names) {
    if (Stopped()) return;
    DeliverFolder({&folder, name, folder.path + name + '/', name, folder.key + name + separator,
                   folder.depth + 1});
  }
}

bool TFileDeliveryTask::Scan(const TFolder& folder, TLocalFolder* local) {
  const char* shown = folder.shown.c_str();
  const bool entered = folder.depth <= kDeepest && brevant::CanEnter(folder.path);
  if (entered) DisplayStatus("Scanning %s (Local)", shown);
  run_->scan.onFile = [shown](int number) {
    DisplayStatus("Scanning %s, %d files", shown, number);
  };
  run_->scan.onUnreadable = [this](const std::string& name) {
    DisplayHistory("Cannot open %s (Local)", name.c_str());
    StepFailed();
  };
  if (entered && run_->scan.Scan(folder.path, local)) return true;
  DisplayHistory("Cannot change directory to %s (Local)", shown);
  StepFailed();
  return false;
}

bool TFileDeliveryTask::LogOn(const TFolder& folder) {
  // An abort ends waits only, and a server nearby may answer without one.
  if (Stopped()) return false;
  const char* server = run_->server.c_str();
  DisplayStatus("Connecting to %s", server);
  TraceHere();
  brevant::ApplyStandardMode(client_, *setup_, "Standard FTP Mode");
  const std::string password = setup_->String("FTP Password");
  const TSecurityInfos security(setup_->String("FTP Account"), password.c_str());
  if (client_.Connect(server, security, brevant::PortSetting(*setup_, "FTP Port")) == 0) {
    if (continue_ != 0) {
      DisplayHistory("Cannot log onto %s", server);
      if (state_ != nullptr) state_->Error("Cannot log onto %s", server);
    }
    Stop();
    return false;
  }
  run_->loggedOn = true;
  DisplayHistory("Logged onto %s successfully", server);
  return EnterFromTop(folder.above);
}

// Goes down to the folder in which delivery is at. Anywhere else files would land in the wrong
// place.
bool TFileDeliveryTask::EnterFromTop(const TFolder* folder) {
  if (folder == nullptr) return true;
  if (!EnterFromTop(folder->above)) return false;
  if (client_.ChangeDirectory(folder->remote.c_str()) != 0) return true;
  DisplayHistory("Cannot change directory to %s (Remote)", folder->remote.c_str());
  Stop();
  return false;
}

bool TFileDeliveryTask::Enter(const TFolder& folder) {
  TraceHere();
  DisplayStatus("Setting transfer mode to binary");
  if (client_.SetType("I") == 0) StepFailed();
  const char* remote = folder.remote.c_str();
  DisplayStatus("Changing to %s (Remote)", remote);
  const bool entered = folder.remote.empty() || client_.ChangeDirectory(remote) != 0 ||
                       (client_.MakeDirectory(remote) != 0 && client_.ChangeDirectory(remote) != 0);
  if (!entered) {
    DisplayHistory("Cannot change directory to %s (Remote)", remote);
    StepFailed();
  } else if (run_->everyFolder && folder.above != nullptr) {
    TRemoteDirectoryRecord& record = Record(folder.key);
    if (!record.Kept()) Noted(remoteFat_->Journal().Made(folder.key));
    record.Keep();
  }
  return entered;
}

void TFileDeliveryTask::Leave(const TFolder& folder) {
  if (!run_->shellCommand.empty()) {
    TraceHere();
    const char* command = run_->shellCommand.c_str();
    if (client_.ExecuteCommand(command) == 0) {
      DisplayHistory("Cannot FTP shell command \"%s\" (Remote)", command);
      StepFailed();
    }
  }
  if (folder.above != nullptr) {
    ChangeUp();
    CheckConnection();
  } else if (!folder.remote.empty()) {
    client_.ChangeDirectory("..");
  }
}

// Back to the directory above, without which nothing more can be put in its place.
bool TFileDeliveryTask::ChangeUp() {
  if (Ended()) return false;
  if (client_.ChangeDirectory("..") != 0) return true;
  if (!Ended()) {
    DisplayHistory("Cannot change directory to %s (Remote)", "..");
    Stop();
  }
  return false;
}

void TFileDeliveryTask::BringUpToDate(const TFolder& folder, const TDeliveryPlan& plan) {
  for (const std::string& name : plan.goneFolders) {
    if (Ended()) return;
    EraseFolder(folder.key, name, folder.depth + 1);
  }
  for (const std::string& name : plan.respelled) {
    if (Ended()) return;
    EraseFile(folder.key, name);
  }
  const auto total = static_cast<int>(plan.fresh.size() + plan.changed.size());
  int counter = 1;
  for (const bool isNew : {true, false}) {
    for (const TLocalFile* file : isNew ? plan.fresh : plan.changed) {
      if (Ended()) return;
      DisplayProgress(counter++, total);
      SendFile(folder, *file, isNew);
    }
  }
  for (const std::string& name : plan.removed) {
    if (Ended()) return;
    EraseFile(folder.key, name);
  }
}

void TFileDeliveryTask::SendFile(const TFolder& folder, const TLocalFile& file, bool isNew) {
  const std::string& name = file.record.name;
  brevant::TFatJournal& journal = remoteFat_->Journal();
  if (!Noted(journal.InFlight(folder.key, name))) return;
  if (!Transfer(file, isNew)) {
    Noted(journal.Failed(folder.key, name));
    return;
  }
  if (Record(folder.key).Put(file.record) == 0) throw std::bad_alloc();
  Noted(journal.Arrived(folder.key, file.record));
}

bool TFileDeliveryTask::Transfer(const TLocalFile& file, bool isNew) {
  const std::string& name = file.record.name;
  DisplayStatus("Opening %s", name.c_str());
  TraceHere();
  if (setup_->Number("Passive FTP Data Mode") != 0) client_.Status() |= kStatusPassive;
  // A file of the temporary name cannot take its own place, and one whose name no command can carry
  // has none: opening it fails before anything is sent.
  const bool indirect = run_->indirect && brevant::CanBeSent(name) &&
                        !brevant::EqualsIgnoreCase(name, kTemporaryName);
  const char* remoteName = indirect ? kTemporaryName : name.c_str();
  if (client_.OpenResource(remoteName, kOpenForWriting) == 0) {
    delivered_ = false;
    DisplayHistory("Cannot open %s (Remote)", remoteName);
    return false;
  }
  if (!Store(file)) {
    StepFailed();
    return false;
  }
  if (indirect) return PutInPlace(name, isNew);
  DisplayHistory("Transferred %s successfully", name.c_str());
  return true;
}

// Copies the file into the resource that is open, and closes that.
bool TFileDeliveryTask::Store(const TLocalFile& file) {
  const char* name = file.record.name.c_str();
  brevant::UniqueFile local = brevant::UniqueFile::OpenToRead(file.path);
  if (!local) {
    DisplayHistory("Cannot open %s (Local)", name);
    client_.Close();
    return false;
  }
  DisplayStatus("Transfering %s", name);
  DWORD high = 0;
  const DWORD low = GetFileSize(local.Get(), &high);
  const bool whole = Copy(local.Get()) == ((std::uint64_t{high} << 32) | low);
  // An abort does not wait for what the server says of the end.
  const bool closed = client_.Close() != 0 && continue_ != 0;
  if (!whole || !closed) DisplayHistory("Cannot transfer %s (Remote) completely", name);
  return whole && closed;
}

// The count of bytes that went out.
std::uint64_t TFileDeliveryTask::Copy(HANDLE file) {
  std::uint64_t written = 0;
  while (continue_ != 0) {
    DWORD read = 0;
    if (ReadFile(file, run_->block.data(), kBlockBytes, &read, nullptr) == 0 || read == 0) break;
    const int sent = client_.Write(run_->block.data(), static_cast<int>(read));
    if (sent < 1) break;
    written += static_cast<std::uint64_t>(sent);
  }
  return written;
}

bool TFileDeliveryTask::PutInPlace(const std::string& name, bool isNew) {
  TraceHere();
  if (!isNew && client_.DeleteResource(name.c_str()) == 0) CannotErase(name);
  if (!Rename(name, isNew)) {
    DisplayHistory("Cannot rename temp.ftp to %s (Remote)", name.c_str());
    StepFailed();
    return false;
  }
  DisplayHistory(isNew ? "Transferred %s successfully" : "Updated %s successfully", name.c_str());
  return true;
}

bool TFileDeliveryTask::Rename(const std::string& name, bool isNew) {
  if (client_.RenameResource(kTemporaryName, name.c_str()) != 0) return true;
  // A file that was on its way when the delivery before was killed may have arrived, and some
  // servers do not rename onto one that is there.
  return isNew && run_->goesOn && !Ended() && client_.DeleteResource(name.c_str()) != 0 &&
         client_.RenameResource(kTemporaryName, name.c_str()) != 0;
}

bool TFileDeliveryTask::CannotErase(const std::string& name) {
  DisplayHistory("Cannot erase %s (Remote)", name.c_str());
  StepFailed();
  return false;
}

bool TFileDeliveryTask::EraseFile(const std::string& key, const std::string& name) {
  DisplayStatus("Deleting %s", name.c_str());
  TraceHere();
  brevant::TFatJournal& journal = remoteFat_->Journal();
  if (!Noted(journal.InFlight(key, name))) return false;
  if (client_.DeleteResource(name.c_str()) == 0) {
    Noted(journal.Failed(key, name));
    return CannotErase(name);
  }
  DisplayHistory("Removed %s successfully", name.c_str());
  Record(key).Remove(name);
  return Noted(journal.Removed(key, name));
}

// Empties and removes a directory on the server as the table knows it; what else stands in it keeps
// it there.
bool TFileDeliveryTask::EraseFolder(const std::string& key, const std::string& name, int depth) {
  const std::string folder = key + name + SeparatorOf(key);
  DisplayStatus("Deleting %s", name.c_str());
  TraceHere();
  if (depth <= kDeepest && client_.ChangeDirectory(name.c_str()) != 0) {
    const bool emptied = EraseContents(folder, depth);
    if (!ChangeUp() || !emptied) return false;
    if (client_.DeleteDirectory(name.c_str(), 0) == 0) return CannotErase(name);
    DisplayHistory("Removed %s successfully", name.c_str());
  } else if (depth > kDeepest || Ended() || client_.LastReplyCode() / 10 != 55) {
    // A refusal with 55x means, as for files, that there is no such directory any more.
    return CannotErase(name);
  }
  ForgetFolder(folder, depth);
  return true;
}

bool TFileDeliveryTask::EraseContents(const std::string& key, int depth) {
  bool emptied = true;
  for (const std::string& name : remoteFat_->NamesBelow(key, SeparatorOf(key))) {
    if (Ended()) return false;
    if (!EraseFolder(key, name, depth + 1)) emptied = false;
  }
  std::vector<std::string> names;
  for (const TRemoteFileRecord& file : Record(key).Files()) names.push_back(file.name);
  for (const std::string& name : names) {
    if (Ended()) return false;
    if (!EraseFile(key, name)) emptied = false;
  }
  return emptied;
}

void TFileDeliveryTask::ForgetFolder(const std::string& key, int depth) {
  if (depth <= kDeepest) {
    for (const std::string& name : remoteFat_->NamesBelow(key, SeparatorOf(key))) {
      ForgetFolder(key + name + SeparatorOf(key), depth + 1);
    }
  }
  remoteFat_->RemoveDirectoryRecord(key);
  Noted(remoteFat_->Journal().Gone(key));
}

namespace brevant {

TTask* MakeFileDeliveryTask(TSetup* setup, TPersistentState* state) {
  try {
    return new TFileDeliveryTask(setup, state);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace brevant
