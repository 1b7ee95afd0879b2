#include "command_line.h"
#include "commands.h"
#include "containers.h"

#include <memory>

namespace host {

namespace {

constexpr const char* kDirectoryHelp = "directory of the board";

// The commands that every kind of container has.
class Family {
 public:
  Family(CLI::App& app, Action& action, const ContainerKind& kind, const std::string& what)
      : action_(action), kind_(kind), options_(std::make_shared<ContainerOptions>()) {
    group_ = app.add_subcommand(kind.command, what);
    group_->require_subcommand(1);
    AddCreate();
    const std::string word = kind_.word;
    const std::string item = kind_.item;
    Add("list", "List the " + word + "s", ContainerListCommand);
    AddNamed("show", "Show a " + word + " and its " + item + "s", ContainerShowCommand);
    CLI::App* rename = AddNamed("rename", "Rename a " + word + " or one of its " + item + "s",
                                ContainerRenameCommand);
    rename->add_option("NEWNAME", options_->newName, "the new name")->required();
    rename->add_option("--item", options_->item, "rename the " + item + " of that number");
    AddNamed("remove", "Remove one " + item, ContainerRemoveCommand)
        ->add_option("NUMBER", options_->item, "its number, as \"show\" prints it")
        ->required();
    AddNamed("delete", "Delete a " + word + " with its " + item + "s", ContainerDeleteCommand);
  }

  CLI::App* Group() { return group_; }

 private:
  using Function = int (*)(const ContainerKind&, const ContainerOptions&);

  CLI::App* Add(const std::string& name, const std::string& what, Function function) {
    CLI::App* command = group_->add_subcommand(name, what);
    command->add_option("DIR", options_->directory, kDirectoryHelp)->required();
    command->callback([this_options = options_, &kind = kind_, &action = action_, function] {
      action = [=, &kind] { return function(kind, *this_options); };
    });
    return command;
  }

  CLI::App* AddNamed(const std::string& name, const std::string& what, Function function) {
    CLI::App* command = Add(name, what, function);
    command->add_option("NAME", options_->name, std::string("name of the ") + kind_.word)
        ->required();
    return command;
  }

  void AddCreate() {
    const std::string word = kind_.word;
    CLI::App* create = AddNamed("create", "Make a " + word, ContainerCreateCommand);
    create->add_option("--description", options_->description, "one line about the " + word);
    create->add_option("--prefix", options_->prefix, "how the names of its pages begin");
    if (&kind_ == &kQuestions) {
      create->add_option("--answer", options_->answers, "an answer to choose; once for each");
      return;
    }
    create
        ->add_option("--maximum", options_->maximum,
                     std::string(kind_.item) + "s kept; the oldest goes first (16)")
        ->check(CLI::Range(1u, 1000000000u));
  }

  Action& action_;
  const ContainerKind& kind_;
  std::shared_ptr<ContainerOptions> options_;
  CLI::App* group_ = nullptr;
};

void AddLinkAdd(Family& family, Action& action, const ContainerKind& kind) {
  auto options = std::make_shared<LinkOptions>();
  const std::string item = kind.item;
  CLI::App* add = family.Group()->add_subcommand(
      "add", "Add one " + item + "; one of the same subject is replaced");
  add->add_option("DIR", options->directory, kDirectoryHelp)->required();
  add->add_option("NAME", options->list, std::string("name of the ") + kind.word)->required();
  add->add_option("SUBJECT", options->subject, "what the " + item + " is called")->required();
  CLI::Option* address = add->add_option("--address", options->address, "where it leads");
  if (&kind == &kLinkLists) address->required();
  add->add_option("--size", options->size, "size of what is there, in KB")
      ->check(CLI::Range(0u, 1000000000u));
  add->add_option("--from", options->from, "who sent it, as in \"Ann <ann@example.org>\"");
  add->add_option("--file", options->file, "file with a description; - reads standard input");
  add->add_flag("--html", options->html, "the description is HTML");
  add->callback([options, &action, &kind] {
    action = [options, &kind] { return LinkAddCommand(kind, *options); };
  });
}

void AddAnswerAdd(Family& family, Action& action) {
  auto options = std::make_shared<AnswerOptions>();
  CLI::App* add = family.Group()->add_subcommand("add", "Add an answer to choose");
  add->add_option("DIR", options->directory, kDirectoryHelp)->required();
  add->add_option("NAME", options->question, "name of the question")->required();
  add->add_option("ANSWER", options->answer, "the answer")->required();
  add->add_option("--color", options->color, "colour of its bar in the results, as #2f7fc1");
  add->callback([options, &action] { action = [options] { return AnswerAddCommand(*options); }; });
}

void AddPost(CLI::App* command, Action& action) {
  auto options = std::make_shared<PostOptions>();
  command->add_option("DIR", options->directory, kDirectoryHelp)->required();
  command->add_option("FORUM", options->forum, "name of the forum")->required();
  command->add_option("--from", options->from, "author, as in \"Ann <ann@example.org>\"")
      ->required();
  command->add_option("--subject", options->subject, "subject of the message")->required();
  command->add_option("--file", options->file, "file with the text; - reads standard input")
      ->default_val("-");
  command->add_flag("--html", options->html, "the text is HTML");
  command->add_option("--reply-to", options->replyTo, "number of the message this one answers");
  command->callback([options, &action] { action = [options] { return PostCommand(*options); }; });
}

void AddSubscriptions(CLI::App& app, Action& action) {
  auto add = [&](const char* name, const char* what, int (*function)(const SubscriptionOptions&)) {
    auto options = std::make_shared<SubscriptionOptions>();
    CLI::App* command = app.add_subcommand(name, what);
    command->add_option("DIR", options->directory, kDirectoryHelp)->required();
    command->add_option("FORUM", options->forum, "name of the forum")->required();
    command->add_option("ADDRESS", options->address, "address of the subscriber")->required();
    command->callback(
        [options, &action, function] { action = [=] { return function(*options); }; });
    return std::make_pair(command, options);
  };
  auto [subscribe, options] =
      add("subscribe", "Add an address to a forum's mailing list", SubscribeCommand);
  subscribe->add_option("--name", options->name, "name of the subscriber");
  add("unsubscribe", "Take an address off a forum's mailing list", UnsubscribeCommand);
}

}  // namespace

void AddContainerFamilies(CLI::App& app, Action& action) {
  Family forums(app, action, kForums, "Forums and their messages");
  AddPost(forums.Group()->add_subcommand("add", "The same as \"post\""), action);
  AddPost(app.add_subcommand("post", "Post a message to a forum without mail"), action);
  AddSubscriptions(app, action);
  Family lists(app, action, kResourceLists, "Resource lists and their articles");
  AddLinkAdd(lists, action, kResourceLists);
  Family links(app, action, kLinkLists, "Link lists and their links");
  AddLinkAdd(links, action, kLinkLists);
  Family questions(app, action, kQuestions, "Survey questions and their answers");
  AddAnswerAdd(questions, action);
}

}  // namespace host
