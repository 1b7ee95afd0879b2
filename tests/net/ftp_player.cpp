// The FTP side of the dialogues.
#include "dialogue.h"
#include "support/ftp_server.h"
#include "support/temporary_directory.h"

#include <brevant/ftp.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>

namespace test {
namespace {

namespace fs = std::filesystem;

using Arguments = std::vector<std::string>;

// What the server holds, and how it behaves. Options that make files come before any conversation.
FtpOptions OptionsOf(const DialogueCase& dialogue, const TemporaryDirectory& root) {
  FtpOptions options;
  options.deviations = dialogue.deviations;
  for (const std::string& option : dialogue.options) {
    const Arguments words = DialogueWords(option);
    const auto is = [&](const char* keyword, std::size_t count) {
      return words.size() == count && words[0] == keyword;
    };
    if (is("file", 3)) {
      WriteFileBytes(root / words[1], words[2]);
    } else if (is("directory", 2)) {
      fs::create_directories(root / words[1]);
    } else if (is("refuses", 2)) {
      options.refusedSeparator = words[1].at(0);
    } else if (is("passive", 2)) {
      options.passiveReply = words[1];
    } else if (is("list", 2)) {
      options.listText = std::make_shared<std::string>(words[1]);
    } else if (is("nlst", 2)) {
      options.nlstText = std::make_shared<std::string>(words[1]);
    } else if (option.starts_with("data ")) {
      options.dataFaults.push_back(ParseDataFault(option.substr(5)));
    } else {
      throw std::runtime_error("unknown option " + option);
    }
  }
  return options;
}

class FtpPlayer : public DialoguePlayer {
 public:
  explicit FtpPlayer(const DialogueCase& dialogue)
      : server_(root_.Path(), OptionsOf(dialogue, root_)) {
    client_.Status() |= dialogue.status;
    client_.SetTimeout(dialogue.timeout);
  }

  std::string Run(const DialogueStep& step) override {
    Arguments arguments = DialogueWords(step.arguments);
    arguments.resize(std::max<std::size_t>(arguments.size(), 2));
    const auto found = Operations().find(step.operation);
    if (found == Operations().end())
      throw std::runtime_error("unknown operation " + step.operation);
    return found->second(*this, arguments);
  }

  void Finish() override {
    client_.TProtocol::Disconnect();
    server_.Server().WaitUntilFinished(server_.Server().Accepted());
  }
  std::string ClientBytes() override { return server_.Transcript(); }
  // The files on the server.
  int Left() override {
    int count = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root_.Path())) {
      if (entry.is_regular_file()) ++count;
    }
    return count;
  }

 private:
  using Operation = std::function<std::string(FtpPlayer&, const Arguments&)>;

  std::string ReadAll() {
    std::string all;
    std::array<char, 4096> block;
    int count = 0;
    while ((count = client_.Read(block.data(), static_cast<int>(block.size()))) > 0)
      all.append(block.data(), static_cast<std::size_t>(count));
    return Quote(all);
  }

  // The directory list: the names, a directory's with "/", and the sizes of files.
  std::string Entries() const {
    std::string text;
    for (const TFindData& entry : client_.DirectoryList()) {
      text += entry.name;
      text += entry.attributes != 0 ? "/" : "=" + std::to_string(entry.sizeLow);
      text += ';';
    }
    return Quote(text);
  }

  static Operation OnName(int (TFTP::*call)(const char*)) {
    return [call](FtpPlayer& p, const Arguments& a) {
      return std::to_string((p.client_.*call)(a[0].c_str()));
    };
  }
  static Operation Open(int mode) {
    return [mode](FtpPlayer& p, const Arguments& a) {
      return std::to_string(p.client_.OpenResource(a[0].c_str(), mode));
    };
  }

  static std::map<std::string, Operation> SessionOperations() {
    return {
        {"Connect",
         [](FtpPlayer& p, const Arguments& a) {
           const TSecurityInfos security(a[0].c_str(), a[1].c_str());
           return std::to_string(p.client_.Connect("127.0.0.1", security, p.server_.Port()));
         }},
        {"Disconnect",
         [](FtpPlayer& p, const Arguments&) { return std::to_string(p.client_.Disconnect()); }},
        {"Status",
         [](FtpPlayer& p, const Arguments&) { return std::to_string(p.client_.Status()); }},
        {"LastReplyCode",
         [](FtpPlayer& p, const Arguments&) { return std::to_string(p.client_.LastReplyCode()); }},
        {"SetType", OnName(&TFTP::SetType)},
        {"ExecuteCommand", OnName(&TFTP::ExecuteCommand)},
        {"DeleteResource", OnName(&TFTP::DeleteResource)},
        {"RenameResource",
         [](FtpPlayer& p, const Arguments& a) {
           return std::to_string(p.client_.RenameResource(a[0].c_str(), a[1].c_str()));
         }},
        {"MakeDirectory", OnName(&TFTP::MakeDirectory)},
        {"ChangeDirectory", OnName(&TFTP::ChangeDirectory)},
        {"DeleteDirectory",
         [](FtpPlayer& p, const Arguments& a) {
           return std::to_string(
               p.client_.DeleteDirectory(a[0].c_str(), a[1] == "recursive" ? 1 : 0));
         }},
    };
  }

  static std::map<std::string, Operation> TransferOperations() {
    return {
        {"OpenForReading", Open(kOpenForReading)},
        {"OpenForWriting", Open(kOpenForWriting)},
        {"Write",
         [](FtpPlayer& p, const Arguments& a) {
           return std::to_string(p.client_.Write(a[0].data(), static_cast<int>(a[0].size())));
         }},
        {"ReadAll", [](FtpPlayer& p, const Arguments&) { return p.ReadAll(); }},
        {"Close", [](FtpPlayer& p, const Arguments&) { return std::to_string(p.client_.Close()); }},
        {"GetFileInfo", OnName(&TFTP::GetFileInfo)},
        {"GetSize",
         [](FtpPlayer& p, const Arguments&) { return std::to_string(p.client_.GetSize()); }},
        {"GetDirectoryList",
         [](FtpPlayer& p, const Arguments&) {
           return std::to_string(p.client_.GetDirectoryList());
         }},
        {"Entries", [](FtpPlayer& p, const Arguments&) { return p.Entries(); }},
        {"Stored",
         [](FtpPlayer& p, const Arguments& a) {
           const std::string path = p.root_ / a[0];
           return FileExists(path) ? Quote(ReadFileBytes(path)) : std::string("null");
         }},
    };
  }

  static const std::map<std::string, Operation>& Operations() {
    static const std::map<std::string, Operation> operations = [] {
      std::map<std::string, Operation> all = SessionOperations();
      all.merge(TransferOperations());
      return all;
    }();
    return operations;
  }

  TemporaryDirectory root_;
  FtpServer server_;
  TFTP client_;
};

}  // namespace

std::unique_ptr<DialoguePlayer> MakeFtpPlayer(const DialogueCase& dialogue) {
  return std::make_unique<FtpPlayer>(dialogue);
}

}  // namespace test
