// Runs of the retrieval task over a board of its own.
#include "dialogue.h"
#include "shared/mailtask.h"
#include "support/pop3_server.h"
#include "support/temporary_directory.h"

#include <brevant/brevant.h>

#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>

namespace test {
namespace {

namespace fs = std::filesystem;

constexpr int kReadWrite = 2;
constexpr int kCreate = 4096;
constexpr int kExclusive = 16;

std::vector<std::string> shown;

std::unique_ptr<TForum> NewContainer(const std::string& kind) {
  if (kind == "forum") return std::make_unique<TForum>();
  if (kind == "articles") return std::make_unique<TContributor>();
  if (kind == "links") return std::make_unique<TLinkList>();
  if (kind == "question") return std::make_unique<TSurveyQuestion>();
  throw std::runtime_error("unknown kind " + kind);
}

Pop3Options Options(const DialogueCase& dialogue) {
  Pop3Options options;
  options.account = "user";
  options.password = "secret";
  options.deviations = dialogue.deviations;
  for (const std::string& option : dialogue.options) {
    if (option != "empty line before dot") throw std::runtime_error("unknown option " + option);
    options.emptyLineBeforeDot = true;
  }
  return options;
}

class RetrievalPlayer : public DialoguePlayer {
 public:
  explicit RetrievalPlayer(const DialogueCase& dialogue)
      : server_(dialogue.messages, Options(dialogue)), timeout_(dialogue.timeout) {
    fs::create_directory(directory_ / "data");
    fs::create_directory(directory_ / "site");
    SetProgramDirectory(directory_.Path().c_str());
    setup_ = OpenSetup("settings.ini");
    state_ = OpenPersistentState("state.ini");
    if (InitializeBrevant(setup_, state_) == 0) throw std::runtime_error("no library");
    shown.clear();
    SetVisualFunctions(
        "HISTORY", reinterpret_cast<void*>(+[](const char* text) { shown.emplace_back(text); }));
    for (const auto& [key, value] : {std::pair<const char*, std::string>{"BBS Name", "My Board"},
                                     {"POP3 Server", "127.0.0.1"},
                                     {"POP3 Account", "user"},
                                     {"POP3 Password", "secret"},
                                     {"Data Directory", data_},
                                     {"Local Directory", directory_ / "site/"}}) {
      setup_->String(key, value.c_str());
    }
    setup_->Number("POP3 Port", server_.Port());
    setup_->Number("Standard POP3 Mode", (dialogue.status & kStatusStandardMode) != 0 ? 1 : 0);
  }

  ~RetrievalPlayer() override {
    SetVisualFunctions("HISTORY", nullptr);
    UninitializeBrevant();
    ClosePersistentState(state_);
    CloseSetup(setup_);
    SetProgramDirectory(nullptr);
  }

  std::string Run(const DialogueStep& step) override {
    const std::map<std::string, std::string (RetrievalPlayer::*)(const std::vector<std::string>&)>
        operations = {
            {"Set", &RetrievalPlayer::Set},         {"Make", &RetrievalPlayer::Make},
            {"Add", &RetrievalPlayer::Add},         {"Retrieve", &RetrievalPlayer::Retrieve},
            {"Items", &RetrievalPlayer::Items},     {"Value", &RetrievalPlayer::Value},
            {"Records", &RetrievalPlayer::Records}, {"Files", &RetrievalPlayer::Files}};
    const auto found = operations.find(step.operation);
    if (found == operations.end()) throw std::runtime_error("unknown operation " + step.operation);
    return (this->*found->second)(DialogueWords(step.arguments));
  }

  void Finish() override { server_.Server().WaitUntilFinished(server_.Server().Accepted()); }
  std::string ClientBytes() override { return server_.Transcript(); }
  int Left() override { return static_cast<int>(server_.Messages().size()); }
  std::vector<std::string> History() override { return shown; }

 private:
  using Arguments = std::vector<std::string>;

  std::unique_ptr<TForum> Open(const Arguments& arguments, int create) {
    std::unique_ptr<TForum> container = NewContainer(arguments.at(0));
    if (container->Open(arguments.at(1).c_str(), data_.c_str(), kReadWrite, create, kExclusive) ==
        0) {
      throw std::runtime_error("cannot open " + arguments.at(1));
    }
    return container;
  }

  // KEY VALUE
  std::string Set(const Arguments& arguments) {
    setup_->String(arguments.at(0).c_str(), arguments.at(1).c_str());
    return "1";
  }
  // KIND NAME
  std::string Make(const Arguments& arguments) {
    Open(arguments, kCreate);
    return "1";
  }
  // KIND NAME SUBJECT: the new item's number
  std::string Add(const Arguments& arguments) {
    const std::unique_ptr<TForum> container = Open(arguments, 0);
    const std::unique_ptr<TMail, decltype(&CloseMessage)> item(OpenMessage(0, nullptr),
                                                               CloseMessage);
    item->String("SUBJECT", arguments.at(2).c_str());
    return std::to_string(container->InsertMessage(*item));
  }
  std::string Retrieve(const Arguments&) {
    TMailRetrievalTask task(setup_, state_);
    task.Client().SetTimeout(timeout_);
    return std::to_string(task.Execute());
  }
  // KIND NAME KEY...: of every item in list order, the values of its properties
  std::string Items(const Arguments& arguments) {
    const std::unique_ptr<TForum> container = Open(arguments, 0);
    std::vector<DWORD> indices;
    TMessageSearcher* search = StartMessageSearch(container.get());
    for (TMessageSearchResult found = FindFirstMessage(search); found.subject != nullptr;
         found = FindNextMessage(search)) {
      indices.push_back(found.index);
    }
    EndMessageSearch(search);
    std::string text;
    for (const DWORD index : indices) {
      TMail item;
      if (container->OpenMessage(index, &item) == 0) throw std::runtime_error("cannot open item");
      for (std::size_t i = 2; i < arguments.size(); ++i) {
        text += std::string(i == 2 ? "" : "|") + item.String(arguments[i].c_str());
      }
      text += ";";
    }
    return Quote(text);
  }
  // KIND NAME KEY: a property of the container
  std::string Value(const Arguments& arguments) {
    return Quote(Open(arguments, 0)->String(arguments.at(2).c_str()));
  }
  // KIND NAME LIST: the records, of 128 bytes, of a list of the container
  std::string Records(const Arguments& arguments) {
    const std::unique_ptr<TForum> container = Open(arguments, 0);
    if (container->OpenList(arguments.at(2).c_str(), 128) == 0) return "null";
    std::string text;
    char key[128];
    char value[128];
    while (container->ReadNextListItem(key, sizeof key, value, sizeof value) == 1) {
      text += std::string(key) + "=" + value + ";";
    }
    container->CloseList();
    return Quote(text);
  }
  // How many files the site holds
  std::string Files(const Arguments&) {
    return std::to_string(std::distance(fs::directory_iterator(directory_ / "site"), {}));
  }

  TemporaryDirectory directory_;
  std::string data_ = directory_ / "data/";
  Pop3Server server_;
  DWORD timeout_;
  TSetup* setup_ = nullptr;
  TPersistentState* state_ = nullptr;
};

}  // namespace

std::unique_ptr<DialoguePlayer> MakeRetrievalPlayer(const DialogueCase& dialogue) {
  return std::make_unique<RetrievalPlayer>(dialogue);
}

}  // namespace test
