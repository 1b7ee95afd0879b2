// The SMTP side of the dialogues.
#include "dialogue.h"
#include "support/smtp_server.h"

#include <brevant/smtp.h>

#include <functional>
#include <map>
#include <stdexcept>

namespace test {
namespace {

SmtpOptions OptionsOf(const DialogueCase& dialogue) {
  SmtpOptions options;
  options.deviations = dialogue.deviations;
  for (const std::string& option : dialogue.options) {
    if (option == "strict paths") {
      options.strictPaths = true;
    } else if (option == "any line ends") {
      options.lineEnds = SmtpLineEnds::kAny;
    } else if (option == "no ehlo") {
      options.extended = false;
    } else if (option.starts_with("recipient ")) {
      const std::size_t blank = option.find(' ', 10);
      if (blank == std::string::npos) throw std::runtime_error("a reply is missing: " + option);
      options.recipientReplies[option.substr(10, blank - 10)] = option.substr(blank + 1);
    } else {
      throw std::runtime_error("unknown option " + option);
    }
  }
  return options;
}

// An argument that begins with a quote has escapes.
std::string TextOf(const std::string& argument) {
  std::size_t at = 0;
  return argument.starts_with('"') ? ParseQuoted(argument, &at) : argument;
}

class SmtpPlayer : public DialoguePlayer {
 public:
  explicit SmtpPlayer(const DialogueCase& dialogue) : server_(OptionsOf(dialogue)) {
    client_.Status() |= dialogue.status;
    client_.SetTimeout(dialogue.timeout);
  }

  std::string Run(const DialogueStep& step) override {
    const auto found = Operations().find(step.operation);
    if (found == Operations().end())
      throw std::runtime_error("unknown operation " + step.operation);
    return found->second(*this, TextOf(step.arguments));
  }

  void Finish() override {
    client_.TProtocol::Disconnect();
    server_.Server().WaitUntilFinished(server_.Server().Accepted());
  }
  std::string ClientBytes() override { return server_.Transcript(); }
  // The messages that the server took.
  int Left() override { return static_cast<int>(server_.Mails().size()); }

 private:
  using Operation = std::function<std::string(SmtpPlayer&, const std::string&)>;

  std::string Mail(std::size_t number) const {
    const std::vector<SmtpMail> mails = server_.Mails();
    if (number < 1 || number > mails.size()) return "null";
    const SmtpMail& mail = mails[number - 1];
    std::string text = mail.sender + ">";
    for (const std::string& recipient : mail.recipients) text += recipient + ";";
    return Quote(text + " " + mail.content);
  }

  static const std::map<std::string, Operation>& Operations() {
    const auto simple = [](int (TSMTP::*call)()) -> Operation {
      return
          [call](SmtpPlayer& p, const std::string&) { return std::to_string((p.client_.*call)()); };
    };
    const auto text = [](int (TSMTP::*call)(const char*)) -> Operation {
      return [call](SmtpPlayer& p, const std::string& a) {
        return std::to_string((p.client_.*call)(a.c_str()));
      };
    };
    static const std::map<std::string, Operation> operations = {
        {"Connect",
         [](SmtpPlayer& p, const std::string&) {
           return std::to_string(
               p.client_.Connect("127.0.0.1", static_cast<short>(p.server_.Port())));
         }},
        {"From", text(&TSMTP::From)},
        {"Subject", text(&TSMTP::Subject)},
        {"ReplyTo", text(&TSMTP::ReplyTo)},
        {"BBS", text(&TSMTP::BBS)},
        {"OpenResource",
         [](SmtpPlayer& p, const std::string& a) {
           return std::to_string(p.client_.OpenResource(a.c_str(), kOpenForWriting));
         }},
        {"StartData", simple(&TSMTP::StartData)},
        {"Write",
         [](SmtpPlayer& p, const std::string& a) {
           return std::to_string(p.client_.Write(a.data(), static_cast<int>(a.size())));
         }},
        {"WriteLine",
         [](SmtpPlayer& p, const std::string& a) {
           return std::to_string(p.client_.WriteLine(a.c_str()));
         }},
        {"Close", simple(&TSMTP::Close)},
        {"Abort", simple(&TSMTP::Abort)},
        {"Disconnect", simple(&TSMTP::Disconnect)},
        {"Status",
         [](SmtpPlayer& p, const std::string&) { return std::to_string(p.client_.Status()); }},
        {"RecipientReply",
         [](SmtpPlayer& p, const std::string&) {
           return std::to_string(p.client_.RecipientReply());
         }},
        {"Mail", [](SmtpPlayer& p, const std::string& a) { return p.Mail(std::stoul(a)); }},
    };
    return operations;
  }

  SmtpServer server_;
  TSMTP client_;
};

}  // namespace

std::unique_ptr<DialoguePlayer> MakeSmtpPlayer(const DialogueCase& dialogue) {
  return std::make_unique<SmtpPlayer>(dialogue);
}

}  // namespace test
