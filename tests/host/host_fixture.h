// A directory with a board in it and the program that works on it.
#pragma once

#include "support/process.h"
#include "support/temporary_directory.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

namespace host_test {

using ::testing::HasSubstr;
using ::testing::Not;
namespace fs = std::filesystem;

inline std::vector<std::string> HostCommand(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), HOST_PROGRAM);
  return arguments;
}

class Host : public ::testing::Test {
 protected:
  static test::ProgramResult RunHost(const std::vector<std::string>& arguments,
                                     const std::string& input = {}) {
    return test::RunProgram(HostCommand(arguments), input);
  }
  // Templates of the tests' own, so that these tests do not depend on the looks of the default
  // ones.
  void Init() {
    const std::string templates = directory_ / "templates";
    fs::create_directory(templates);
    test::WriteFileBytes(templates + "/index.htm",
                         "<html><body><ul><li><a href=\"$FORUM_FILENAME$\">$FORUM_NAME$</a>"
                         "</ul></body></html>\n");
    test::WriteFileBytes(templates + "/messages.htm",
                         "<html><body><h1>$FORUM_NAME$</h1><div>$MESSAGE_SUBJECT$: "
                         "$MESSAGE_CONTENT$</div></body></html>\n");
    test::ProgramResult made =
        RunHost({"init", Board(), "--name", "Test Board", "--templates", templates});
    ASSERT_EQ(made.exitCode, 0) << made.output;
  }
  void InitWithForum() {
    Init();
    test::ProgramResult made = RunHost({"forum", "create", Board(), "General Talk"});
    ASSERT_EQ(made.exitCode, 0) << made.output;
  }
  std::string Board() const { return directory_ / "board"; }
  std::string InBoard(const std::string& name) const { return Board() + "/" + name; }

  // Every file below the board with its bytes, to see that nothing was touched.
  std::map<std::string, std::string> Snapshot() const {
    std::map<std::string, std::string> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(Board())) {
      const std::string name = entry.path().generic_string();
      if (entry.is_regular_file() && entry.path().filename() != "brevant.lock") {
        files[name] = test::ReadFileBytes(name);
      }
    }
    return files;
  }

  test::TemporaryDirectory directory_;
};

}  // namespace host_test
