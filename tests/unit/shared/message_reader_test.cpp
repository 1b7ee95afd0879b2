// How one mail becomes one item.
#include "shared/message_reader.h"

#include "board_reading.h"
#include "retrieval_fixture.h"
#include "shared/attachment_name.h"

#include <iterator>

namespace {

using brevant::TMessageReader;
using brevant::TReadResult;

class MessageReader : public test::RetrievalFixture {
 protected:
  // Serves one mail and reads it.
  TReadResult Read(const std::string& mail, bool standard = false, bool attachments = true) {
    Serve({mail});
    TMIMEEnabledPOP3 client;
    if (standard) client.Status() |= kStatusStandardMode;
    client.SetTimeout(5000);
    const TSecurityInfos security("board", "secret");
    EXPECT_EQ(client.Connect("127.0.0.1", security, server_->Port()), 1);
    EXPECT_EQ(client.GetFirst(), 1);
    mail_ = std::make_unique<TMail>();
    EXPECT_EQ(mail_->OpenTemporary(static_cast<int>(STGM_DELETEONRELEASE)), 1);
    TMessageReader reader(client, site_, continue_);
    const TReadResult result = reader.Read(*mail_, attachments);
    item_ = test::ItemOf(*mail_);
    if (take_) files_ = reader.TakeFiles();
    // The reader took the whole message: the next command gets its own reply.
    if (result != TReadResult::kBroken) {
      EXPECT_EQ(client.GetInfo(1), 1);
    }
    client.Disconnect();
    return result;
  }

  static std::string Part(const std::string& header, const std::string& body) {
    return "--edge\n" + header + "\n" + body + "\n";
  }
  static std::string Multipart(const std::string& parts, const std::string& type = "mixed") {
    return "From: a@b\nTo: c@d\nSubject: s\nMIME-Version: 1.0\nContent-Type: multipart/" + type +
           "; boundary=\"edge\"\n\npreamble\n" + parts + "--edge--\n";
  }
  static std::string File(const std::string& type, const std::string& name,
                          const std::string& more = "") {
    return "Content-Type: " + type + "\n" + more + "Content-Disposition: attachment; filename=\"" +
           name + "\"\n";
  }
  std::string SiteFile(const std::string& name) const { return test::ReadFileBytes(site_ + name); }

