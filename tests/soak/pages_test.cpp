// A site of a hundred thousand pages: generated, tidied up, generated again, delivered.
#include "bench/forum_filler.h"
#include "figures.h"
#include "unit/shared/full_circle.h"

namespace soak {
namespace {

constexpr int kForums = 100;
constexpr int kMessages = 1000;
constexpr long kMostMemory = 64 * 1024;  // KiB
// The server in this process keeps every command; files and table are some hundred bytes each.
constexpr long kMostMemoryOfDelivery = 160 * 1024;

class ManyPages : public test::FullCircle {
 protected:
  void SetUp() override {
    FullCircle::SetUp();
    bench::FillForums(root_ / "Data/", kForums, kMessages);
    // A page of all messages of the board would be in memory whole.
    Set("HTML File - Message list", "");
    std::string index = ReadFileBytes(root_ / "Templates/index.htm");
    const std::string lists = "$FORUM_FILENAME$";
    const std::size_t at = index.find(lists);
    ASSERT_NE(at, std::string::npos);
    Template("index.htm", index.replace(at, lists.size(), "$FORUM_FILENAME(messages)$"));
  }
  static std::string ReadFileBytes(const std::string& path) { return test::ReadFileBytes(path); }
  void RunTask(const char* task, const std::string& key, long mostMemory) {
    history.clear();
    Work work(key);
    TTask* made = CreateTask(task);
    EXPECT_EQ(made->Execute(), 1) << task;
    DestroyTask(made);
    EXPECT_LE(work.Finish(), mostMemory) << task;
    status.clear();
    for (const std::string& line : history) {
      EXPECT_EQ(line.find("Cannot"), std::string::npos) << line;
    }
  }
};

TEST_F(ManyPages, AHundredThousandAreMadeTidiedAndDelivered) {
  StopServers();
  const std::size_t descriptors = test::OpenDescriptors();
  Start(true);
  RunTask("HTML", "pages_first", kMostMemory);
  const std::size_t pages = FilesBelow(SitePath(""), ".htm");
  Print("pages", pages);
  Print("pages_bytes", BytesBelow(SitePath("")));
  EXPECT_GE(pages, static_cast<std::size_t>(kForums * kMessages));
  RunTask("FILE MANAGEMENT", "pages_tidied", kMostMemory);
  EXPECT_EQ(FilesBelow(SitePath(""), ".htm"), pages);
  LetTimePass();
  // A changed template makes every page anew.
  Template("message.htm", ReadFileBytes(root_ / "Templates/message.htm") + "<!-- changed -->\n");
  RunTask("HTML", "pages_again", kMostMemory);
  EXPECT_EQ(FilesBelow(SitePath(""), ".htm"), pages);
  RunTask("FILE DELIVERY", "pages_delivered", kMostMemoryOfDelivery);
  EXPECT_EQ(FilesBelow(RemoteSite().generic_string(), ".htm"), pages);
  StopServers();
  EXPECT_LE(test::OpenDescriptors(), descriptors + kProfiles);
}

}  // namespace
}  // namespace soak
