// The names of time zones on pages. Elsewhere than here a program cannot give itself a zone.
#include "unit/shared/html_board.h"

#include <cstdlib>
#include <ctime>

namespace {

using test::HtmlBoard;
using test::Post;

class HtmlZone : public HtmlBoard {
 protected:
  HtmlZone() : isSet_(std::getenv("TZ") != nullptr), before_(isSet_ ? std::getenv("TZ") : "") {}
  ~HtmlZone() override {
    if (isSet_) {
      ::setenv("TZ", before_.c_str(), 1);
    } else {
      ::unsetenv("TZ");
    }
  }

  // Makes the zone one hour east of Greenwich that has this name. A zone's name in TZ itself may
  // have but letters, digits and signs, that in a file any bytes.
  void UseZoneFile(const std::string& name) {
    // The system takes a file of the same node and second for one that it knows.
    ::setenv("TZ", "UTC0", 1);
    ::tzset();
    const std::string path = root_ / "zone";
    std::string file = "TZif" + std::string(16, '\0');
    const std::size_t none = 0;
    const std::size_t one = 1;
    for (const std::size_t count : {none, none, none, none, one, name.size() + 1}) {
      file += {'\0', '\0', '\0', static_cast<char>(count)};
    }
    file += {'\0', '\0', 3600 / 256, 3600 % 256, '\0', '\0'};  // seconds, no summer, name
    test::WriteFileBytes(path, file + name + '\0');
    ::setenv("TZ", path.c_str(), 1);
  }

  // A message's time of day on its page.
  std::string Shown() {
    MakeForum("Talk");
    const DWORD message = Add("Talk", {.time = TTime(2026, 3, 5, 10, 30, 0)});
    return Unwrapped(Expand("$MESSAGE_TIME(24HR+Time Zone)$", "Talk", message));
  }

 private:
  bool isSet_;
  std::string before_;
};

TEST_F(HtmlZone, WithoutDecodingItsBytesAreCopied) {
  UseZoneFile("Mitteleurop\xE4isch");
  EXPECT_EQ(Shown(), "10.30 Mitteleurop\xE4isch");
}

TEST_F(HtmlZone, WhereTextsAreDecodedItsLettersAreNamed) {
  Set("Decode Mail Text", "1");
  UseZoneFile("Mitteleurop\xE4isch");
  EXPECT_EQ(Shown(), "10.30 Mitteleurop&auml;isch");
}

TEST_F(HtmlZone, WhereTextsAreDecodedUtf8IsKnown) {
  Set("Decode Mail Text", "1");
  UseZoneFile("Mitteleurop\xC3\xA4isch \xE2\x82\xAC");
  EXPECT_EQ(Shown(), "10.30 Mitteleurop&auml;isch &#8364;");
}

TEST_F(HtmlZone, ASignInItsNameStays) {
  ::setenv("TZ", "<+01>-1", 1);
  EXPECT_EQ(Shown(), "10.30 +01");
  Set("Decode Mail Text", "1");
  EXPECT_EQ(Unwrapped(Expand("$MESSAGE_TIME(24HR+Time Zone)$", "Talk", 1)), "10.30 +01");
}

}  // namespace
