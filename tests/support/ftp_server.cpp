#include "support/ftp_server.h"

#include "support/ftp_data.h"
#include "support/ftp_listing.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>

namespace test {

namespace fs = std::filesystem;

namespace {

std::string Reply(int code, const std::string& text) {
  return std::to_string(code) + " " + text + "\r\n";
}

std::string UpperCased(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return text;
}

std::string FirstWord(const std::string& line) { return line.substr(0, line.find(' ')); }

std::string ReplaceAll(std::string text, const std::string& what, const std::string& with) {
  for (std::size_t at = text.find(what); at != std::string::npos;
       at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
  return text;
}

}  // namespace

struct FtpServer::State {
  std::string root;
  FtpOptions options;
  std::atomic<bool> stopping{false};
  mutable std::mutex mutex;
  std::vector<std::string> commands;
  int transfers = 0;

  DataFault NextFault() {
    const std::lock_guard lock(mutex);
    return FaultOf(++transfers);
  }
  // That of the next transfer, which has not begun.
  DataFault ComingFault() {
    const std::lock_guard lock(mutex);
    return FaultOf(transfers + 1);
  }
  DataFault FaultOf(int transfer) const {
    if (options.dataFault) return options.dataFault(transfer);
    for (const DataFault& fault : options.dataFaults) {
      if (fault.transfer == 0 || fault.transfer == transfer) return fault;
    }
    return {};
  }
};

class FtpServer::Session : public ServerSession {
 public:
  explicit Session(std::shared_ptr<State> state)
      : state_(std::move(state)), options_(state_->options) {
    current_ = ResolveRemote("/", options_.home, false);
  }

  std::string Greeting() override { return Reply(220, "ready"); }

  ServerAnswer OnLine(const std::string& line) override {
    {
      const std::lock_guard lock(state_->mutex);
      state_->commands.push_back(line);
    }
    if (options_.onCommand) options_.onCommand(line);
    const std::size_t blank = std::min(line.find(' '), line.size());
    argument_ = blank < line.size() ? line.substr(blank + 1) : "";
    ServerAnswer answer;
    answer.command = UpperCased(line.substr(0, blank));
    if (answer.command == "QUIT") answer.close = true;
    const auto found = Handlers().find(answer.command);
    if (found == Handlers().end()) {
      answer.bytes = Reply(502, "Command not implemented.");
    } else if (!loggedIn_ && found->second.needsLogOn) {
      answer.bytes = Reply(530, "Please login with USER and PASS.");
    } else {
      (this->*found->second.handle)(answer);
    }
    if (answer.command != "RNFR") renameFrom_.clear();
    return answer;
  }

 private:
  using Handle = void (Session::*)(ServerAnswer&);
  struct Handler {
    Handle handle;
    bool needsLogOn = true;
  };

  static const std::map<std::string, Handler>& Handlers() {
    static const std::map<std::string, Handler> handlers = {
        {"USER", {&Session::User, false}}, {"PASS", {&Session::Pass, false}},
        {"QUIT", {&Session::Quit, false}}, {"NOOP", {&Session::Accept}},
        {"SITE", {&Session::Accept}},      {"ABOR", {&Session::Accept}},
        {"SYST", {&Session::System}},      {"PWD", {&Session::PrintDirectory}},
        {"TYPE", {&Session::Type}},        {"PORT", {&Session::Port}},
        {"PASV", {&Session::Passive}},     {"CWD", {&Session::ChangeTo}},
        {"MKD", {&Session::Make}},         {"RMD", {&Session::Remove}},
        {"DELE", {&Session::Delete}},      {"RNFR", {&Session::RenameFrom}},
        {"RNTO", {&Session::RenameTo}},    {"STOR", {&Session::Store}},
        {"RETR", {&Session::Retrieve}},    {"LIST", {&Session::ListDetails}},
        {"NLST", {&Session::ListOfNames}}};
    return handlers;
  }

  void User(ServerAnswer& answer) {
    account_ = argument_;
    answer.bytes = Reply(331, "Please specify the password.");
  }

  void Pass(ServerAnswer& answer) {
    loggedIn_ = (options_.account.empty() || options_.account == account_) &&
                (options_.password.empty() || options_.password == argument_);
    answer.bytes = loggedIn_ ? Reply(230, "Login successful.") : Reply(530, "Login incorrect.");
  }

