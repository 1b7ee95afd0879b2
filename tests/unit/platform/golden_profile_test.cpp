// Replays the reference vectors of the profile functions. Where the vectors are known to part from
// Windows, or what holds for all cases decides otherwise than one of them,
// golden_profile_exemptions.tsv says what is expected instead and why; the list is printed.
#include "platform/win32.h"
#include "support/temporary_directory.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::string Unescape(const std::string& text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      result += text[i];
      continue;
    }
    switch (text[++i]) {
      case 't':
        result += '\t';
        break;
      case 'r':
        result += '\r';
        break;
      case 'n':
        result += '\n';
        break;
      case '0':
        result += '\0';
        break;
      case 'x':
        result += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
        i += 2;
        break;
      default:
        result += text[i];
    }
  }
  return result;
}

std::string Escape(const std::string& bytes) {
  std::string result;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\\') {
      result += "\\\\";
    } else if (c == '\t') {
      result += "\\t";
    } else if (c == '\r') {
      result += "\\r";
    } else if (c == '\n') {
      result += "\\n";
    } else if (c == '\0') {
      result += "\\0";
    } else if (byte < 0x20 || byte > 0x7E) {
      constexpr char kDigits[] = "0123456789ABCDEF";
      result += std::string("\\x") + kDigits[byte >> 4] + kDigits[byte & 15];
    } else {
      result += c;
    }
  }
  return result;
}

std::vector<std::string> Split(const std::string& line) {
  std::vector<std::string> columns(1);
  for (const char c : line) {
    if (c == '\t') {
      columns.emplace_back();
    } else {
      columns.back() += c;
    }
  }
  return columns;
}

// A text argument; the platform gets null for \N.
class Argument {
 public:
  explicit Argument(const std::string& column) : null_(column == "\\N"), text_(Unescape(column)) {}
  const char* Get() const { return null_ ? nullptr : text_.c_str(); }

 private:
  bool null_;
  std::string text_;
};

class Replay {
 public:
  explicit Replay(const std::string& caseDirectory) : file_(directory_ / "work.ini") {
    const std::string before = caseDirectory + "/before.ini";
    if (fs::exists(before)) test::WriteFileBytes(file_, test::ReadFileBytes(before));
  }

  // Does one operation and gives what the vectors record of it behind the arguments.
  std::string Do(const std::vector<std::string>& c) {
    if (c[0] == "get") {
      return Call(std::stoul(c[4]), [&](char* buffer, DWORD size) {
        return GetPrivateProfileStringA(Argument(c[1]).Get(), Argument(c[2]).Get(),
                                        Argument(c[3]).Get(), buffer, size, file_.c_str());
      });
    }
    if (c[0] == "names") {
      return Call(std::stoul(c[1]), [&](char* buffer, DWORD size) {
        return GetPrivateProfileSectionNamesA(buffer, size, file_.c_str());
      });
    }
    if (c[0] == "set") {
      return Written(WritePrivateProfileStringA(Argument(c[1]).Get(), Argument(c[2]).Get(),
                                                Argument(c[3]).Get(), file_.c_str()));
    }
    if (c[0] == "flush") {
      return Written(WritePrivateProfileStringA(nullptr, nullptr, nullptr, file_.c_str()));
    }
    if (c[0] == "replace") test::WriteFileBytes(file_, Unescape(c[1]));
    if (c[0] == "remove") fs::remove(file_);
    return "";
  }

  static std::string Recorded(const std::vector<std::string>& c) {
    static const std::map<std::string, std::size_t> kArguments = {
        {"get", 5}, {"names", 2}, {"set", 4}, {"flush", 1}};
    const auto found = kArguments.find(c[0]);
    if (found == kArguments.end()) return "";
    return c.at(found->second) + "\t" + c.at(found->second + 1);
  }

 private:
  template <typename Function>
  static std::string Call(std::size_t size, Function call) {
    constexpr char kFill = '\xA5';
    std::string buffer(size + 64, kFill);
    const DWORD result = call(buffer.data(), static_cast<DWORD>(size));
    buffer.resize(buffer.find_last_not_of(kFill) + 1);
    return std::to_string(result) + "\t" + Escape(buffer);
  }

  std::string Written(BOOL result) const {
    return std::to_string(result) + "\t" +
           (fs::exists(file_) ? Escape(test::ReadFileBytes(file_)) : "\\N");
  }

  test::TemporaryDirectory directory_;
  std::string file_;
};

// What is expected instead of the recorded results of one operation, by case and line of ops.txt:
// the columns behind the arguments, in the vectors' own spelling.
struct Exemption {
  std::string results;
  std::string reason;
};

const std::map<std::pair<std::string, int>, Exemption>& Exemptions() {
  static const auto table = [] {
    std::map<std::pair<std::string, int>, Exemption> rows;
    std::istringstream lines(test::ReadFileBytes(BREVANT_EXEMPTIONS));
    std::string line;
    std::getline(lines, line);  // the head
    while (std::getline(lines, line)) {
      const std::vector<std::string> c = Split(line);
      rows[{c.at(0), std::stoi(c.at(1))}] = {c.at(2) + "\t" + c.at(3), c.at(4)};
    }
    return rows;
  }();
  return table;
}

class GoldenProfile : public testing::TestWithParam<std::string> {};

std::vector<std::string> CaseNames() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(BREVANT_GOLDEN "/profile")) {
    if (entry.is_directory()) names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

TEST_P(GoldenProfile, IsReplayed) {
  const std::string directory = std::string(BREVANT_GOLDEN "/profile/") + GetParam();
  Replay replay(directory);
  std::istringstream operations(test::ReadFileBytes(directory + "/ops.txt"));
  std::string line;
  for (int number = 1; std::getline(operations, line); ++number) {
    const std::vector<std::string> columns = Split(line);
    std::string expected = Replay::Recorded(columns);
    const auto exempt = Exemptions().find({GetParam(), number});
    if (exempt != Exemptions().end()) {
      EXPECT_NE(expected, exempt->second.results) << "needs no exemption: line " << number;
      expected = exempt->second.results;
      std::cout << "exempt: " << GetParam() << ", line " << number << ": " << exempt->second.reason
                << "\n";
    }
    EXPECT_EQ(replay.Do(columns), expected) << "line " << number << ": " << line;
  }
}

INSTANTIATE_TEST_SUITE_P(All, GoldenProfile, testing::ValuesIn(CaseNames()),
                         [](const testing::TestParamInfo<std::string>& parameter) {
                           std::string name = parameter.param;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return "Case" + name;
                         });

TEST(GoldenProfileCases, AreAllThere) { EXPECT_EQ(CaseNames().size(), 86U); }

TEST(GoldenProfileCases, ExemptionsBelongToCases) {
  const std::vector<std::string> names = CaseNames();
  for (const auto& row : Exemptions()) {
    EXPECT_TRUE(std::binary_search(names.begin(), names.end(), row.first.first)) << row.first.first;
  }
}

}  // namespace
