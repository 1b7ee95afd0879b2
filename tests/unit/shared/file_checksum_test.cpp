// The checksum by which delivery tells that a file has changed.
#include "shared/file_checksum.h"

#include "shared/local_folder.h"
#include "shared/short_name.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>

namespace {

using brevant::FileChecksum;

// The rule itself: one byte at a time with the table of 256 entries.
std::uint32_t ByTheTable(const std::string& bytes) {
  std::uint32_t table[256];
  for (std::uint32_t i = 0; i < 256; ++i) {
    std::uint32_t value = i << 24;
    for (int bit = 0; bit < 8; ++bit) {
      value = (value & 0x80000000U) != 0 ? (value << 1) ^ 0x04C11DB7U : value << 1;
    }
    table[i] = value;
  }
  std::uint32_t sum = 0;
  for (const char c : bytes) {
    sum = (sum << 8) ^ table[((sum >> 24) ^ static_cast<unsigned char>(c)) & 0xFF];
  }
  return sum;
}

std::string RandomBytes(std::mt19937& random, std::size_t count) {
  std::string bytes(count, '\0');
  for (char& c : bytes) c = static_cast<char>(random());
  return bytes;
}

TEST(FileChecksum, KnownValues) {
  EXPECT_EQ(FileChecksum("123456789", 9), 0x89A1897FU);
  EXPECT_EQ(FileChecksum("", 0), 0U);
  EXPECT_EQ(FileChecksum("\x01", 1), 0x04C11DB7U);
}

TEST(FileChecksum, ZerosInFrontDoNotShowForTheValueBeginsWithZero) {
  const std::string zeros(100, '\0');
  EXPECT_EQ(FileChecksum(zeros.data(), zeros.size()), 0U);
  const std::string text = zeros + "text";
  EXPECT_EQ(FileChecksum(text.data(), text.size()), FileChecksum("text", 4));
}

TEST(FileChecksum, EqualsTheTableRuleOnEveryShortLength) {
  std::mt19937 random(1);
  for (std::size_t length = 0; length < 200; ++length) {
    const std::string bytes = RandomBytes(random, length);
    EXPECT_EQ(FileChecksum(bytes.data(), length), ByTheTable(bytes)) << length;
  }
}

TEST(FileChecksum, EqualsTheTableRuleOnRandomLengths) {
  std::mt19937 random(2);
  for (int i = 0; i < 50; ++i) {
    const std::string bytes = RandomBytes(random, random() % 100000);
    EXPECT_EQ(FileChecksum(bytes.data(), bytes.size()), ByTheTable(bytes)) << bytes.size();
  }
}

TEST(FileChecksum, PiecesOfAnyLengthGiveTheSameSum) {
  std::mt19937 random(3);
  const std::string bytes = RandomBytes(random, 20000);
  for (int i = 0; i < 20; ++i) {
    std::uint32_t sum = 0;
    for (std::size_t at = 0; at < bytes.size();) {
      const std::size_t count = std::min<std::size_t>(random() % 100, bytes.size() - at);
      sum = FileChecksum(bytes.data() + at, count, sum);
      at += count;
    }
    EXPECT_EQ(sum, ByTheTable(bytes));
  }
}

TEST(FileSummer, SumsFilesOfSeveralBlocks) {
  const test::TemporaryDirectory directory;
  const std::atomic<int> goOn{1};
  brevant::TFileSummer summer(goOn);
  std::mt19937 random(4);
  for (const std::size_t size : {0U, 1U, 131071U, 131072U, 131073U, 500000U}) {
    const std::string bytes = RandomBytes(random, size);
    test::WriteFileBytes(directory / "file", bytes);
    const auto sum = summer.Sum(directory / "file");
    ASSERT_TRUE(sum);
    EXPECT_EQ(sum->size, size);
    EXPECT_EQ(sum->checksum, ByTheTable(bytes));
  }
}

TEST(FileSummer, GivesNothingForWhatCannotBeReadAndAfterAnAbort) {
  const test::TemporaryDirectory directory;
  std::atomic<int> goOn{1};
  brevant::TFileSummer summer(goOn);
  EXPECT_FALSE(summer.Sum(directory / "missing"));
  EXPECT_FALSE(summer.Sum(directory.Path()));
  test::WriteFileBytes(directory / "file", "x");
  goOn = 0;
  EXPECT_FALSE(summer.Sum(directory / "file"));
}

TEST(ShortName, IsOneOfEightAndThree) {
  for (const char* name : {"INDEX.HTM", "a", "a.b", "12345678.123", "x_-~$!.h", "README"}) {
    EXPECT_TRUE(brevant::FitsShortName(name)) << name;
  }
  for (const char* name : {"", "index.html", "123456789", "a.b.c", "a b.htm", "a+b.htm", "a,b",
                           "a;b", "a=b", "[a]", "\xC3\xA4.htm", ".htaccess", "a."}) {
    EXPECT_FALSE(brevant::FitsShortName(name)) << name;
  }
}

class LocalScan : public ::testing::Test {
 protected:
  void File(const std::string& name, const std::string& bytes = "x") {
    std::filesystem::create_directories(std::filesystem::path(site_ + name).parent_path());
    test::WriteFileBytes(site_ + name, bytes);
  }
  std::vector<std::string> Names(bool keepCase = false) {
    folder_ = {};
    brevant::TLocalScan scan(goOn_, keepCase, directory_.Path());
    scan.onFile = [this](int number) { numbers_.push_back(number); };
    listed_ = scan.Scan(site_, &folder_);
    std::vector<std::string> names;
    for (const brevant::TLocalFile& file : folder_.files) names.push_back(file.record.name);
    return names;
  }

