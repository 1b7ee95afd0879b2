// A board of a thousand forums goes its whole round.
#include "figures.h"
#include "unit/shared/full_circle.h"

namespace soak {
namespace {

constexpr int kMoreForums = 1000;
constexpr int kPosts = 3000;
// The run's cache keeps 256 files open, each with its journal; connections come on top.
constexpr std::size_t kMostDescriptors = 2 * 256 + 32;
constexpr long kMostMemory = 64 * 1024;  // KiB

class ManyForums : public test::FullCircle {
 protected:
  static std::string Name(int number) { return "Forum " + std::to_string(number); }
  void SetUp() override {
    FullCircle::SetUp();
    for (int i = 0; i < kMoreForums; ++i) {
      MakeForum(Name(i));
      const auto forum = OpenContainer(brevant::TBoardKind::kForum, Name(i));
      AddMailingList(test::kReader, "The reader", forum.get());
    }
    onStatus = [this] { most_ = std::max(most_, test::OpenDescriptors()); };
  }
  void TearDown() override {
    onStatus = nullptr;
    FullCircle::TearDown();
  }
  void Post(int count) {
    for (int i = 0; i < count; ++i) {
      subscribed_.insert(NewPost(Name(static_cast<int>(Below(kMoreForums)))));
    }
  }
  void Round(const std::string& name) {
    for (const char* task : test::kTasks) {
      std::string key = name + "_" + task;
      std::replace(key.begin(), key.end(), ' ', '_');
      history.clear();
      Work work(key);
      TTask* made = CreateTask(task);
      EXPECT_EQ(made->Execute(), 1) << task;
      DestroyTask(made);
      EXPECT_LE(work.Finish(), kMostMemory) << task;
      status.clear();
      for (const std::string& line : history) {
        EXPECT_EQ(line.find("Cannot"), std::string::npos) << line;
      }
    }
    LetTimePass();
  }

  std::size_t most_ = 0;
};

TEST_F(ManyForums, AThousandGoTheirWholeRoundInFewDescriptors) {
  StopServers();
  const std::size_t descriptors = test::OpenDescriptors();
  Start(true);
  Post(kPosts);
  Round("forums");
  Print("forums_data_bytes", BytesBelow(root_ / "Data"));
  Print("forums_pages", FilesBelow(SitePath(""), ".htm"));
  ExpectWhole();
  ExpectEachPostSentOnce();
  Post(kPosts / 10);
  Round("forums_again");
  ExpectWhole();
  ExpectEachPostSentOnce();
  StopServers();
  Print("forums_descriptors", most_ - descriptors);
  EXPECT_LE(most_, descriptors + kMostDescriptors);
  EXPECT_LE(test::OpenDescriptors(), descriptors + kProfiles);
}

}  // namespace
}  // namespace soak
