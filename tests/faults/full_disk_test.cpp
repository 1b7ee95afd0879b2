// No room: on a small disk of its own, and where that cannot be had, by calls that fail.
#include "environment.h"
#include "retrieval_fixture.h"
#include "support/disk_model.h"

#include <iostream>

namespace {

namespace fs = std::filesystem;
using faults::MailBoard;
using test::Fault;
using test::FaultPlan;

// A disk in memory, mounted on a directory. Mounting takes the superuser.
class SmallDisk {
 public:
  explicit SmallDisk(const std::string& path) : path_(path) {
    fs::create_directory(path_);
    const test::ProgramResult result =
        test::RunProgram({"/bin/mount", "-t", "tmpfs", "-o", "size=24m,mode=0755", "tmpfs", path_});
    mounted_ = result.exitCode == 0;
    hindrance_ = result.output;
  }
  ~SmallDisk() {
    if (mounted_) test::RunProgram({"/bin/umount", "-l", path_});
  }
  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  bool IsMounted() const { return mounted_; }
  // Why there is none.
  const std::string& Hindrance() const { return hindrance_; }
  std::string Board() const { return path_ + "/board/"; }
  void Clear() const {
    for (const auto& entry : fs::directory_iterator(path_)) fs::remove_all(entry.path());
  }
  // Leaves so many bytes free.
  void Fill(std::uint64_t room) const {
    const std::uint64_t available = fs::space(path_).available;
    ASSERT_GT(available, room);
    test::WriteFileBytes(Ballast(), std::string(available - room, 'x'));
  }
  void MakeRoom() const { fs::remove(Ballast()); }

 private:
  std::string Ballast() const { return path_ + "/ballast"; }

  std::string path_;
  bool mounted_ = false;
  std::string hindrance_;
};

// Bytes of free room, from none at all to enough.
std::vector<std::uint64_t> Rooms() {
  std::vector<std::uint64_t> rooms;
  const unsigned step = faults::FromEnvironment("BREVANT_ROOM_STEP", 0);
  for (std::uint64_t pages = 0; pages < 1500; pages += step != 0 ? step : 1 + pages / 3) {
    rooms.push_back(pages * 4096);
  }
  return rooms;
}

class FullDisk : public faults::Retrieval {
 protected:
  void SetUp() override { Prepare(faults::KnownMail(2, 24)); }

  // Into the board all of the mails, with room.
  MailBoard FilledBoard(const std::string& path) {
    MailBoard board = StartAnew(path);
    const test::ProgramResult result = test::RunProgram(board.QuickCommand("retrieve"));
    EXPECT_EQ(result.exitCode, 0) << result.output;
    return board;
  }

  static test::DiskImage PagesOf(const MailBoard& board) {
    test::DiskImage pages;
    for (const auto& [path, bytes] : test::ReadImage(board.Site())) {
      if (path.ends_with(".htm") || path.ends_with(".css")) pages[path] = bytes;
    }
    return pages;
  }

  // A site is made from the filled board as it should be.
  test::DiskImage Reference(const MailBoard& filled) {
    fs::copy(filled.Path(), directory_ / "reference/", fs::copy_options::recursive);
    const MailBoard board(directory_ / "reference/");
    const test::ProgramResult result = test::RunProgram(board.QuickCommand("html"));
    EXPECT_EQ(result.exitCode, 0) << result.output;
    return PagesOf(board);
  }

  // Whatever is there is whole, and what is missing was reported.
  void ExpectWholePages(const MailBoard& board, const test::DiskImage& reference,
                        const test::ProgramResult& result) {
    const test::DiskImage pages = PagesOf(board);
    for (const auto& [path, bytes] : pages) {
      const auto expected = reference.find(path);
      ASSERT_NE(expected, reference.end()) << path;
      EXPECT_EQ(*bytes == *expected->second, true) << path << " is not whole";
    }
    const bool complete = pages.size() == reference.size();
    const bool reported = result.output.find("Cannot save") != std::string::npos;
    if (!complete) {
      EXPECT_TRUE(reported) << result.output;
    }
    if (reported) {
      EXPECT_NE(result.exitCode, 0);
    } else {
      EXPECT_EQ(result.exitCode, 0) << result.output;
    }
    hindered_ += complete ? 0 : 1;
    for (const auto& entry : fs::directory_iterator(board.Site())) {
      EXPECT_NE(entry.path().filename(), "~brevant.tmp");
    }
  }

  void ExpectPagesCompleted(const MailBoard& board, const test::DiskImage& reference) {
    const test::ProgramResult result = test::RunProgram(board.QuickCommand("html"));
    EXPECT_EQ(result.exitCode, 0) << result.output;
    ExpectWholePages(board, reference, result);
    EXPECT_EQ(PagesOf(board).size(), reference.size());
  }

  static std::vector<std::string> WithTemporaryFilesIn(const std::string& directory,
                                                       std::vector<std::string> command) {
    command.insert(command.begin(), {"/usr/bin/env", "TMPDIR=" + directory});
    return command;
  }