  test::TemporaryDirectory directory_;
  std::string site_ = directory_.Path();
  std::atomic<int> goOn_{1};
  brevant::TLocalFolder folder_;
  std::vector<int> numbers_;
  bool listed_ = false;
};

TEST_F(LocalScan, TakesFilesWithSizeAndChecksumAndFolders) {
  File("index.html", "123456789");
  File("sub/page.html");
  EXPECT_EQ(Names(), (std::vector<std::string>{"index.html"}));
  EXPECT_EQ(folder_.files[0].record.size, 9U);
  EXPECT_EQ(folder_.files[0].record.checksum, 0x89A1897FU);
  EXPECT_EQ(folder_.folders, (std::vector<std::string>{"sub"}));
}

TEST_F(LocalScan, NamesThatFitBecomeLowerCaseAndOthersKeepTheirs) {
  File("INDEX.HTM");
  File("Index.Html");
  File("Mixed.Gif");
  EXPECT_EQ(Names(), (std::vector<std::string>{"index.htm", "Index.Html", "mixed.gif"}));
}

TEST_F(LocalScan, NamesKeepTheirCaseWhereThatIsWanted) {
  File("INDEX.HTM");
  File("Mixed.Gif");
  EXPECT_EQ(Names(true), (std::vector<std::string>{"INDEX.HTM", "Mixed.Gif"}));
}

TEST_F(LocalScan, LeavesOutTemporariesJournalsAndDots) {
  File("~brevant.tmp/file");
  File("General Talk.mwd.jnl");
  File("ftp.example.org.fat.jnl");
  File("my.jnl");
  EXPECT_EQ(Names(), (std::vector<std::string>{"my.jnl"}));
  EXPECT_TRUE(folder_.folders.empty());
}

TEST_F(LocalScan, CountsFilesFromOne) {
  for (const char* name : {"a.txt", "b.txt", "c.txt"}) File(name);
  Names();
  EXPECT_EQ(numbers_, (std::vector<int>{1, 2, 3}));
}

TEST_F(LocalScan, FailsWhereThereIsNoDirectory) {
  site_ = directory_ / "missing/";
  Names();
  EXPECT_FALSE(listed_);
  File("../file.txt");
  test::WriteFileBytes(directory_ / "plain", "x");
  site_ = directory_ / "plain/";
  Names();
  EXPECT_FALSE(listed_);
  site_.clear();
  Names();
  EXPECT_FALSE(listed_);
}

TEST_F(LocalScan, AnEmptyDirectoryIsListed) {
  EXPECT_TRUE(Names().empty());
  EXPECT_TRUE(listed_);
}

TEST_F(LocalScan, EndsAtAnAbort) {
  for (const char* name : {"a.txt", "b.txt", "c.txt"}) File(name);
  brevant::TLocalScan scan(goOn_, false, directory_.Path());
  scan.onFile = [this](int number) {
    if (number == 2) goOn_ = 0;
  };
  EXPECT_TRUE(scan.Scan(site_, &folder_));
  EXPECT_EQ(folder_.files.size(), 1U);
  EXPECT_TRUE(folder_.kept.empty());
}

}  // namespace
