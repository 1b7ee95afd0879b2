#include "shared/attachment_name.h"

#include "hostile_names.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

namespace brevant {
namespace {

TEST(AttachmentName, PlainNameStaysAsItIs) {
  EXPECT_EQ(SafeFileName("holiday-2024_b.jpeg"), "holiday-2024_b.jpeg");
}

TEST(AttachmentName, OnlyTheLastPathComponentCounts) {
  EXPECT_EQ(SafeFileName("C:\\Documents\\a.txt"), "a.txt");
  EXPECT_EQ(SafeFileName("/etc/passwd"), "passwd");
  EXPECT_EQ(SafeFileName("a\\b/c\\d.gif"), "d.gif");
  EXPECT_EQ(SafeFileName("dir/"), "");
}

TEST(AttachmentName, ControlAndReservedCharactersGo) {
  EXPECT_EQ(SafeFileName("a<b>c:d\"e|f?g*h.txt"), "abcdefgh.txt");
  EXPECT_EQ(SafeFileName("a\x01\x1f\x7f\tb.txt"), "ab.txt");
}

TEST(AttachmentName, LeadingDotsGo) {
  EXPECT_EQ(SafeFileName("...htaccess"), "htaccess");
  EXPECT_EQ(SafeFileName("\x01.htaccess"), "htaccess");
}

TEST(AttachmentName, TrailingDotsAndBlanksGo) {
  EXPECT_EQ(SafeFileName("a.txt. . ."), "a.txt");
  EXPECT_EQ(SafeFileName("   "), "");
}

TEST(AttachmentName, WhatALinkCannotCarryRawBecomesAnUnderscore) {
  EXPECT_EQ(SafeFileName("a b#c%d&e=f.txt"), "a_b_c_d_e_f.txt");
  EXPECT_EQ(SafeFileName("gr\xC3\xBC\xC3\x9F.txt"), "gr____.txt");
}

TEST(AttachmentName, IsCutTo60BytesKeepingTheExtension) {
  EXPECT_EQ(SafeFileName(std::string(60, 'a')).size(), 60u);
  const std::string cut = SafeFileName(std::string(200, 'a') + ".jpeg");
  EXPECT_EQ(cut, std::string(55, 'a') + ".jpeg");
}

TEST(AttachmentName, AnExtensionLongerThanTheRoomIsCutToo) {
  const std::string cut = SafeFileName("x." + std::string(200, 'b'));
  EXPECT_EQ(cut, "x." + std::string(58, 'b'));
  EXPECT_EQ(SafeFileName(std::string(59, 'a') + "." + std::string(80, 'b')), std::string(59, 'a'));
}

TEST(AttachmentName, ProgramsAreForbiddenInAnyLetterCase) {
  for (const char* name :
       {"SETUP.EXE", "setup.exe", "a.Com", "a.bat", "a.dll", "a.b.lnk", "a.pif"}) {
    EXPECT_TRUE(IsForbiddenAttachment(name)) << name;
  }
  for (const char* name : {"exe", "a.exe.txt", "a.exes", "a.ex", "a", "a.", ""}) {
    EXPECT_FALSE(IsForbiddenAttachment(name)) << name;
  }
}

TEST(AttachmentName, ForbiddenExtensionsAreSeenThroughEveryDisguise) {
  for (const char* name :
       {"setup.exe.", "setup.exe ", "setup.exe . .", "setup.e\x01xe", "setup.e<x>e",
        "setup.exe:", "a/../setup.exe", "..\\setup.exe", "setup.ex\"e", "setup.exe\t", ".setup.exe",
        "\x7fs.exe", "setup.?exe", "setup.*exe*"}) {
    EXPECT_TRUE(IsForbiddenAttachment(SafeFileName(name))) << name;
  }
  EXPECT_TRUE(IsForbiddenAttachment(SafeFileName(std::string(300, 'x') + ".EXE")));
  // The cut itself makes this one end in ".exe".
  EXPECT_TRUE(
      IsForbiddenAttachment(SafeFileName(std::string(56, 'x') + ".exe" + std::string(100, '.'))));
}

TEST(AttachmentName, AHarmlessNameHasOneExtensionOfATypeThatNobodyRuns) {
  for (const char* name : {"a.txt", "a.PNG", "a b.pdf", "a.tgz"}) {
    EXPECT_EQ(HarmlessFileName(name), name);
  }
  EXPECT_EQ(HarmlessFileName("page.html"), "page_html.bin");
  EXPECT_EQ(HarmlessFileName("x.svg"), "x_svg.bin");
  EXPECT_EQ(HarmlessFileName("shell.php.jpg"), "shell_php.jpg");
  EXPECT_EQ(HarmlessFileName("shell.pHp5"), "shell_pHp5.bin");
  EXPECT_EQ(HarmlessFileName("README"), "README.bin");
  EXPECT_EQ(HarmlessFileName("a..b.cgi.txt"), "a__b_cgi.txt");
  EXPECT_EQ(HarmlessFileName(std::string(55, 'x') + ".html"), std::string(55, 'x') + "_.bin");
}

TEST(AttachmentName, ImagesAreKnownByTheirExtension) {
  for (const char* name : {"a.jpg", "a.JPEG", "a.gif", "a.Png", "a.bmp"}) {
    EXPECT_TRUE(IsImageName(name)) << name;
  }
  for (const char* name : {"a.svg", "jpg", "a.jpg.txt", "a.webp"}) {
    EXPECT_FALSE(IsImageName(name)) << name;
  }
}

TEST(AttachmentName, FourImageTypesHaveAnExtension) {
  EXPECT_EQ(ImageExtension("image/gif"), ".gif");
  EXPECT_EQ(ImageExtension("IMAGE/JPEG; name=\"x\""), ".jpg");
  EXPECT_EQ(ImageExtension("image/png"), ".png");
  EXPECT_EQ(ImageExtension("image/bmp"), ".bmp");
  EXPECT_EQ(ImageExtension("image/svg+xml"), "");
  EXPECT_EQ(ImageExtension(""), "");
}

TEST(AttachmentName, NamelessPartsGetANameByTheirType) {
  EXPECT_EQ(NamelessAttachment("image/gif"), "image.gif");
  EXPECT_EQ(NamelessAttachment("image/jpeg"), "image.jpg");
  EXPECT_EQ(NamelessAttachment("image/png"), "image.png");
  EXPECT_EQ(NamelessAttachment("image/bmp"), "image.bmp");
  EXPECT_EQ(NamelessAttachment("application/octet-stream"), "file");
  EXPECT_EQ(NamelessAttachment("image/x-unknown"), "file");
}

TEST(AttachmentName, StoredNameThatFits83IsLowerCase) {
  EXPECT_EQ(StoredFileName("1a2b", "X.GIF"), "1a2bx.gif");
  EXPECT_EQ(StoredFileName("1a2b", "ABCD.TXT"), "1a2babcd.txt");
  EXPECT_EQ(StoredFileName("1a2b", "ABCDE.TXT"), "1a2bABCDE.TXT");
  EXPECT_EQ(StoredFileName("1a2b", "AB.HTML"), "1a2bAB.HTML");
  EXPECT_EQ(StoredFileName("1a2b", "A.B.C"), "1a2bA.B.C");
  EXPECT_EQ(StoredFileName("1a2b", "README"), "1a2bREADME");
  EXPECT_EQ(StoredFileName("1a2b", "FILE"), "1a2bfile");
}

TEST(AttachmentName, PrefixIsFourBase36Digits) {
  EXPECT_EQ(AttachmentPrefix(0), "0000");
  EXPECT_EQ(AttachmentPrefix(35), "000z");
  EXPECT_EQ(AttachmentPrefix(36), "0010");
  EXPECT_EQ(AttachmentPrefix(36u * 36 * 36 * 36 - 1), "zzzz");
  EXPECT_EQ(AttachmentPrefix(36u * 36 * 36 * 36), "0000");
}

TEST(AttachmentName, ThereAreEnoughHostileNames) { EXPECT_GE(test::kHostileNames.size(), 60u); }

TEST(AttachmentName, HostileNamesBecomeOnePlainComponent) {
  const std::string allowed =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-$()';,+@!^~`[]{}";
  for (const std::string& name : test::kHostileNames) {
    SCOPED_TRACE(name.substr(0, 80));
    const std::string safe = SafeFileName(name);
    EXPECT_LE(safe.size(), 60u);
    EXPECT_EQ(safe.find_first_not_of(allowed), std::string::npos) << safe;
    EXPECT_FALSE(safe.starts_with('.'));
    EXPECT_FALSE(safe.ends_with('.'));
    const std::string stored = StoredFileName("0000", safe.empty() ? "file" : safe);
    EXPECT_LE(stored.size(), 64u);
    EXPECT_NE(stored, "..");
    EXPECT_TRUE(stored.starts_with("0000"));
  }
}

TEST(AttachmentName, MakingANameSafeTwiceChangesNothing) {
  for (const std::string& name : test::kHostileNames) {
    const std::string safe = SafeFileName(name);
    EXPECT_EQ(SafeFileName(safe), safe) << name.substr(0, 80);
  }
}

}  // namespace
}  // namespace brevant
