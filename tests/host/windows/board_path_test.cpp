// On Windows a board's path is ASCII: the names of its files are widened byte by byte.
#include "../host_fixture.h"

namespace {

using host_test::HasSubstr;
using host_test::Host;

class BoardPath : public Host {};

TEST_F(BoardPath, OfOtherCharactersIsRefusedWithTheReason) {
  // In the system's code page, as a user's console passes it.
  const std::string path = directory_ / "Gr\xFC\xDF";
  const test::ProgramResult refused = RunHost({"init", path, "--name", "Greetings"});
  EXPECT_EQ(refused.exitCode, 1) << refused.output;
  EXPECT_THAT(refused.output, HasSubstr("the path of a board may hold ASCII characters only"));
  EXPECT_FALSE(std::filesystem::exists(std::filesystem::path(path)));
}

TEST_F(BoardPath, ThatExistsIsRefusedByEveryCommand) {
  Init();
  const std::string path = directory_ / "Caf\xE9";
  std::filesystem::rename(Board(), std::filesystem::path(path));
  for (const std::vector<std::string>& command : std::vector<std::vector<std::string>>{
           {"run", path}, {"forum", "list", path}, {"config", path, "get"}}) {
    const test::ProgramResult refused = RunHost(command);
    EXPECT_EQ(refused.exitCode, 1) << refused.output;
    EXPECT_THAT(refused.output, HasSubstr("ASCII")) << command[0];
  }
}

TEST_F(BoardPath, MayHaveBlanksBothSeparatorsAndADrive) {
  std::string path = directory_ / "A board with a long name\\in two parts";
  std::filesystem::create_directory(directory_ / "A board with a long name");
  ASSERT_NE(path.find(':'), std::string::npos) << path;
  ASSERT_EQ(RunHost({"init", path, "--name", "Blanks"}).exitCode, 0);
  ASSERT_EQ(RunHost({"forum", "create", path + "\\", "General Talk"}).exitCode, 0);
  const test::ProgramResult listed = RunHost({"forum", "list", path});
  EXPECT_THAT(listed.output, HasSubstr("General Talk"));
  const test::ProgramResult made = RunHost({"run", path, "html"});
  EXPECT_EQ(made.exitCode, 0) << made.output;
  EXPECT_TRUE(test::FileExists(path + "/Site/index.htm"));
}

}  // namespace
