// The reference listings of directory searches, as Windows has them: where the recorded ones are
// known to differ from Windows (alternate names by number, "*." without extensions, no hidden dot
// files, one of two names that differ in case, no names with backslashes), the expected value is
// Windows'. Names with alternates stand beside the rules that make them.
#include "platform/posix/short_names.h"
#include "platform/win32.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

struct Found {
  std::string alternate;
  DWORD attributes;
};

class GoldenFind : public testing::TestWithParam<const char*> {
 protected:
  // The directory that the listing of that name was made of.
  void Fill(const std::string& which) const {
    Names names = {"a.b.mwd",   "a.mwd",      "note.mwdx", "x.mwd~",        ".hidden",
                   "index.htm", "index.html", "README",    "long name.htm", "UPPER.HTM"};
    if (which == "unix") {
      names.insert(names.end(),
                   {"A.MWD", "back\\slash.htm", "colon:x.htm", "locked.htm", "trailing."});
    }
    fs::create_directories(directory_ / (which + "/d.mwd"));
    for (const std::string& name : names)
      test::WriteFileBytes(directory_ / (which + "/" + name), "x");
    if (which == "unix") ::chmod((directory_ / "unix/locked.htm").c_str(), 0444);
  }
  // Names under a pattern, and how the search ended in the vectors' spelling.
  Names List(const std::string& pattern) const {
    Names names;
    WIN32_FIND_DATAA data;
    const HANDLE search = FindFirstFileA((directory_ / pattern).c_str(), &data);
    if (search == INVALID_HANDLE_VALUE) return {"<error " + std::to_string(GetLastError()) + ">"};
    do {
      names.emplace_back(data.cFileName);
    } while (FindNextFileA(search, &data));
    names.push_back("<end " + std::to_string(GetLastError()) + ">");
    FindClose(search);
    return names;
  }
  test::TemporaryDirectory directory_;
};

std::string Unescape(std::string text) {
  for (std::size_t at = 0; (at = text.find("\\\\", at)) != std::string::npos; ++at)
    text.erase(at, 1);
  return text;
}

// Pattern and names in recorded order.
std::vector<std::pair<std::string, Names>> Recorded(const std::string& which) {
  std::vector<std::pair<std::string, Names>> listings;
  std::istringstream lines(test::ReadFileBytes(BREVANT_GOLDEN "/find/" + which + ".tsv"));
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line)) {
    std::istringstream columns(line);
    std::string directory;
    std::string pattern;
    std::string name;
    std::getline(columns, directory, '\t');
    std::getline(columns, pattern, '\t');
    std::getline(columns, name, '\t');
    pattern = Unescape(pattern);
    if (listings.empty() || listings.back().first != pattern) listings.push_back({pattern, {}});
    listings.back().second.push_back(Unescape(name));
  }
  return listings;
}

// What Windows would list where the recording lists names.
Names AsOnWindows(const std::string& pattern, const Names& recorded) {
  Names names;
  for (const std::string& name : recorded) {
    if (name.find('\\') != std::string::npos) continue;
    // Of two names that differ in case only the first is there.
    if (name == "a.mwd" && std::count(recorded.begin(), recorded.end(), "A.MWD") != 0) continue;
    // "*." finds names without an extension: long ones, or short ones (HIDDEN~1, TRAILI~1).
    const bool plain = name == "." || name == ".." || name == ".hidden" || name == "README" ||
                       name == "trailing." || name.front() == '<';
    if (pattern == "/*." && !plain) continue;
    names.push_back(name);
  }
  return names;
}

TEST_P(GoldenFind, ListingsAreThoseOfWindows) {
  const std::string which = GetParam();
  Fill(which);
  const auto listings = Recorded(which);
  EXPECT_GT(listings.size(), 15U);
  for (const auto& [pattern, names] : listings) {
    EXPECT_EQ(List(which + pattern), AsOnWindows(pattern, names)) << "pattern " << pattern;
  }
}

INSTANTIATE_TEST_SUITE_P(Both, GoldenFind, testing::Values("win32", "unix"));

TEST_F(GoldenFind, AlternateNamesAreNumbered) {
  Fill("win32");
  const std::map<std::string, std::string> expected = {{"a.b.mwd", "AB~1.MWD"},
                                                       {"a.mwd", ""},
                                                       {"note.mwdx", "NOTE~1.MWD"},
                                                       {"x.mwd~", "X~1.MWD"},
                                                       {".hidden", "HIDDEN~1"},
                                                       {"index.htm", ""},
                                                       {"index.html", "INDEX~1.HTM"},
                                                       {"README", ""},
                                                       {"long name.htm", "LONGNA~1.HTM"},
                                                       {"UPPER.HTM", ""},
                                                       {"d.mwd", ""}};
  WIN32_FIND_DATAA data;
  const HANDLE search = FindFirstFileA((directory_ / "win32/*").c_str(), &data);
  ASSERT_NE(search, INVALID_HANDLE_VALUE);
  std::size_t count = 0;
  do {
    if (std::string(data.cFileName).find_first_not_of('.') == std::string::npos) continue;
    EXPECT_EQ(data.cAlternateFileName, expected.at(data.cFileName)) << data.cFileName;
    const DWORD kind =
        std::string(data.cFileName) == "d.mwd" ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
    EXPECT_EQ(data.dwFileAttributes, kind) << data.cFileName;
    ++count;
  } while (FindNextFileA(search, &data));
  FindClose(search);
  EXPECT_EQ(count, expected.size());
}

