// The file names of generated pages.
#include "shared/page_names.h"
#include "store/ascii.h"

#include <gtest/gtest.h>
#include <map>
#include <random>
#include <string>

namespace brevant {
namespace {

TEST(TemplateNames, GetTheExtensionThatTheyLack) {
  EXPECT_EQ(TemplateFileName("index"), "index.htm");
  EXPECT_EQ(TemplateFileName("index.htm"), "index.htm");
  EXPECT_EQ(TemplateFileName("Index.HTML"), "Index.HTML");
  EXPECT_EQ(TemplateFileName("v1.5"), "v1.5.htm");
  EXPECT_EQ(TemplateFileName(""), "");
}

TEST(PageNames, JoinPrefixTemplateKindAndContainer) {
  EXPECT_EQ(ContainerPageName("", "messages.htm", 'f', "General Talk"),
            "messages--f--general_talk.htm");
  EXPECT_EQ(ContainerPageName("my-", "messages.htm", 'f', "A"), "my_messages--f--a.htm");
}

TEST(PageNames, OfItemsEndWithTheirNumber) {
  EXPECT_EQ(ItemPageName("", "messages.htm", 'f', "General Talk", 7),
            "messages--f--general_talk--7.htm");
  EXPECT_EQ(ItemPageName("", "m.htm", 'f', "g", 4294967295U), "m--f--g--4294967295.htm");
}

TEST(PageNames, ShowATemplatesUnusualExtension) {
  EXPECT_EQ(ContainerPageName("", "Messages.HTML", 'f', "a"), "messages-2ehtml--f--a.htm");
  EXPECT_EQ(ContainerPageName("", "Messages.HTM", 'f', "a"), "messages--f--a.htm");
}

TEST(PageNames, EscapeEveryOtherByteOfAPart) {
  EXPECT_EQ(PageNamePart("A_b-c.d/\xE4\xFF\x01"), "a-5fb-2dc-2ed-2f-e4-ff-01");
  EXPECT_EQ(PageNamePart("a  b"), "a__b");
}

TEST(PageNames, APrefixCannotLookLikeASeparator) {
  EXPECT_EQ(PageNamePrefix("a--b"), "a_-b");
  EXPECT_EQ(PageNamePrefix("a---"), "a___");
  EXPECT_EQ(PageNamePrefix("a-b"), "a-b");
  EXPECT_EQ(PageNamePrefix("../x\\y:<>\"|?*\n"), "___x_y________");
  EXPECT_EQ(PageNamePrefix("My Pages_"), "My Pages_");
}

TEST(PageNames, AreCutAt200BytesAndEndInTheChecksumOfTheWhole) {
  const std::string fits(200 - std::string("m--f--.htm").size(), 'a');
  EXPECT_EQ(ContainerPageName("", "m.htm", 'f', fits), "m--f--" + fits + ".htm");
  const std::string cut = ContainerPageName("", "m.htm", 'f', fits + "a");
  EXPECT_EQ(cut.size(), 200U);
  EXPECT_EQ(cut.substr(0, 6), "m--f--");
  EXPECT_EQ(cut.substr(200 - 14, 2), "-h");
  EXPECT_EQ(cut.substr(196), ".htm");
  EXPECT_EQ(cut.find_first_not_of("0123456789abcdef", 188), 196U);
  EXPECT_NE(cut, ContainerPageName("", "m.htm", 'f', fits + "b"));
  EXPECT_NE(ItemPageName("", "m.htm", 'f', fits, 1), ItemPageName("", "m.htm", 'f', fits, 2));
}

TEST(PageNames, TheChecksumIsTheUsualCrc32) {
  // The reference value was computed by another program.
  const std::string whole = "m--f--" + std::string(191, 'a') + ".htm";
  const std::string cut = ContainerPageName("", "m.htm", 'f', std::string(191, 'a'));
  EXPECT_EQ(whole.size(), 201U);
  EXPECT_EQ(cut.substr(188, 8), "d9714768");
}

std::string RandomText(std::mt19937& random, int longest) {
  static constexpr std::string_view kLikely = "aA-_ ./\\hfb01%\xC3\xA4";
  std::string text(
      std::uniform_int_distribution<std::size_t>(0, static_cast<std::size_t>(longest))(random),
      '\0');
  for (char& c : text) {
    const auto pick = static_cast<DWORD>(random());
    c = pick % 4 != 0 ? kLikely[pick / 4 % kLikely.size()] : static_cast<char>(1 + pick / 4 % 255);
  }
  return text;
}

std::string Lower(std::string text) {
  for (char& c : text) c = ToLowerAscii(c);
  return text;
}

TEST(PageNames, NoNameLeavesTheDirectoryOrCarriesASecondExtension) {
  std::mt19937 random(20260101);
  for (int i = 0; i < 20000; ++i) {
    const std::string prefix = i % 2 == 0 ? "" : RandomText(random, 12);
    const std::string name = i % 3 == 0
                                 ? ContainerPageName(prefix, "m.htm", 'f', RandomText(random, 120))
                                 : ItemPageName(prefix, "m.htm", 'f', RandomText(random, 120),
                                                static_cast<DWORD>(random()));
    ASSERT_LE(name.size(), kMaxPageNameBytes);
    ASSERT_EQ(name.find_first_of("/\\:<>\"|?*"), std::string::npos) << name;
    for (const char c : name) ASSERT_GE(static_cast<unsigned char>(c), 32) << name;
    ASSERT_EQ(name.substr(name.size() - 4), ".htm");
    ASSERT_EQ(name.find('.'), name.size() - 4) << name;
  }
}

TEST(PageNames, APrefixGivesNoExtension) {
  EXPECT_EQ(ContainerPageName("x.php.", "m.htm", 'f', "a"), "x_php_m--f--a.htm");
  EXPECT_EQ(ItemPageName("nul.", "m.htm", 'f', "a", 1), "nul_m--f--a--1.htm");
}

// The parts of two pages, in every combination, never run together into one name.
TEST(PageNames, TwoObjectsShareANameOnlyWhenTheyDifferInLetterCaseAlone) {
  std::mt19937 random(7);
  std::map<std::string, std::string> owners;
  for (int i = 0; i < 40000; ++i) {
    const std::string container = RandomText(random, 4);
    const std::string templateFile = RandomText(random, 2) + ".htm";
    const DWORD item = static_cast<DWORD>(random()) % 12;
    const char kind = "flrq"[static_cast<DWORD>(random()) % 4];
    const std::string name = item == 0 ? ContainerPageName("", templateFile, kind, container)
                                       : ItemPageName("", templateFile, kind, container, item);
    std::string owner = Lower(templateFile) + '\0' + kind + '\0' + Lower(container) + '\0';
    if (item != 0) owner += std::to_string(item);
    const auto [known, isNew] = owners.try_emplace(name, owner);
    ASSERT_EQ(known->second, owner) << name;
  }
}

TEST(PageNames, LongNamesDifferInTheirChecksums) {
  std::mt19937 random(23);
  std::map<std::string, std::string> owners;
  for (int i = 0; i < 5000; ++i) {
    // The same beginning everywhere: only what is cut off tells them apart.
    const std::string container = std::string(180, 'a') + RandomText(random, 30);
    const char kind = "flrq"[static_cast<DWORD>(random()) % 4];
    const DWORD item = static_cast<DWORD>(random()) % 4;
    const std::string name = item == 0 ? ContainerPageName("", "page.htm", kind, container)
                                       : ItemPageName("", "page.htm", kind, container, item);
    const std::string owner = Lower(container) + '\0' + kind + std::to_string(item);
    ASSERT_LE(name.size(), kMaxPageNameBytes);
    const auto [known, isNew] = owners.try_emplace(name, owner);
    ASSERT_EQ(known->second, owner) << name;
  }
}

TEST(PageNames, ContainersWithPrefixesShareNoNameEither) {
  std::mt19937 random(11);
  std::map<std::string, std::string> owners;
  for (int i = 0; i < 40000; ++i) {
    const std::string container = RandomText(random, 3);
    const DWORD item = static_cast<DWORD>(random()) % 5;
    const std::string prefix = RandomText(random, 3);
    const std::string name = item == 0 ? ContainerPageName(prefix, "m.htm", 'f', container)
                                       : ItemPageName(prefix, "m.htm", 'f', container, item);
    const std::string owner = Lower(container) + '\0' + (item != 0 ? std::to_string(item) : "");
    const auto [known, isNew] = owners.try_emplace(name, owner);
    ASSERT_EQ(known->second, owner) << name;
  }
}

}  // namespace
}  // namespace brevant
