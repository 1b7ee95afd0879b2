// The parts of mail dispatch that need no server.
#include "shared/client_settings.h"
#include "shared/dot_guard.h"
#include "shared/recipients.h"
#include "support/temporary_directory.h"

#include <brevant/brevant.h>

#include <gtest/gtest.h>
#include <string>

namespace {

using brevant::ContainsWholeWord;
using brevant::TDotGuard;

TEST(WholeWord, StandsWhereNoWordGoesOn) {
  const char* texts[] = {"a@x.org",       "<a@x.org>",        "\"A\" <a@x.org>, b",
                         "b, a@x.org; c", "(a@x.org)",        "A@X.ORG",
                         "b!a@x.org",     "aa@x.org a@x.org", "a@x.orga@x.org,a@x.org"};
  for (const char* text : texts) EXPECT_TRUE(ContainsWholeWord(text, "a@x.org")) << text;
}

TEST(WholeWord, IsNoPartOfALongerWord) {
  const char* texts[] = {"",          "a@x.or",    "aa@x.org",  "1a@x.org",       "_a@x.org",
                         ".a@x.org",  "-a@x.org",  "+a@x.org",  "@a@x.org",       "a@x.orgs",
                         "a@x.org1",  "a@x.org_",  "a@x.org.",  "a@x.org-",       "a@x.org+",
                         "a@x.org@b", "Aa@x.org.", "a@x.org.b", "\303\274a@x.org"};
  for (const char* text : texts) EXPECT_FALSE(ContainsWholeWord(text, "a@x.org")) << text;
}

TEST(WholeWord, NoWordIsNowhere) {
  EXPECT_FALSE(ContainsWholeWord("", ""));
  EXPECT_FALSE(ContainsWholeWord("a b", ""));
}

std::string Guarded(const std::string& text, std::size_t pieceSize) {
  TDotGuard guard;
  std::string result;
  for (std::size_t at = 0; at < text.size(); at += pieceSize) {
    result += guard.Take(std::string_view(text).substr(at, pieceSize));
  }
  return result + guard.Finish();
}

TEST(DotGuard, DoublesALineThatIsASingleDotAndNothingElse) {
  const std::pair<std::string, std::string> rows[] = {
      {"", ""},
      {".", ".."},
      {"..", ".."},
      {".a", ".a"},
      {"a.", "a."},
      {"a\r\n.\r\nb", "a\r\n..\r\nb"},
      {"a\n.\nb", "a\n..\nb"},
      {"a\r.\rb", "a\r..\rb"},
      {"a\n.\r\nb", "a\n..\r\nb"},
      {"a\r\n.\nb", "a\r\n..\nb"},
      {"a\r\n.\rb", "a\r\n..\rb"},
      {"a\r.\r\nb", "a\r..\r\nb"},
      {"a\r\n.", "a\r\n.."},
      {"a\n.", "a\n.."},
      {"a\r.", "a\r.."},
      {".\r\n.\r\n.", "..\r\n..\r\n.."},
      {".\n\n.\n", "..\n\n..\n"},
      {"a\r\n.b\r\n..\r\n. \r\n .\r\n", "a\r\n.b\r\n..\r\n. \r\n .\r\n"},
      {std::string("a\n.\0\n", 5), std::string("a\n.\0\n", 5)},
  };
  for (const auto& [text, expected] : rows) {
    for (std::size_t size = 1; size <= text.size() + 1; ++size) {
      EXPECT_EQ(Guarded(text, size), expected) << "in pieces of " << size;
    }
  }
}

TEST(DotGuard, WorksAcrossThePiecesOfABody) {
  for (std::size_t before = 250; before < 262; ++before) {
    for (const char* end : {"\r\n", "\n", "\r"}) {
      const std::string start(before, 'x');
      const std::string text = start + end + "." + end + "y";
      EXPECT_EQ(Guarded(text, 256), start + end + ".." + end + "y");
    }
  }
}

TEST(DotGuard, CanBeUsedAgain) {
  TDotGuard guard;
  EXPECT_EQ(guard.Take("."), "");
  EXPECT_EQ(guard.Finish(), "..");
  EXPECT_EQ(guard.Finish(), "");
  EXPECT_EQ(guard.Take("a"), "a");
}

TEST(ClientSettings, APortIsANumberThatCanBeOne) {
  const test::TemporaryDirectory directory;
  SetProgramDirectory(directory.Path().c_str());
  TSetup setup("settings.ini");
  EXPECT_EQ(brevant::PortSetting(setup, "SMTP Port"), kDefaultProtocolPort);
  const std::pair<DWORD, WORD> rows[] = {{0, kDefaultProtocolPort},
                                         {25, 25},
                                         {40000, 40000},
                                         {65534, 65534},
                                         {65535, kDefaultProtocolPort},
                                         {65536 + 25, kDefaultProtocolPort},
                                         {0xFFFFFFFF, kDefaultProtocolPort}};
  for (const auto& [number, port] : rows) {
    setup.Number("SMTP Port", number);
    EXPECT_EQ(brevant::PortSetting(setup, "SMTP Port"), port) << number;
  }
  SetProgramDirectory(nullptr);
}

}  // namespace
