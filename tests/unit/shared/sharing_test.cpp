// A board file that another program holds open is reported and left alone; the rest goes on.
#include "dispatch_fixture.h"
#include "platform/win32.h"

#include <filesystem>

namespace {

// What another program does: it opens the file and lets nobody else in.
class Holder {
 public:
  explicit Holder(const std::string& path)
      : file_(CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                          FILE_ATTRIBUTE_NORMAL, nullptr)) {
    EXPECT_NE(file_, INVALID_HANDLE_VALUE);
  }
  ~Holder() { CloseHandle(file_); }
  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;

 private:
  HANDLE file_;
};

int RunTask(const char* name) {
  TTask* task = CreateTask(name);
  const int result = task == nullptr ? -1 : task->Execute();
  DestroyTask(task);
  return result;
}

class HeldInRetrieval : public test::RetrievalFixture {
 protected:
  DWORD Messages(const char* forumName) const {
    TForum* forum = OpenForum(forumName, data_.c_str());
    const LONG count = forum == nullptr ? -1 : forum->Number("Message Count");
    CloseForum(forum);
    return static_cast<DWORD>(count);
  }
};

TEST_F(HeldInRetrieval, MailForOtherForumsIsFiled) {
  CloseForum(CreateForum("Held", data_.c_str()));
  CloseForum(CreateForum("General", data_.c_str()));
  setup_->Number("Keep Unsaved Mail", DWORD{1});
  Serve({Post("Held", "one"), Post("General", "two"), Post("Held", "three")});
  const std::string before = test::ReadFileBytes(data_ + "Held.mwd");
  {
    const Holder holder(data_ + "Held.mwd");
    Run();
  }
  EXPECT_TRUE(HistoryHas("Cannot save message to [Held]")) << History();
  EXPECT_NE(ErrorLog().find("Cannot save message to [Held]"), std::string::npos);
  EXPECT_EQ(Messages("General"), 1u);
  EXPECT_EQ(test::ReadFileBytes(data_ + "Held.mwd"), before);
  EXPECT_EQ(Left(), 2u);
  // Once the other program is done they arrive.
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Messages("Held"), 2u);
  EXPECT_EQ(Left(), 0u);
}

TEST_F(HeldInRetrieval, PagesOfOtherForumsAreMade) {
  CloseForum(CreateForum("Held", data_.c_str()));
  CloseForum(CreateForum("General", data_.c_str()));
  std::filesystem::create_directory(directory_ / "templates");
  Set("HTML Template Directory", directory_ / "templates/");
  Set("HTML File - Forum list", "index");
  Set("HTML File - Message list", "messages");
  test::WriteFileBytes(directory_ / "templates/index.htm",
                       "<ul><li><a href=\"$FORUM_FILENAME$\">$FORUM_DESCRIPTION$</a></ul>");
  test::WriteFileBytes(directory_ / "templates/messages.htm", "<h1>$FORUM_NAME$</h1>");
  const std::string before = test::ReadFileBytes(data_ + "Held.mwd");
  {
    const Holder holder(data_ + "Held.mwd");
    EXPECT_EQ(RunTask("HTML"), 0);
  }
  EXPECT_NE(History().find("Cannot open data file of "), std::string::npos) << History();
  EXPECT_NE(ErrorLog().find("Cannot open data file of "), std::string::npos);
  EXPECT_TRUE(test::FileExists(site_ + "messages--f--general.htm"));
  EXPECT_EQ(test::ReadFileBytes(data_ + "Held.mwd"), before);
}

class HeldInDispatch : public test::DispatchFixture {};

TEST_F(HeldInDispatch, PostsOfOtherForumsAreSent) {
  AddForum("Held", {"held@example.org"});
  AddForum("General", {"general@example.org"});
  test::DispatchFixture::Post("Held", "one");
  test::DispatchFixture::Post("General", "two");
  Serve();
  const std::string before = test::ReadFileBytes(data_ + "Held.mwd");
  {
    const Holder holder(data_ + "Held.mwd");
    Run();
  }
  ASSERT_EQ(server_->Mails().size(), 1u);
  EXPECT_EQ(server_->Mails()[0].recipients, std::vector<std::string>{"general@example.org"});
  EXPECT_EQ(Marks("General"), "1");
  EXPECT_EQ(test::ReadFileBytes(data_ + "Held.mwd"), before);
}

}  // namespace