  void Quit(ServerAnswer& answer) { answer.bytes = Reply(221, "Goodbye."); }
  void Accept(ServerAnswer& answer) { answer.bytes = Reply(200, "Done."); }
  void System(ServerAnswer& answer) { answer.bytes = Reply(215, "UNIX Type: L8"); }
  void PrintDirectory(ServerAnswer& answer) {
    answer.bytes = Reply(257, "\"" + current_ + "\" is the current directory");
  }

  void Type(ServerAnswer& answer) {
    const std::string type = UpperCased(argument_.substr(0, 1));
    if (type != "A" && type != "I") {
      answer.bytes = Reply(504, "Unknown type.");
      return;
    }
    binary_ = type == "I";
    answer.bytes = Reply(200, "Switching type.");
  }

  void Port(ServerAnswer& answer) {
    answer.bytes =
        port_.Remember(argument_) ? Reply(200, "PORT successful.") : Reply(500, "Illegal PORT.");
  }

  void Passive(ServerAnswer& answer) {
    const WORD port = port_.Listen(state_->ComingFault().refused);
    const std::string bytes = std::to_string(port / 256) + "," + std::to_string(port % 256);
    answer.bytes = ReplaceAll(ReplaceAll(options_.passiveReply, "%A", "127,0,0,1"), "%P", bytes);
  }

  // The path that the argument means, with the refusals of names that this server does not know;
  // nothing when the answer is given already.
  std::optional<fs::path> Target(ServerAnswer& answer) {
    const bool refused = options_.refusedSeparator != '\0' &&
                         argument_.find(options_.refusedSeparator) != std::string::npos;
    std::optional<fs::path> path;
    if (!refused && !argument_.empty()) path = LocalPath(state_->root, Resolve(argument_));
    if (!path) answer.bytes = Reply(501, "Invalid path.");
    if (path && options_.foldsCase) *path = FoldCase(*path);
    return path;
  }

  std::string Resolve(const std::string& path) const {
    return ResolveRemote(current_, path, options_.refusedSeparator != '\0');
  }

  void ChangeTo(ServerAnswer& answer) {
    const auto path = Target(answer);
    if (!path) return;
    std::error_code failed;
    const bool there = fs::is_directory(*path, failed);
    if (there) current_ = Resolve(argument_);
    answer.bytes = there ? Reply(250, "Directory successfully changed.")
                         : Reply(550, "Failed to change directory.");
  }

  void Finish(ServerAnswer& answer, bool succeeded, int code) {
    answer.bytes = succeeded ? Reply(code, "Done.") : Reply(550, "Failed.");
  }

  void Make(ServerAnswer& answer) {
    std::error_code failed;
    if (const auto path = Target(answer)) Finish(answer, fs::create_directory(*path, failed), 257);
  }

  void Remove(ServerAnswer& answer) {
    std::error_code failed;
    if (const auto path = Target(answer))
      Finish(answer, fs::is_directory(*path, failed) && fs::remove(*path, failed), 250);
  }

  void Delete(ServerAnswer& answer) {
    std::error_code failed;
    if (const auto path = Target(answer))
      Finish(answer, !fs::is_directory(*path, failed) && fs::remove(*path, failed), 250);
  }

  void RenameFrom(ServerAnswer& answer) {
    const auto path = Target(answer);
    if (!path) return;
    std::error_code failed;
    const bool there = fs::exists(*path, failed);
    renameFrom_ = there ? *path : fs::path();
    answer.bytes = there ? Reply(350, "Ready for RNTO.") : Reply(550, "RNFR command failed.");
  }

  void RenameTo(ServerAnswer& answer) {
    const auto path = Target(answer);
    if (!path) return;
    if (renameFrom_.empty()) {
      answer.bytes = Reply(503, "RNFR required first.");
      return;
    }
    std::error_code failed;
    fs::rename(renameFrom_, *path, failed);
    Finish(answer, !failed, 250);
  }

