// brevant-host: makes a board, edits it and runs the library's tasks on it.
#include "board_directory.h"
#include "command_line.h"
#include "commands.h"
#include "console.h"

#include <iostream>

namespace {

constexpr const char* kExamples = R"(
Examples:
  brevant-host init myboard --name "My Board"
  brevant-host forum create myboard "General Talk" --description "Anything goes"
  brevant-host post myboard "General Talk" --from "Ann <ann@example.org>" \
      --subject Hello --file hello.txt
  brevant-host links create myboard "Good Sites"
  brevant-host links add myboard "Good Sites" "A seed bank" --address https://example.org/
  brevant-host question create myboard "Tea or coffee" --answer Tea --answer Coffee
  brevant-host run myboard html                 pages in myboard/Site

  brevant-host config myboard set "POP3 Server" mail.example.org
  brevant-host config myboard set "POP3 Account" board
  brevant-host config myboard set "POP3 Password" -        (read from standard input)
  brevant-host config myboard set "FTP Server" www.example.org
  brevant-host run myboard                      the whole round, for example from cron

Exit code: 0 success, 1 something failed, 2 wrong use of the command, 128 + signal when interrupted.)";

using host::Action;

void AddInit(CLI::App& app, Action& action) {
  auto options = std::make_shared<host::InitOptions>();
  CLI::App* command = app.add_subcommand("init", "Make a board in a new or empty directory");
  command->add_option("DIR", options->directory, "directory of the board")->required();
  command->add_option("--name", options->name, "name of the board (else that of the directory)");
  command->add_option("--templates", options->templates, "directory with templates to start from");
  command->callback(
      [options, &action] { action = [options] { return host::InitCommand(*options); }; });
}

void AddRun(CLI::App& app, Action& action) {
  auto options = std::make_shared<host::RunOptions>();
  CLI::App* command =
      app.add_subcommand("run", "Run the board's tasks: retrieve, dispatch, html, files, deliver");
  command->add_option("DIR", options->directory, "directory of the board")->required();
  command->add_option("TASK", options->tasks,
                      "retrieve: fetch mail; dispatch: pass posts on to mailing lists; html: "
                      "generate the site; files: remove unused files of the site (with html only); "
                      "deliver: upload the site. Without a name all five in that order; "
                      "what has no server is left out");
  command->add_flag("-v,--verbose", options->verbose, "print every step");
  command->callback(
      [options, &action] { action = [options] { return host::RunCommand(*options); }; });
}

void AddConfig(CLI::App& app, Action& action) {
  auto options = std::make_shared<host::ConfigOptions>();
  CLI::App* group = app.add_subcommand("config", "Read and write the board's settings");
  group->add_option("DIR", options->directory, "directory of the board")->required();
  group->require_subcommand(1);
  CLI::App* get = group->add_subcommand("get", "Print one setting, or all");
  get->add_option("KEY", options->key, "name of the setting");
  get->callback(
      [options, &action] { action = [options] { return host::ConfigGetCommand(*options); }; });
  CLI::App* set = group->add_subcommand("set", "Change a setting");
  set->add_option("KEY", options->key, "name of the setting")->required();
  set->add_option("VALUE", options->value, "new value; - reads a password from standard input")
      ->required();
  set->callback(
      [options, &action] { action = [options] { return host::ConfigSetCommand(*options); }; });
  CLI::App* list = group->add_subcommand("list", "Print what each setting means");
  list->callback([&action] { action = [] { return host::ConfigListCommand(); }; });
}

int Main(int argc, char** argv) {
  CLI::App app("Runs web bulletin boards as static sites: mail in, pages out.", "brevant-host");
  // A path that begins with a slash is a path on every platform.
  app.allow_windows_style_options(false);
  app.set_version_flag("--version", "brevant-host " BREVANT_VERSION);
  app.require_subcommand(1);
  Action action;
  AddInit(app, action);
  AddRun(app, action);
  host::AddContainerFamilies(app, action);
  AddConfig(app, action);
  app.footer(kExamples);  // last, or every command would inherit it
  if (argc == 1) {
    std::cout << app.help();
    return host::kExitUsage;
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? host::kExitSuccess : host::kExitUsage;
  }
  return action();
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Main(argc, argv);
  } catch (const std::exception& error) {
    host::PrintError(error.what());
  }
  return host::kExitFailure;
}
