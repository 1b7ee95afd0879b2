// The attribute records as other programs may write them: only the system's own calls can.
#include "platform/win32.h"
#include "support/temporary_directory.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace {

class AttributesDisk : public testing::Test {
 protected:
  AttributesDisk() { test::WriteFileBytes(file_, "bytes"); }
  void SetUp() override {
    if (!SetRecord("0x0 0 0.0")) GTEST_SKIP() << "left out: no extended attributes here";
  }
  bool SetRecord(const std::string& text) const {
    return ::setxattr(file_.c_str(), "user.brevant.attributes", text.data(), text.size(), 0) == 0;
  }
  // What the documented shell line puts in: "SIZE SECONDS.NANOSECONDS".
  std::string SizeAndTime() const {
    struct stat facts {};
    EXPECT_EQ(::stat(file_.c_str(), &facts), 0);
    const std::string fraction = std::to_string(facts.st_mtim.tv_nsec);
    return std::to_string(facts.st_size) + " " + std::to_string(facts.st_mtim.tv_sec) + "." +
           std::string(9 - fraction.size(), '0') + fraction;
  }
  DWORD Attributes() const { return GetFileAttributesA(file_.c_str()); }
  test::TemporaryDirectory directory_;
  std::string file_ = directory_ / "a";
};

TEST_F(AttributesDisk, DocumentedRecordMakesAPlainFile) {
  ASSERT_TRUE(SetRecord("0x80 " + SizeAndTime()));
  EXPECT_EQ(Attributes(), FILE_ATTRIBUTE_NORMAL);
}

TEST_F(AttributesDisk, RecordOfAnotherSizeOrTimeAddsArchive) {
  const std::string record = SizeAndTime();
  ASSERT_TRUE(SetRecord("0x100 9" + record));
  EXPECT_EQ(Attributes(), FILE_ATTRIBUTE_TEMPORARY | FILE_ATTRIBUTE_ARCHIVE);
  ASSERT_TRUE(SetRecord("0x100 " + record.substr(0, record.find('.')) + "0.5"));
  EXPECT_EQ(Attributes(), FILE_ATTRIBUTE_TEMPORARY | FILE_ATTRIBUTE_ARCHIVE);
  ASSERT_TRUE(SetRecord("0x100 " + record));
  EXPECT_EQ(Attributes(), FILE_ATTRIBUTE_TEMPORARY);
}

TEST_F(AttributesDisk, RecordThatIsNoneCountsAsNone) {
  const std::string record = SizeAndTime();
  for (const std::string& text :
       {std::string("x"), "100 " + record, "0x " + record, "0x1FFFFFFFF " + record,
        std::string("0x100"), std::string("0x100 5"), std::string("0x100 5 x"),
        std::string("0x100 99999999999999999999 1.1"), "0x100 " + record + std::string(200, '0')}) {
    ASSERT_TRUE(SetRecord(text));
    EXPECT_EQ(Attributes(), FILE_ATTRIBUTE_ARCHIVE) << text;
  }
}

TEST_F(AttributesDisk, BitsThatAreNotKeptAreNotShown) {
  ASSERT_TRUE(SetRecord("0xFFFFFFFF " + SizeAndTime()));
  EXPECT_EQ(Attributes(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                              FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_TEMPORARY);
}

TEST_F(AttributesDisk, RecordKeepsTheDocumentedForm) {
  ASSERT_TRUE(SetFileAttributesA(file_.c_str(), FILE_ATTRIBUTE_TEMPORARY));
  char text[100];
  const ssize_t length = ::getxattr(file_.c_str(), "user.brevant.attributes", text, sizeof text);
  ASSERT_GT(length, 0);
  EXPECT_EQ(std::string(text, static_cast<std::size_t>(length)), "0x100 " + SizeAndTime());
}

TEST_F(AttributesDisk, ArchiveAloneNeedsNoRecord) {
  ASSERT_TRUE(SetFileAttributesA(file_.c_str(), FILE_ATTRIBUTE_ARCHIVE));
  EXPECT_LT(::getxattr(file_.c_str(), "user.brevant.attributes", nullptr, 0), 0);
}

}  // namespace