  // A transfer: the answer begins it, the rest is its final reply.
  void Transfer(ServerAnswer& answer, std::function<bool(DataConnection&)> move) {
    if (!port_.Known()) {
      answer.bytes = Reply(425, "Use PORT or PASV first.");
      return;
    }
    answer.bytes = Reply(150, "Ok to send data.");
    answer.afterwards = [this, move = std::move(move)] {
      const DataTerms terms{state_->NextFault(), &state_->stopping, &options_.onData,
                            options_.connectionWait};
      const SOCKET socket = port_.Open(terms);
      if (socket == INVALID_SOCKET) return Reply(425, "Failed to establish connection.");
      bool whole = false;
      {
        DataConnection connection(socket, terms);
        whole = move(connection);
      }
      return whole ? Reply(226, "Transfer complete.")
                   : Reply(426, "Connection closed; transfer aborted.");
    };
  }

  void Store(ServerAnswer& answer) {
    const auto path = Target(answer);
    if (!path) return;
    auto file = std::make_shared<std::ofstream>(*path, std::ios::binary | std::ios::trunc);
    if (!file->is_open()) {
      answer.bytes = Reply(553, "Could not create file.");
      return;
    }
    Transfer(answer, [file, binary = binary_](DataConnection& data) {
      const bool whole = data.Receive([&](std::string_view bytes) {
        std::string text;
        if (!binary) {
          text = ReplaceAll(std::string(bytes), "\r\n", "\n");
          bytes = text;
        }
        file->write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
      });
      file->close();
      return whole;
    });
  }

  void Retrieve(ServerAnswer& answer) {
    const auto path = Target(answer);
    if (!path) return;
    std::error_code failed;
    std::ifstream file(*path, std::ios::binary);
    if (!file || fs::is_directory(*path, failed)) {
      answer.bytes = Reply(550, "Failed to open file.");
      return;
    }
    std::string bytes{std::istreambuf_iterator<char>(file), {}};
    if (!binary_) bytes = ReplaceAll(bytes, "\n", "\r\n");
    SendText(answer, std::move(bytes));
  }

  void SendText(ServerAnswer& answer, std::string bytes) {
    if (options_.alterData) options_.alterData(&bytes);
    Transfer(answer,
             [bytes = std::move(bytes)](DataConnection& data) { return data.SendAll(bytes); });
  }

  void SendListing(ServerAnswer& answer, const std::shared_ptr<const std::string>& given,
                   const std::function<std::optional<std::string>(const fs::path&)>& list) {
    if (given != nullptr) return SendText(answer, *given);
    if (argument_.empty()) argument_ = current_;
    const auto path = Target(answer);
    if (!path) return;
    // What is not there gives an empty listing, as most servers do.
    SendText(answer, list(*path).value_or(""));
  }

  void ListDetails(ServerAnswer& answer) {
    SendListing(answer, options_.listText,
                [this](const fs::path& path) { return List(path, options_.listing); });
  }

  void ListOfNames(ServerAnswer& answer) {
    SendListing(answer, options_.nlstText, [](const fs::path& path) { return ListNames(path); });
  }

  std::shared_ptr<State> state_;
  const FtpOptions& options_;
  DataPort port_;
  std::string argument_;
  std::string account_;
  std::string current_;
  fs::path renameFrom_;
  bool loggedIn_ = false;
  bool binary_ = false;
};

FtpServer::FtpServer(std::string root, FtpOptions options) : state_(std::make_shared<State>()) {
  while (root.size() > 1 && root.ends_with('/')) root.pop_back();
  state_->root = std::move(root);
  state_->options = std::move(options);
  server_ = std::make_unique<LoopbackServer>(
      [state = state_] { return std::make_unique<Session>(state); }, state_->options.deviations,
      state_->options.port);
}

FtpServer::~FtpServer() {
  state_->stopping = true;
  server_->Stop();
}

WORD FtpServer::Port() const { return server_->Port(); }

std::vector<std::string> FtpServer::Commands() const {
  const std::lock_guard lock(state_->mutex);
  return state_->commands;
}

std::vector<std::string> FtpServer::Verbs() const {
  std::vector<std::string> verbs = Commands();
  for (std::string& line : verbs) line = FirstWord(line);
  return verbs;
}

void FtpServer::ForgetCommands() {
  const std::lock_guard lock(state_->mutex);
  state_->commands.clear();
}

std::string FtpServer::Transcript() const { return server_->Transcript(); }

LoopbackServer& FtpServer::Server() { return *server_; }

}  // namespace test