  std::atomic<int> continue_{1};
  std::unique_ptr<TMail> mail_;
  test::Item item_;
  std::vector<std::string> files_;
  bool take_ = true;  // what the reader left is taken over
};

TEST_F(MessageReader, CopiesTheHeaders) {
  ASSERT_EQ(Read("From: \"Ann\" <ann@x>\nTo: Bob <bob@y>\nSubject: Hi there\nDate: Tue, 2 Jun 1998 "
                 "10:20:30 GMT\n\nbody\n"),
            TReadResult::kRead);
  EXPECT_EQ(item_.from, "\"Ann\" <ann@x>");
  EXPECT_EQ(item_.to, "Bob <bob@y>");
  EXPECT_EQ(item_.subject, "Hi there");
  EXPECT_EQ(item_.address, "ann@x");
  EXPECT_EQ(item_.created, TTime(1998, 6, 2, 10, 20, 30));
}

TEST_F(MessageReader, MissingHeadersAreEmptyTexts) {
  ASSERT_EQ(Read("X-Other: x\n\nbody\n"), TReadResult::kRead);
  char value[128] = "?";
  EXPECT_EQ(mail_->ReadInfo("SUBJECT", value, sizeof value), 1);
  EXPECT_STREQ(value, "");
  EXPECT_EQ(item_.from, "");
  EXPECT_EQ(item_.to, "");
  EXPECT_EQ(item_.address, "");
}

TEST_F(MessageReader, PlainTextIsTheContentAndTheTypeIsWritten) {
  ASSERT_EQ(Read("From: a@b\n\none\n two\n"), TReadResult::kRead);
  EXPECT_EQ(item_.content, "one\r\n two\r\n");
  char value[128] = "";
  EXPECT_EQ(mail_->ReadInfo("Document Type", value, sizeof value), 1);
  EXPECT_STREQ(value, "text/plain");
  EXPECT_EQ(mail_->ReadInfo("CHARSET", value, sizeof value), 1);
  EXPECT_STREQ(value, "iso-8859-1");
}

TEST_F(MessageReader, AnEmptyBodyIsAnEmptyText) {
  ASSERT_EQ(Read("From: a@b\nSubject: s\n\n"), TReadResult::kRead);
  EXPECT_EQ(item_.content, "");
  EXPECT_EQ(item_.type, "text/plain");
}

TEST_F(MessageReader, HtmlSetsTheTypeAndTheCharset) {
  ASSERT_EQ(Read("From: a@b\nContent-Type: text/html; charset=\"utf-8\"\n\n<p>x</p>\n"),
            TReadResult::kRead);
  EXPECT_EQ(item_.type, "text/html");
  EXPECT_EQ(item_.charset, "utf-8");
  EXPECT_EQ(item_.content, "<p>x</p>\r\n");
}

TEST_F(MessageReader, QuotedPrintableIsDecoded) {
  ASSERT_EQ(Read("From: a@b\nContent-Type: text/plain; charset=\"iso-8859-1\"\n"
                 "Content-Transfer-Encoding: quoted-printable\n\nCaf=E9 =\nau lait\n"),
            TReadResult::kRead);
  EXPECT_EQ(item_.content, "Caf\xE9 au lait\r\n");
}

TEST_F(MessageReader, AnHtmlPartReplacesAPlainOne) {
  ASSERT_EQ(Read(Multipart(Part("Content-Type: text/plain\n", "plain text, longer than the other") +
                               Part("Content-Type: text/html\n", "<b>html</b>"),
                           "alternative")),
            TReadResult::kRead);
  EXPECT_EQ(item_.type, "text/html");
  EXPECT_EQ(item_.content, "<b>html</b>\r\n");
}

TEST_F(MessageReader, PartsOfOneTypeAreAppended) {
  ASSERT_EQ(Read(Multipart(Part("Content-Type: text/plain\n", "one") +
                           Part("Content-Type: text/plain\n", "two"))),
            TReadResult::kRead);
  EXPECT_EQ(item_.content, "one\r\ntwo\r\n");
  ASSERT_EQ(Read(Multipart(Part("Content-Type: text/html\n", "<p>1") +
                           Part("Content-Type: text/html\n", "<p>2"))),
            TReadResult::kRead);
  EXPECT_EQ(item_.content, "<p>1\r\n<p>2\r\n");
}

TEST_F(MessageReader, PlainTextAfterHtmlIsAppendedEscapedWithLineBreaks) {
  ASSERT_EQ(Read(Multipart(Part("Content-Type: text/html\n", "<p>x</p>") +
                           Part("Content-Type: text/plain\n", "--\nlist & <x@y> \"q\""))),
            TReadResult::kRead);
  EXPECT_EQ(item_.type, "text/html");
  EXPECT_EQ(item_.content, "<p>x</p>\r\n--<br>\r\nlist &amp; &lt;x@y&gt; &quot;q&quot;<br>\r\n");
}

TEST_F(MessageReader, PartsOfOtherTypesAreSkipped) {
  ASSERT_EQ(Read(Multipart(Part("Content-Type: application/pdf\n", "pdf") +
                           Part("Content-Type: text/plain\n", "text") +
                           Part("Content-Type: audio/wav\n", "wav"))),
            TReadResult::kRead);
  EXPECT_EQ(item_.content, "text\r\n");
  EXPECT_TRUE(SiteFiles().empty());
}

TEST_F(MessageReader, NestedPartsAreRead) {
  const std::string inner =
      "--edge\nContent-Type: multipart/alternative; boundary=\"in\"\n\n--in\nContent-Type: "
      "text/plain\n\nplain\n--in\nContent-Type: text/html\n\n<i>html</i>\n--in--\n";
  ASSERT_EQ(Read(Multipart(inner + Part(File("application/octet-stream", "a.txt"), "file"))),
            TReadResult::kRead);
  EXPECT_EQ(item_.content, "<i>html</i>\r\n");
  ASSERT_EQ(item_.attachments.size(), 1u);
}

TEST_F(MessageReader, AMessageThatEndsInsideAPartIsReadToItsEnd) {
  ASSERT_EQ(Read("From: a@b\nContent-Type: multipart/mixed; boundary=\"edge\"\n\n--edge\n"
                 "Content-Type: text/plain\n\nno closing boundary\n"),
            TReadResult::kRead);
  EXPECT_EQ(item_.content, "no closing boundary\r\n");
}

TEST_F(MessageReader, ABase64BodyWithAnEmptyLineInsideLeavesNothingUnread) {
  ASSERT_EQ(Read("From: a@b\nContent-Type: text/plain\nContent-Transfer-Encoding: base64\n\n"
                 "QUJD\n\nREVG\n+OK lie\n"),
            TReadResult::kRead);
  EXPECT_EQ(item_.content.substr(0, 3), "ABC");
}

TEST_F(MessageReader, FilesAreKeptUnderTheirSafeNames) {
  ASSERT_EQ(Read(Multipart(Part(File("application/octet-stream", "My report.txt"), "the file"))),
            TReadResult::kRead);
  const auto names = SiteFiles();
  ASSERT_EQ(names.size(), 1u);
  EXPECT_EQ(names[0].substr(4), "My_report.txt");
  EXPECT_EQ(SiteFile(names[0]), "the file\r\n");
  ASSERT_EQ(item_.attachments.size(), 1u);
  EXPECT_EQ(item_.attachments[0].first, names[0]);
  EXPECT_EQ(item_.attachments[0].second, "My report.txt");
  EXPECT_EQ(files_, (std::vector<std::string>{site_ + names[0]}));
}

TEST_F(MessageReader, FilesHaveExactlyTheTemporaryAttribute) {
  const std::string probe = directory_ / "probe";
  test::WriteFileBytes(probe, "x");
  SetFileAttributesA(probe.c_str(), FILE_ATTRIBUTE_TEMPORARY);
  if (GetFileAttributesA(probe.c_str()) != FILE_ATTRIBUTE_TEMPORARY) {
    GTEST_SKIP() << "this platform does not keep the temporary attribute of a file";
  }
  ASSERT_EQ(Read(Multipart(Part(File("application/octet-stream", "a.txt"), "x") +
                           Part(File("image/gif", "a.gif"), "x"))),
            TReadResult::kRead);
  ASSERT_EQ(files_.size(), 2u);
  for (const std::string& path : files_) {
    EXPECT_EQ(GetFileAttributesA(path.c_str()), DWORD{FILE_ATTRIBUTE_TEMPORARY}) << path;
  }
}

TEST_F(MessageReader, FilesOfOneNameGetDifferentNames) {
  const std::string part = Part(File("application/octet-stream", "same.txt"), "x");
  ASSERT_EQ(Read(Multipart(part + part + part)), TReadResult::kRead);
  EXPECT_EQ(SiteFiles().size(), 3u);
  EXPECT_EQ(item_.attachments.size(), 3u);
}

TEST_F(MessageReader, FilesThatAreThereAreNeverTouched) {
  for (const char* name : {"same.txt", "index.htm", "0000same.txt"}) {
    test::WriteFileBytes(site_ + name, "owner's");
  }
  const std::string parts = Part(File("application/octet-stream", "same.txt"), "x") +
                            Part(File("application/octet-stream", "../index.htm"), "x");
  ASSERT_EQ(Read(Multipart(parts)), TReadResult::kRead);
  EXPECT_EQ(SiteFiles().size(), 5u);
  for (const char* name : {"same.txt", "index.htm", "0000same.txt"}) {
    EXPECT_EQ(SiteFile(name), "owner's");
  }
}

TEST_F(MessageReader, FilesThatNobodyTakesGoWithTheReader) {
  take_ = false;
  ASSERT_EQ(Read(Multipart(Part(File("application/octet-stream", "a.txt"), "x") +
                           Part(File("image/png", "a.png"), "y"))),
            TReadResult::kRead);
  EXPECT_EQ(item_.attachments.size(), 2u);
  EXPECT_TRUE(SiteFiles().empty());
}

TEST_F(MessageReader, NoFileIsKeptWhenAttachmentsAreNotAllowed) {
  ASSERT_EQ(Read(Multipart(Part(File("application/octet-stream", "a.txt"), "x") +
                           Part(File("image/gif", "a.gif"), "x") +
                           Part("Content-Type: text/plain\n", "text")),
                 false, false),
            TReadResult::kRead);
  EXPECT_TRUE(SiteFiles().empty());
  EXPECT_EQ(item_.content, "text\r\n");
  EXPECT_TRUE(item_.attachments.empty());
}

TEST_F(MessageReader, ProgramsAreNeverKept) {
  std::string parts;
  for (const char* name : {"SETUP.EXE", "a.com", "a.Bat", "a.dll", "a.lnk", "a.pif", "a.exe. ."}) {
    parts += Part(File("application/octet-stream", name), "MZ");
  }
  ASSERT_EQ(Read(Multipart(parts)), TReadResult::kRead);
  EXPECT_TRUE(SiteFiles().empty());
  EXPECT_TRUE(item_.attachments.empty());
}

TEST_F(MessageReader, Base64FilesAreDecodedToTheirExactLengthInStandardMode) {
  const std::string part = Part(
      File("application/octet-stream", "a.bin", "Content-Transfer-Encoding: base64\n"), "QUJDRA==");
  ASSERT_EQ(Read(Multipart(part), true), TReadResult::kRead);
  ASSERT_EQ(SiteFiles().size(), 1u);
  EXPECT_EQ(SiteFile(SiteFiles()[0]), "ABCD");
}

TEST_F(MessageReader, Base64PaddingCountsAsZerosWithoutStandardMode) {
  const std::string part = Part(
      File("application/octet-stream", "a.bin", "Content-Transfer-Encoding: base64\n"), "QUJDRA==");
  ASSERT_EQ(Read(Multipart(part)), TReadResult::kRead);
  ASSERT_EQ(SiteFiles().size(), 1u);
  EXPECT_EQ(SiteFile(SiteFiles()[0]), std::string("ABCD\0\0", 6));
}

TEST_F(MessageReader, ImagesOfFourTypesPassThroughAScratchFileThatIsRemoved) {
  const auto scratch = [] {
    std::size_t count = 0;
    for (const auto& entry :
         std::filesystem::directory_iterator(std::filesystem::temp_directory_path())) {
      const std::string name = entry.path().filename().string();
      count += name.starts_with("brevant-") && !name.starts_with("brevant-test-") ? 1 : 0;
    }
    return count;
  };
  const std::size_t before = scratch();
  std::string parts;
  for (const char* type : {"gif", "jpeg", "png", "bmp"}) {
    parts +=
        Part("Content-Type: image/" + std::string(type) + "\n", std::string("data of ") + type);
  }
  ASSERT_EQ(Read(Multipart(parts)), TReadResult::kRead);
  std::vector<std::string> kept;
  for (const auto& [name, shown] : item_.attachments) {
    kept.push_back(name.substr(4) + "=" + shown);
    EXPECT_NE(SiteFile(name), "");
  }
  EXPECT_EQ(kept, (std::vector<std::string>{"image.gif=image.gif", "image.jpg=image.jpg",
                                            "image.png=image.png", "image.bmp=image.bmp"}));
  EXPECT_EQ(scratch(), before);
}

TEST_F(MessageReader, NamelessFilesAreCalledFile) {
  ASSERT_EQ(Read(Multipart(Part("Content-Type: application/octet-stream\n", "x"))),
            TReadResult::kRead);
  ASSERT_EQ(item_.attachments.size(), 1u);
  EXPECT_EQ(item_.attachments[0].first.substr(4), "file");
  EXPECT_EQ(item_.attachments[0].second, "file");
}

TEST_F(MessageReader, AnHtmlMessageShowsItsImages) {
  ASSERT_EQ(Read(Multipart(Part("Content-Type: text/html\n", "<p>x</p>") +
                           Part(File("image/gif", "a&b.gif"), "GIF89a"))),
            TReadResult::kRead);
  ASSERT_EQ(item_.attachments.size(), 1u);
  EXPECT_EQ(item_.content,
            "<p>x</p>\r\n<img src=\"" + item_.attachments[0].first + "\" alt=\"a&amp;b.gif\">");
}

TEST_F(MessageReader, AFileWithAnImageExtensionIsShownToo) {
  ASSERT_EQ(Read(Multipart(Part(File("application/octet-stream", "photo.JPEG"), "x") +
                           Part("Content-Type: text/html\n", "<p>x</p>"))),
            TReadResult::kRead);
  ASSERT_EQ(item_.attachments.size(), 1u);
  EXPECT_NE(
      item_.content.find("<img src=\"" + item_.attachments[0].first + "\" alt=\"photo.JPEG\">"),
      std::string::npos);
}

TEST_F(MessageReader, APlainMessageShowsNoImages) {
  ASSERT_EQ(Read(Multipart(Part("Content-Type: text/plain\n", "x") +
                           Part(File("image/gif", "a.gif"), "GIF89a"))),
            TReadResult::kRead);
  EXPECT_EQ(item_.content, "x\r\n");
  EXPECT_EQ(item_.attachments.size(), 1u);
}

TEST_F(MessageReader, AReferenceByIdentifierBecomesTheStoredName) {
  ASSERT_EQ(
      Read(Multipart(Part("Content-Type: text/html\n",
                          "<img src=\"cid:one@x\"> <img src='CID:one@x'> <a href=cid:one@xy>") +
                         Part("Content-ID: <one@x>\n" + File("image/png", "a.png"), "png"),
                     "related")),
      TReadResult::kRead);
  ASSERT_EQ(item_.attachments.size(), 1u);
  const std::string& name = item_.attachments[0].first;
  EXPECT_EQ(item_.attachments[0].second, "cid:one@x");
  EXPECT_EQ(item_.content,
            "<img src=\"" + name + "\"> <img src='" + name + "'> <a href=cid:one@xy>\r\n");
}

TEST_F(MessageReader, AnImageTypeInAnotherParameterMakesNoImageInStandardMode) {
  ASSERT_EQ(Read(Multipart(Part("Content-Type: application/octet-stream; x=\"image/gif\"\n", "x") +
                           Part("Content-Type: IMAGE/GIF\n", "y")),
                 true),
            TReadResult::kRead);
  ASSERT_EQ(item_.attachments.size(), 2u);
  EXPECT_EQ(item_.attachments[0].first.substr(4), "file");
  EXPECT_EQ(item_.attachments[1].first.substr(4), "image.gif");
}

TEST_F(MessageReader, AnIdentifierThatNothingRefersToIsAppendedAsAReference) {
  ASSERT_EQ(Read(Multipart(Part("Content-Type: text/html\n", "<p>x</p>") +
                               Part("Content-ID: <one@x>\n" + File("image/png", "a.png"), "png"),
                           "related")),
            TReadResult::kRead);
  EXPECT_NE(item_.content.find("<img src=\""), std::string::npos);
}

TEST_F(MessageReader, FormFieldsBecomeValues) {
  ASSERT_EQ(Read("From: a@b\nSubject: header\nContent-Type: application/x-www-form-urlencoded\n\n"
                 "Subject=From+the+form&Colour=red%21&Content=The+text%0D%0Aof+it\n"),
            TReadResult::kRead);
  EXPECT_EQ(item_.subject, "From the form");
  EXPECT_STREQ(mail_->String("Colour"), "red!");
  EXPECT_EQ(item_.content, "The text\r\nof it");
  EXPECT_EQ(item_.type, "text/plain");
}

TEST_F(MessageReader, FormsNeverSetWhatTheBoardReliesOn) {
  ASSERT_EQ(Read("From: a@b\nTo: c@d\nContent-Type: application/x-www-form-urlencoded\n\n"
                 "Name=9&LINK+ID=9&Sent+to+mailing+list=9&Vote+Count=9&Document+Type=9&CHARSET=9&"
                 "Header+Charset=9&FROM=9&TO=9&E-Mail+Address=9&Creation+time=9&Last+Modify+Time=9&"
                 "From+Name=9&From+Email+Address=9&from=9\n"),
            TReadResult::kRead);
  for (const char* key : {"Name", "LINK ID", "Sent to mailing list", "Vote Count", "Document Type",
                          "CHARSET", "Header Charset", "FROM", "TO", "E-Mail Address",
                          "Creation time", "Last Modify Time", "From Name", "From Email Address"}) {
    char value[128] = "";
    mail_->ReadInfo(key, value, sizeof value);
    EXPECT_STRNE(value, "9") << key;
  }
}

TEST_F(MessageReader, FormValuesAreCutToTheRecord) {
  ASSERT_EQ(Read("From: a@b\nContent-Type: application/x-www-form-urlencoded\n\nColour=" +
                 std::string(500, 'x') + "\n"),
            TReadResult::kRead);
  char value[256] = "";
  EXPECT_EQ(mail_->ReadInfo("Colour", value, sizeof value), 1);
  EXPECT_EQ(std::string(value), std::string(128 - 6 - 2, 'x'));
}

TEST_F(MessageReader, ControlCharactersOfAFormBecomeBlanksInValues) {
  ASSERT_EQ(Read("From: a@b\nContent-Type: application/x-www-form-urlencoded\n\n"
                 "Subject=a%0D%0ABcc%3A+x%00\n"),
            TReadResult::kRead);
  EXPECT_EQ(item_.subject, "a  Bcc: x ");
}

TEST_F(MessageReader, TheTextOfTheMailGoesBeforeTheFormsContent) {
  ASSERT_EQ(Read(Multipart(Part("Content-Type: text/plain\n", "the text") +
                           Part("Content-Type: application/x-www-form-urlencoded\n",
                                "Content=other&Colour=red"))),
            TReadResult::kRead);
  EXPECT_EQ(item_.content, "the text\r\n");
  EXPECT_STREQ(mail_->String("Content"), "other");
  EXPECT_STREQ(mail_->String("Colour"), "red");
}

TEST_F(MessageReader, EmptyLinesAreNoTextThatKeepsTheFormsContentOut) {
  ASSERT_EQ(Read(Multipart(
                Part("Content-Type: text/plain\n", "\n \n") +
                Part("Content-Type: application/x-www-form-urlencoded\n", "Content=the+text"))),
            TReadResult::kRead);
  EXPECT_NE(item_.content.find("the text"), std::string::npos);
}

TEST_F(MessageReader, PostedFormsArriveAsAFileToo) {
  ASSERT_EQ(Read(Multipart(Part(File("application/octet-stream", "postdata.att"), "Colour=blue")),
                 false, false),
            TReadResult::kRead);
  EXPECT_STREQ(mail_->String("Colour"), "blue");
  EXPECT_TRUE(SiteFiles().empty());
}

TEST_F(MessageReader, NamedPartsAreFilesInStandardModeOnly) {
  const std::string mail = Multipart(Part("Content-Type: text/plain\n", "text") +
                                     Part(File("text/plain", "notes.txt"), "notes") +
                                     Part(File("application/pdf", "a.pdf"), "pdf"));
  ASSERT_EQ(Read(mail), TReadResult::kRead);
  EXPECT_EQ(item_.content, "text\r\nnotes\r\n");
  EXPECT_TRUE(SiteFiles().empty());
  ASSERT_EQ(Read(mail, true), TReadResult::kRead);
  EXPECT_EQ(item_.content, "text");
  EXPECT_EQ(SiteFiles().size(), 2u);
}

TEST_F(MessageReader, AMissingDirectoryMakesTheReaderFailAndReadOn) {
  site_ = directory_ / "nowhere/";
  EXPECT_EQ(Read(Multipart(Part(File("application/octet-stream", "a.txt"), "x"))),
            TReadResult::kUnwritable);
}

TEST_F(MessageReader, AnEmptyDirectorySettingIsNoPlaceForFiles) {
  site_ = "";
  EXPECT_EQ(Read(Multipart(Part(File("application/octet-stream", "a.txt"), "x"))),
            TReadResult::kUnwritable);
  site_ = directory_ / "site/";
}

TEST_F(MessageReader, ARefusedMessageLeavesTheConnection) {
  Serve({"From: a@b\n\nx\n"}, {test::ParseDeviation("RETR 1 reply \"-ERR no\\r\\n\"")});
  TMIMEEnabledPOP3 client;
  client.SetTimeout(2000);
  ASSERT_EQ(client.Connect("127.0.0.1", TSecurityInfos("board", "secret"), server_->Port()), 1);
  ASSERT_EQ(client.GetFirst(), 1);
  TMail mail;
  ASSERT_EQ(mail.OpenTemporary(static_cast<int>(STGM_DELETEONRELEASE)), 1);
  TMessageReader reader(client, site_, continue_);
  EXPECT_EQ(reader.Read(mail, true), TReadResult::kRefused);
  EXPECT_EQ(client.GetInfo(1), 1);
}

TEST_F(MessageReader, AConnectionThatBreaksInAFileLeavesNoFile) {
  const std::string first = Part(File("application/octet-stream", "a.txt"), "whole");
  const std::string second =
      Part(File("application/octet-stream", "b.txt"), std::string(20000, 'x'));
  Serve({Multipart(first + second)}, {test::ParseDeviation("RETR 1 drop 5000")});
  TMIMEEnabledPOP3 client;
  client.SetTimeout(2000);
  ASSERT_EQ(client.Connect("127.0.0.1", TSecurityInfos("board", "secret"), server_->Port()), 1);
  ASSERT_EQ(client.GetFirst(), 1);
  TMail mail;
  ASSERT_EQ(mail.OpenTemporary(static_cast<int>(STGM_DELETEONRELEASE)), 1);
  TMessageReader reader(client, site_, continue_);
  EXPECT_EQ(reader.Read(mail, true), TReadResult::kBroken);
  EXPECT_TRUE(SiteFiles().empty());
  EXPECT_TRUE(reader.TakeFiles().empty());
}

TEST_F(MessageReader, LongLinesKeepEveryByte) {
  const std::string line(60000, 'x');
  ASSERT_EQ(Read("From: a@b\n\n" + line + "\nend\n"), TReadResult::kRead);
  EXPECT_EQ(item_.content, line + "\r\nend\r\n");
}

TEST_F(MessageReader, HostileHeadersDoNoHarm) {
  const std::string junk(3000, 'A');
  const std::vector<std::string> mails = {
      "Content-Type: " + junk + "\n\nx\n",
      "Content-Type: multipart/mixed; boundary=\"\"\n\n--\nx\n",
      "Content-Type: multipart/mixed; boundary=\"" + junk + "\"\n\nx\n",
      "Content-Type:  \nContent-Transfer-Encoding:  \n\n=\n==\n=4\n",
      "Subject: \xFF\xFE\x01\nFrom: <<<>>>@@\n\n\x80\xFF\n",
      "Content-Type: image/gif; name=\"%s%n\"\nContent-ID: <>\n\nGIF\n",
      "From: " + junk + "\nContent-Disposition: attachment; filename=\"" + junk + "\"\n\nx\n"};
  for (const std::string& mail : mails) {
    EXPECT_EQ(Read(mail), TReadResult::kRead) << mail.substr(0, 60);
  }
}

}  // namespace
