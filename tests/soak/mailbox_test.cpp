// A mailbox of a hundred thousand mails, fetched in one run.
#include "board/list_index.h"
#include "figures.h"
#include "unit/shared/board_reading.h"
#include "unit/shared/retrieval_fixture.h"

namespace soak {
namespace {

constexpr int kMails = 100000;
constexpr const char* kForum = "General Talk";
// KiB. Of a run the board's cache keeps some megabytes; the index of what is in the mailbox and in
// the forum is some hundred bytes a mail.
constexpr long kMostMemory = 96 * 1024;
constexpr long kMostMemoryForNothing = 8 * 1024;

class Mailbox : public test::RetrievalFixture {
 protected:
  static std::string Subject(int number) { return "Mail " + std::to_string(number); }
  std::vector<std::string> Mails() const {
    std::vector<std::string> mails;
    const std::string body = "A line as long as those that mail programs wrap.\n";
    for (int i = 0; i < kMails; ++i) {
      mails.push_back(Post("General_Talk", Subject(i), body + std::to_string(i) + "\n" + body));
    }
    return mails;
  }
  // Every mail is there once, in order; looks into every thousandth.
  void ExpectAllFiled() {
    TForum forum;
    ASSERT_NE(forum.Open(kForum, data_.c_str(), 2, 0, 16), 0);
    const brevant::TListIndex& index = forum.MessageIndex();
    ASSERT_EQ(index.Size(), static_cast<std::size_t>(kMails));
    for (int i = 0; i < kMails; i += 1000) {
      TMail mail;
      ASSERT_NE(forum.OpenMessage(index.At(static_cast<std::size_t>(i)).index, &mail), 0);
      EXPECT_EQ(mail.String("SUBJECT"), Subject(i));
      EXPECT_NE(test::ContentOf(mail).find("\n" + std::to_string(i) + "\r\n"), std::string::npos);
    }
  }
  int RunOnce() {
    test::Shown::Clear();
    TMailRetrievalTask task(setup_, state_);
    return RetrievalFixture::Run(task);
  }
};

TEST_F(Mailbox, OfAHundredThousandMailsIsFetchedWholeInLittleMemory) {
  TForum* forum = CreateForum(kForum, data_.c_str());
  ASSERT_NE(forum, nullptr);
  forum->Number("Max Message Count", 1000000);
  CloseForum(forum);
  Set("Standard POP3 Mode", "1");
  // The host's lists of what it was told would grow with every mail.
  test::Shown::Disconnect();
  Serve(Mails());
  const std::size_t descriptors = test::OpenDescriptors();
  const int threads = test::Threads();
  Work first("mailbox");
  EXPECT_EQ(RunOnce(), 1);
  EXPECT_LE(first.Finish(), kMostMemory);
  Print("mailbox_mails", kMails);
  Print("mailbox_data_bytes", BytesBelow(data_));
  EXPECT_EQ(Left(), 0U);
  ExpectAllFiled();
  // A run for which there is nothing costs nothing, whatever the forum holds.
  const auto bytes = BytesBelow(data_);
  Work second("mailbox_nothing_new");
  EXPECT_EQ(RunOnce(), 1);
  EXPECT_LE(second.Finish(), kMostMemoryForNothing);
  EXPECT_EQ(BytesBelow(data_), bytes);
  EXPECT_TRUE(ErrorLog().empty()) << ErrorLog();
  server_.reset();
  EXPECT_LE(test::OpenDescriptors(), descriptors + kProfiles);
  EXPECT_LE(test::Threads(), threads);
}

}  // namespace
}  // namespace soak