TEST_F(GoldenFind, AlternateNameFindsTheFile) {
  Fill("win32");
  EXPECT_EQ(List("win32/INDEX~1.HTM"), (Names{"index.html", "<end 18>"}));
  EXPECT_EQ(List("win32/index~?.htm"), (Names{"index.html", "<end 18>"}));
}

TEST_F(GoldenFind, LinksShowAsSuch) {
  fs::create_directory(directory_ / "d");
  test::WriteFileBytes(directory_ / "f", "abc");
  fs::create_symlink(directory_ / "d", directory_ / "ld");
  fs::create_symlink(directory_ / "f", directory_ / "lf");
  fs::create_symlink(directory_ / "nowhere", directory_ / "ln");
  EXPECT_EQ(GetFileAttributesA((directory_ / "ld").c_str()),
            FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT);
  EXPECT_EQ(GetFileAttributesA((directory_ / "lf").c_str()),
            FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_REPARSE_POINT);
  EXPECT_EQ(List("l*"), (Names{"ld", "lf", "ln", "<end 18>"}));
}

TEST_F(GoldenFind, PipesAndSocketsAreNotListed) {
  ASSERT_EQ(::mkfifo((directory_ / "pipe").c_str(), 0600), 0);
  EXPECT_EQ(List("*"), (Names{".", "..", "<end 18>"}));
  EXPECT_EQ(CreateFileA((directory_ / "pipe").c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0,
                        nullptr),
            INVALID_HANDLE_VALUE);
}

TEST_F(GoldenFind, UnknownFlagsAreInvalidParameters) {
  const std::string file = directory_ / "a";
  EXPECT_EQ(CreateFileA(file.c_str(), 0x10000, 0, nullptr, OPEN_ALWAYS, 0, nullptr),
            INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  EXPECT_EQ(CreateFileA(file.c_str(), GENERIC_WRITE, 8, nullptr, OPEN_ALWAYS, 0, nullptr),
            INVALID_HANDLE_VALUE);
  EXPECT_EQ(CreateFileA(file.c_str(), GENERIC_WRITE, 0, nullptr, 6, 0, nullptr),
            INVALID_HANDLE_VALUE);
  EXPECT_EQ(CreateFileA(file.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0x40000000, nullptr),
            INVALID_HANDLE_VALUE);
  EXPECT_FALSE(test::FileExists(file));
  EXPECT_FALSE(MoveFileExA(file.c_str(), "b", 4));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
  test::WriteFileBytes(file, "x");
  EXPECT_FALSE(SetFileAttributesA(file.c_str(), 0x800));
  EXPECT_EQ(GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST(ShortNames, WhatFits) {
  for (const char* name : {"a.mwd", "README", "UPPER.HTM", "12345678.123", "a~1.b", "a-b_c.x"}) {
    EXPECT_TRUE(brevant::posix::FitsShortName(name)) << name;
  }
  for (const char* name : {"index.html", "a.b.c", "long name", "123456789", ".x", "x.", "a+b.c",
                           "gr\xC3\xBC.htm", "a,b", "a;b", "a=b", "a[b", "a]b"}) {
    EXPECT_FALSE(brevant::posix::FitsShortName(name)) << name;
  }
}

TEST(ShortNames, NumbersThenChecksumsAllDifferent) {
  brevant::posix::ShortNames names;
  names.Reserve("index~1.htm");
  std::vector<std::string> given;
  for (int i = 0; i < 200; ++i) given.push_back(names.Next("index.html" + std::to_string(i)));
  EXPECT_EQ(given[0], "INDEX~2.HTM");
  EXPECT_EQ(given[2], "INDEX~4.HTM");
  for (const std::string& name : given) EXPECT_TRUE(brevant::posix::FitsShortName(name)) << name;
  std::sort(given.begin(), given.end());
  EXPECT_EQ(std::unique(given.begin(), given.end()), given.end());
}

TEST(ShortNames, NamesOfForeignBytesGetValidOnes) {
  brevant::posix::ShortNames names;
  EXPECT_EQ(names.Next("\xC3\xBC"
                       "ber.html"),
            "__BER~1.HTM");
  EXPECT_EQ(names.Next("a b+c.d.text"), "AB_CD~1.TEX");
  EXPECT_TRUE(brevant::posix::FitsShortName(names.Next("....")));
}

}  // namespace
