// The POP3 side of the dialogues.
#include "dialogue.h"
#include "net/waiting.h"
#include "support/pop3_server.h"

#include <brevant/net.h>

#include <charconv>
#include <functional>
#include <map>
#include <stdexcept>

namespace test {
namespace {

Pop3Options OptionsOf(const DialogueCase& dialogue) {
  Pop3Options options;
  options.deviations = dialogue.deviations;
  for (const std::string& option : dialogue.options) {
    if (option == "empty line before dot") {
      options.emptyLineBeforeDot = true;
    } else if (option.starts_with("last ")) {
      options.lastRead = std::stoi(option.substr(5));
    } else if (option.starts_with("password ")) {
      options.password = option.substr(9);
    } else {
      throw std::runtime_error("unknown option " + option);
    }
  }
  return options;
}

std::string TextOf(const char* text) { return text == nullptr ? "null" : Quote(text); }

class Pop3Player : public DialoguePlayer {
 public:
  explicit Pop3Player(const DialogueCase& dialogue)
      : server_(dialogue.messages, OptionsOf(dialogue)) {
    client_.Status() |= dialogue.status;
    client_.SetTimeout(dialogue.timeout);
  }

  std::string Run(const DialogueStep& step) override {
    const auto found = Operations().find(step.operation);
    if (found == Operations().end())
      throw std::runtime_error("unknown operation " + step.operation);
    return found->second(*this, step.arguments);
  }

  void Finish() override {
    client_.TProtocol::Disconnect();
    server_.Server().WaitUntilFinished(server_.Server().Accepted());
  }
  std::string ClientBytes() override { return server_.Transcript(); }
  int Left() override { return static_cast<int>(server_.Messages().size()); }

 private:
  using Operation = std::function<std::string(Pop3Player&, const std::string&)>;
  using Client = TMIMEEnabledPOP3;

  static int Number(const std::string& text) { return std::stoi(text); }

  // "account password", or nothing for user and secret.
  std::string Connect(const std::string& arguments) {
    const std::size_t blank = arguments.find(' ');
    const std::string account = arguments.empty() ? "user" : arguments.substr(0, blank);
    const std::string password =
        blank == std::string::npos ? "secret" : arguments.substr(blank + 1);
    const TSecurityInfos security(account.c_str(), password.c_str());
    return std::to_string(client_.Connect("127.0.0.1", security, server_.Port()));
  }

  // Bytes of one read, or everything up to the end.
  std::string Read(const std::string& size, bool all) {
    std::string result;
    std::vector<char> buffer(static_cast<std::size_t>(size.empty() ? 1024 : Number(size)));
    int count = 0;
    do {
      count = client_.Read(buffer.data(), static_cast<int>(buffer.size()));
      if (count > 0) result.append(buffer.data(), static_cast<std::size_t>(count));
    } while (all && count > 0);
    return !all && count < 1 ? std::to_string(count) : Quote(result);
  }

  std::string Time() {
    const TTime& time = client_.ResourceTime();
    const auto two = [](int value) { return (value < 10 ? "0" : "") + std::to_string(value); };
    return std::to_string(time.Year()) + "-" + two(time.Month()) + "-" + two(time.Day()) + " " +
           two(time.Hour()) + ":" + two(time.Minute()) + ":" + two(time.Second());
  }

  static const std::map<std::string, Operation>& Operations() {
    const auto simple = [](int (Client::*call)()) -> Operation {
      return
          [call](Pop3Player& p, const std::string&) { return std::to_string((p.client_.*call)()); };
    };
    const auto text = [](const char* (Client::*call)() const) -> Operation {
      return [call](Pop3Player& p, const std::string&) { return TextOf((p.client_.*call)()); };
    };
    static const std::map<std::string, Operation> operations = {
        {"Connect", [](Pop3Player& p, const std::string& a) { return p.Connect(a); }},
        {"Disconnect", simple(&Client::Disconnect)},
        {"GetFirst", simple(&Client::GetFirst)},
        {"GetNext", simple(&Client::GetNext)},
        {"GetFirstNew", simple(&Client::GetFirstNew)},
        {"DeleteCurrent", simple(&Client::DeleteCurrent)},
        {"ResetMarks", simple(&Client::ResetMarks)},
        {"FinishMessage", simple(&Client::FinishMessage)},
        {"OpenPart", simple(&Client::OpenPart)},
        {"SkipCurrentPart", simple(&Client::SkipCurrentPart)},
        {"OpenCurrent",
         [](Pop3Player& p, const std::string& a) {
           return std::to_string(p.client_.OpenCurrent(a.empty() ? 1 : Number(a)));
         }},
        {"OpenResource",
         [](Pop3Player& p, const std::string& a) {
           return std::to_string(p.client_.OpenResource(a.c_str(), 1));
         }},
        {"IsContent",
         [](Pop3Player& p, const std::string& a) {
           return std::to_string(p.client_.IsContent(a.c_str()));
         }},
        {"VerifyMessageIndex",
         [](Pop3Player& p, const std::string& a) {
           const std::size_t blank = a.find(' ');
           return std::to_string(
               p.client_.VerifyMessageIndex(Number(a), a.substr(blank + 1).c_str()));
         }},
        {"Read", [](Pop3Player& p, const std::string& a) { return p.Read(a, false); }},
        {"ReadAll", [](Pop3Player& p, const std::string& a) { return p.Read(a, true); }},
        {"Status",
         [](Pop3Player& p, const std::string&) { return std::to_string(p.client_.Status()); }},
        {"Time", [](Pop3Player& p, const std::string&) { return p.Time(); }},
        {"MessageCount",
         [](Pop3Player& p, const std::string&) {
           return std::to_string(p.client_.MessageCount());
         }},
        {"CurrentMessage",
         [](Pop3Player& p, const std::string&) {
           return std::to_string(p.client_.CurrentMessage());
         }},
        {"From", text(&Client::From)},
        {"To", text(&Client::To)},
        {"Subject", text(&Client::Subject)},
        {"MessageId", text(&Client::MessageId)},
        {"PartContentType", text(&Client::PartContentType)},
        {"PartCharset", text(&Client::PartCharset)},
        {"PartContentId", text(&Client::PartContentId)},
        {"PartFileName", text(&Client::PartFileName)},
    };
    return operations;
  }

  Pop3Server server_;
  Client client_;
};

}  // namespace

std::unique_ptr<DialoguePlayer> MakePop3Player(const DialogueCase& dialogue) {
  return std::make_unique<Pop3Player>(dialogue);
}

}  // namespace test