  static FaultPlan NoRoomFrom(const MailBoard& board, std::uint64_t call) {
    FaultPlan plan;
    plan.directory = board.Path();
    plan.fault = call == 0 ? Fault::kNone : Fault::kFull;
    plan.at = call;
    plan.forGood = true;
    plan.skipSyncs = true;
    return plan;
  }

  // How many watched calls a run of the task makes.
  std::uint64_t CallsOf(const MailBoard& board, const char* task) {
    const std::string calls = directory_ / "calls";
    const test::ProgramResult result =
        test::RunProgram(test::WithFaults(NoRoomFrom(board, 0), board.RunCommand(task), {}, calls));
    EXPECT_EQ(result.exitCode, 0) << result.output;
    return test::ReadCalls(calls);
  }
};

TEST_F(FullDisk, RetrievalOnASmallDisk) {
  const SmallDisk disk(directory_ / "disk");
  if (!disk.IsMounted()) GTEST_SKIP() << "no disk can be mounted: " << disk.Hindrance();
  bool own = false;
  for (const std::uint64_t room : Rooms()) {
    own = !own;
    SCOPED_TRACE(std::to_string(room) + " bytes of room, temporary files " +
                 (own ? "on it" : "elsewhere"));
    disk.Clear();
    const MailBoard board = StartAnew(disk.Board());
    disk.Fill(room);
    const std::vector<std::string> command = board.RunCommand("retrieve");
    const test::ProgramResult result =
        test::RunProgram(own ? WithTemporaryFilesIn(disk.Board(), command) : command);
    ExpectHonest(board, result);
    disk.MakeRoom();
    ExpectCompleted(board);
    if (HasFailure()) break;
  }
  EXPECT_GT(hindered_, 0);
  std::cout << "[          ] " << Rooms().size() << " sizes, too small " << hindered_ << " times; "
            << twice_ << " mails were filed and in the mailbox all the same\n";
}

TEST_F(FullDisk, RetrievalWithoutRoomFromACallOn) {
  const MailBoard counted = StartAnew(directory_ / "counted/");
  const std::uint64_t calls = CallsOf(counted, "retrieve");
  const std::uint64_t step =
      faults::FromEnvironment("BREVANT_EVERY_CALL", 0) != 0 ? 1 : 1 + calls / 20;
  const std::string path = directory_ / "board/";
  for (std::uint64_t call = 1; call <= calls && !HasFailure(); call += step) {
    SCOPED_TRACE("call " + std::to_string(call) + " of " + std::to_string(calls));
    fs::remove_all(path);
    const MailBoard board = StartAnew(path);
    const test::ProgramResult result =
        test::RunProgram(test::WithFaults(NoRoomFrom(board, call), board.RunCommand("retrieve")));
    ExpectHonest(board, result);
    ExpectCompleted(board);
  }
  EXPECT_GT(hindered_, 0);
}

TEST_F(FullDisk, PagesOnASmallDisk) {
  const SmallDisk disk(directory_ / "disk");
  if (!disk.IsMounted()) GTEST_SKIP() << "no disk can be mounted: " << disk.Hindrance();
  const MailBoard filled = FilledBoard(directory_ / "filled/");
  const test::DiskImage reference = Reference(filled);
  ASSERT_GT(reference.size(), 20u);
  for (const std::uint64_t room : Rooms()) {
    SCOPED_TRACE(std::to_string(room) + " bytes of room");
    disk.Clear();
    fs::copy(filled.Path(), disk.Board(), fs::copy_options::recursive);
    const MailBoard board(disk.Board());
    disk.Fill(room);
    ExpectWholePages(board, reference, test::RunProgram(board.RunCommand("html")));
    disk.MakeRoom();
    ExpectPagesCompleted(board, reference);
    if (HasFailure()) break;
  }
  EXPECT_GT(hindered_, 0);
  std::cout << "[          ] " << reference.size() << " pages, " << Rooms().size()
            << " sizes, too small " << hindered_ << " times\n";
}

TEST_F(FullDisk, PagesWithoutRoomFromACallOn) {
  const MailBoard filled = FilledBoard(directory_ / "filled/");
  const test::DiskImage reference = Reference(filled);
  fs::copy(filled.Path(), directory_ / "counted/", fs::copy_options::recursive);
  const std::uint64_t calls = CallsOf(MailBoard(directory_ / "counted/"), "html");
  const std::uint64_t step =
      faults::FromEnvironment("BREVANT_EVERY_CALL", 0) != 0 ? 1 : 1 + calls / 20;
  const MailBoard board(directory_ / "board/");
  for (std::uint64_t call = 1; call <= calls && !HasFailure(); call += step) {
    SCOPED_TRACE("call " + std::to_string(call) + " of " + std::to_string(calls));
    fs::remove_all(board.Path());
    fs::copy(filled.Path(), board.Path(), fs::copy_options::recursive);
    ExpectWholePages(
        board, reference,
        test::RunProgram(test::WithFaults(NoRoomFrom(board, call), board.RunCommand("html"))));
    ExpectPagesCompleted(board, reference);
  }
  EXPECT_GT(hindered_, 0);
}

}  // namespace
