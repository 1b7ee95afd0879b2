// Tables of file names, against the containers of the standard library.
#include "platform/name_table.h"

#include <gtest/gtest.h>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
using TTable = brevant::TNameTable<Lower>;

std::string Folded(std::string name) {
  for (char& c : name) c = Lower(c);
  return name;
}

TEST(NameTableTest, EmptyTableFindsNothing) {
  const TTable table;
  EXPECT_EQ(TTable::kNone, table.Find("a"));
  EXPECT_EQ(0U, table.Count());
}

TEST(NameTableTest, FirstSpellingStaysAndNumbersCountUp) {
  TTable table;
  EXPECT_EQ(std::make_pair(0U, true), table.Insert("Page.htm"));
  EXPECT_EQ(std::make_pair(1U, true), table.Insert(""));
  EXPECT_EQ(std::make_pair(0U, false), table.Insert("pAGE.HTM"));
  EXPECT_EQ(std::make_pair(2U, true), table.Insert("Page.html"));
  EXPECT_EQ("Page.htm", table.Name(0));
  EXPECT_EQ("", table.Name(1));
  table.Respell(0, "PAGE.htm");
  EXPECT_EQ("PAGE.htm", table.Name(table.Find("page.htm")));
}

TEST(NameTableTest, NamesOfAnyLengthAndManyBlocks) {
  TTable table;
  std::vector<std::string> names;
  for (std::size_t i = 0; i < 300; ++i) {
    names.push_back(std::to_string(i) + std::string(i * 1000, 'n'));
    EXPECT_EQ(i, table.Insert(names.back()).first);
  }
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(names[i], table.Name(static_cast<std::uint32_t>(i)));
    EXPECT_EQ(i, table.Find(names[i]));
  }
}

TEST(NameTableTest, AnyOrderOfChangesGivesWhatAMapHolds) {
  std::mt19937 random(20);
  TTable table;
  std::map<std::string, std::string> model;  // spelling by folded name
  for (int step = 0; step < 200000; ++step) {
    std::string name = (random() % 2 != 0 ? "Name" : "nAME") + std::to_string(random() % 700);
    const std::uint32_t known = table.Find(name);
    const auto expected = model.find(Folded(name));
    ASSERT_EQ(expected == model.end(), known == TTable::kNone) << name;
    if (known != TTable::kNone) {
      ASSERT_EQ(expected->second, table.Name(known));
    }
    // Phases in which the table mostly grows and mostly shrinks.
    const bool adds = random() % 100 < (step / 5000 % 2 != 0 ? 70U : 30U);
    if (adds) {
      EXPECT_EQ(known == TTable::kNone, table.Insert(name).second);
      model.try_emplace(Folded(name), name);
    } else if (known != TTable::kNone) {
      table.Remove(known);
      model.erase(expected);
    }
    ASSERT_LE(table.Count(), 2 * model.size() + 2);
  }
  for (const auto& [folded, name] : model) EXPECT_EQ(name, table.Name(table.Find(folded)));
}

}  // namespace
