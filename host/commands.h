// The host's commands. Each returns the exit code of the program and throws UserError for what the
// user can mend.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace host {

inline constexpr int kExitSuccess = 0;
inline constexpr int kExitFailure = 1;
inline constexpr int kExitUsage = 2;

struct InitOptions {
  std::string directory;
  std::string name;       // empty: the directory's own name
  std::string templates;  // empty: those that come with the program
};
int InitCommand(const InitOptions& options);

struct RunOptions {
  std::string directory;
  std::vector<std::string> tasks;  // empty: all
  bool verbose = false;
};
int RunCommand(const RunOptions& options);
// The names that RunOptions::tasks may hold, in the order in which they run.
std::vector<std::string> RunTaskNames();

struct ContainerKind;

// What the commands for all kinds of containers take.
struct ContainerOptions {
  std::string directory;
  std::string name;
  std::string newName;
  std::optional<std::string> description;
  std::optional<std::string> prefix;
  std::optional<unsigned> maximum;
  std::vector<std::string> answers;  // create, of a question
  unsigned item = 0;                 // remove: its number; rename: 0 means the container itself
};
int ContainerListCommand(const ContainerKind& kind, const ContainerOptions& options);
int ContainerCreateCommand(const ContainerKind& kind, const ContainerOptions& options);
int ContainerShowCommand(const ContainerKind& kind, const ContainerOptions& options);
int ContainerRenameCommand(const ContainerKind& kind, const ContainerOptions& options);
int ContainerRemoveCommand(const ContainerKind& kind, const ContainerOptions& options);
int ContainerDeleteCommand(const ContainerKind& kind, const ContainerOptions& options);

struct LinkOptions {
  std::string directory;
  std::string list;
  std::string subject;
  std::string address;
  std::string from;
  std::optional<unsigned> size;  // in KB
  std::string file;              // with the description; empty: none, "-": standard input
  bool html = false;
};
int LinkAddCommand(const ContainerKind& kind, const LinkOptions& options);

struct AnswerOptions {
  std::string directory;
  std::string question;
  std::string answer;
  std::string color;  // as #rrggbb; empty: the next of a row of colours
};
int AnswerAddCommand(const AnswerOptions& options);

struct SubscriptionOptions {
  std::string directory;
  std::string forum;
  std::string address;
  std::string name;  // subscribe: of the subscriber
};
int SubscribeCommand(const SubscriptionOptions& options);
int UnsubscribeCommand(const SubscriptionOptions& options);

struct PostOptions {
  std::string directory;
  std::string forum;
  std::string from;
  std::string subject;
  std::string file;  // "-": standard input
  bool html = false;
  unsigned replyTo = 0;  // number of the message answered; 0: none
};
int PostCommand(const PostOptions& options);

struct ConfigOptions {
  std::string directory;
  std::string key;    // get: empty for all
  std::string value;  // "-" as a password: read from standard input
};
int ConfigGetCommand(const ConfigOptions& options);
int ConfigSetCommand(const ConfigOptions& options);
int ConfigListCommand();

}  // namespace host
