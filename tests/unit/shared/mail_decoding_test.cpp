// Mail whose texts are filed as the characters they are.
#include "board_reading.h"
#include "retrieval_fixture.h"

namespace {

constexpr const char* kBroken = "\xEF\xBF\xBD";

class MailDecoding : public test::RetrievalFixture {
 protected:
  void SetUp() override {
    RetrievalFixture::SetUp();
    ASSERT_TRUE(test::MakeForum("General", data_));
    setup_->Number("Decode Mail Text", 1);
  }

  static std::string Mail(const std::string& subject, const std::string& more = "\nx\n",
                          const std::string& from = "Ann <ann@example.org>") {
    return "From: " + from + "\nTo: \"[My_Board:General]\" <x@y>\nSubject: " + subject + "\n" +
           more;
  }
  // Retrieves one mail; the item that it became.
  test::Item Retrieve(const std::string& mail) {
    Serve({mail});
    EXPECT_EQ(Run(), 1);
    const auto items = test::ItemsOf("General", data_);
    return items.empty() ? test::Item() : items.back();
  }
  static std::string Multipart(const std::vector<std::pair<std::string, std::string>>& parts) {
    std::string text = "Content-Type: multipart/mixed; boundary=\"b\"\n\n";
    for (const auto& [header, body] : parts) text += "--b\n" + header + "\n" + body + "\n";
    return text + "--b--\n";
  }
};

TEST_F(MailDecoding, HeadersAreFiledAsUtf8AndSaySo) {
  const test::Item item = Retrieve(Mail("=?iso-8859-1?Q?Gr=FC=DFe?= =?utf-8?B?IOKCrA==?=", "\nx\n",
                                        "\"=?windows-1252?Q?J=F6rg?=\" <j@x>"));
  EXPECT_EQ(item.subject,
            "Gr\xC3\xBC\xC3\x9F"
            "e \xE2\x82\xAC");
  EXPECT_EQ(item.listedSubject, item.subject);
  EXPECT_EQ(item.from, "\"J\xC3\xB6rg\" <j@x>");
  EXPECT_EQ(item.address, "j@x");
  EXPECT_EQ(item.headerCharset, "utf-8");
}

TEST_F(MailDecoding, WithoutTheSettingEveryByteStays) {
  setup_->Number("Decode Mail Text", 0);
  const test::Item item = Retrieve(Mail("=?iso-8859-1?Q?Gr=FC=DFe?= \xE4"));
  EXPECT_EQ(item.subject, "=?iso-8859-1?Q?Gr=FC=DFe?= \xE4");
  EXPECT_EQ(item.headerCharset, "");
}

TEST_F(MailDecoding, RawBytesOfAHeaderBecomeUtf8) {
  EXPECT_EQ(Retrieve(Mail("gr\xFCn \xC3\xA4")).subject, "gr\xC3\xBCn \xC3\xA4");
}

TEST_F(MailDecoding, NothingEncodedBeginsALineOfItsOwn) {
  EXPECT_EQ(Retrieve(Mail("=?utf-8?Q?a=0D=0ABcc:_x=00?=")).subject, "a  Bcc: x ");
}

TEST_F(MailDecoding, BrokenSequencesShow) {
  EXPECT_EQ(Retrieve(Mail("=?utf-8?Q?a=FFz?=")).subject, std::string("a") + kBroken + "z");
}

TEST_F(MailDecoding, AnEncodedNameCannotForgeTheAddress) {
  const test::Item item =
      Retrieve(Mail("s", "\nx\n", "=?utf-8?Q?=22Boss=22_=3Cboss=40x=3E?= <ann@example.org>"));
  EXPECT_EQ(item.address, "ann@example.org");
  EXPECT_EQ(item.from, "'Boss' (boss@x) <ann@example.org>");
}

TEST_F(MailDecoding, ATagIsFoundInTheDecodedHeader) {
  Serve({"From: a@b\nTo: =?utf-8?Q?=5BMy=5FBoard=3AGeneral=3A7=5D?= <x@y>\nSubject: s\n\nx\n",
         "From: a@b\nTo: x@y\nCc: =?utf-8?B?W015X0JvYXJkOkdlbmVyYWxd?= <x@y>\nSubject: t\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  const auto items = test::ItemsOf("General", data_);
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].linkId, 7u);
  EXPECT_EQ(items[0].to, "[My_Board:General:7] <x@y>");
}

TEST_F(MailDecoding, ATagOfAListIsFoundInTheDecodedHeader) {
  ASSERT_TRUE(test::MakeContainer<TLinkList>("Links", data_));
  Serve(
      {"From: a@b\nTo: x@y\nCc: =?utf-8?Q?=5BMy=5FBoard=3ALinks=5D?= <x@y>\n"
       "Subject: Page at http://x\n\nx\n",
       "From: a@b\nTo: =?utf-8?B?W015X0JvYXJkOkxpbmtzXQ==?= <x@y>\n"
       "Subject: Other at http://y\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  const auto links = test::ItemsOf<TLinkList>("Links", data_);
  ASSERT_EQ(links.size(), 2u);
  EXPECT_EQ(links[0].subject, "Page");
  EXPECT_EQ(links[1].subject, "Other");
}

TEST_F(MailDecoding, TheSurveysTagIsFoundInTheDecodedHeader) {
  TSurveyQuestion* question = CreateSurveyQuestion("Again", data_.c_str());
  ASSERT_NE(question, nullptr);
  TMail* answer = OpenAnswer(0, nullptr);
  answer->String("SUBJECT", "Yes");
  EXPECT_NE(InsertAnswer(answer, question), 0u);
  CloseAnswer(answer);
  CloseSurveyQuestion(question);
  Serve({"From: a@b\nTo: =?utf-8?Q?=5BMy=5FBoard=3ASurvey=5D?= <x@y>\nSubject: v\n\nAgain=Yes\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 0u);
  const auto answers = test::ItemsOf<TSurveyQuestion>("Again", data_);
  ASSERT_EQ(answers.size(), 1u);
  EXPECT_EQ(answers[0].votes, 1);
}

TEST_F(MailDecoding, WithoutTheSettingAnEncodedTagIsNone) {
  setup_->Number("Decode Mail Text", 0);
  ASSERT_TRUE(test::MakeContainer<TLinkList>("Links", data_));
  Serve({"From: a@b\nTo: =?utf-8?Q?=5BMy=5FBoard=3AGeneral=5D?= <x@y>\nSubject: s\n\nx\n",
         "From: a@b\nTo: =?utf-8?Q?=5BMy=5FBoard=3ALinks=5D?= <x@y>\nSubject: s\n\nx\n",
         "From: a@b\nTo: =?utf-8?Q?=5BMy=5FBoard=3ASurvey=5D?= <x@y>\nSubject: s\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Left(), 3u);
}

TEST_F(MailDecoding, LongHeadersAreCutAtAWholeCharacter) {
  // A subject has room for 119 bytes: 39 euro signs and a rest that takes no fortieth.
  std::string words;
  std::string expected;
  for (int i = 0; i < 60; ++i) words += "=?utf-8?Q?=E2=82=AC?= ";
  for (int i = 0; i < 39; ++i) expected += "\xE2\x82\xAC";
  const test::Item item = Retrieve(Mail(words.substr(0, 900)));
  EXPECT_EQ(item.subject, expected);
  EXPECT_EQ(item.listedSubject, expected);
}

TEST_F(MailDecoding, TheListsRecordCutsNoCharacterEither) {
  TForum* forum = OpenForum("General", data_.c_str());
  forum->Number("Last Message Index", 1234567890);
  CloseForum(forum);
  std::string subject;
  for (int i = 0; i < 60; ++i) subject += "\xC3\xA4";
  Serve(
      {"From: a@b\nTo: \"[My_Board:General:1234567890]\" <x@y>\nSubject: " + subject + "\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  const auto items = test::ItemsOf("General", data_);
  ASSERT_EQ(items.size(), 1u);
  // "1234567891:1234567890" and two zero bytes leave room for 105.
  EXPECT_EQ(items[0].listedSubject, subject.substr(0, 104));
  EXPECT_EQ(items[0].subject, items[0].listedSubject);
}

TEST_F(MailDecoding, TheContentKeepsItsBytesAndItsLabel) {
  const test::Item item =
      Retrieve(Mail("s", "Content-Type: text/plain; charset=\"iso-8859-2\"\n\n\xB1\xF5\n"));
  EXPECT_EQ(item.content, "\xB1\xF5\r\n");
  EXPECT_EQ(item.charset, "iso-8859-2");
}

TEST_F(MailDecoding, Utf8WithoutALabelGetsIt) {
  EXPECT_EQ(Retrieve(Mail("s", "\ngr\xC3\xBCn\n")).charset, "utf-8");
  EXPECT_EQ(Retrieve(Mail("s", "\ngr\xFCn\n")).charset, "iso-8859-1");
  EXPECT_EQ(Retrieve(Mail("s", "\nplain\n")).charset, "iso-8859-1");
  EXPECT_EQ(
      Retrieve(Mail("s", "Content-Type: text/plain; charset=\"us-ascii\"\n\n\xC3\xBC\n")).charset,
      "utf-8");
  EXPECT_EQ(
      Retrieve(Mail("s", "Content-Type: text/plain; charset=\"koi8-r\"\n\n\xC3\xBC\n")).charset,
      "koi8-r");
}

TEST_F(MailDecoding, WithoutTheSettingTextWithoutALabelIsIso8859) {
  setup_->Number("Decode Mail Text", 0);
  EXPECT_EQ(Retrieve(Mail("s", "\ngr\xC3\xBCn\n")).charset, "iso-8859-1");
}

TEST_F(MailDecoding, PartsOfTwoCharacterSetsBecomeUtf8Together) {
  const test::Item item = Retrieve(
      Mail("s", Multipart({{"Content-Type: text/plain; charset=\"iso-8859-1\"\n", "\xE4"},
                           {"Content-Type: text/plain; charset=\"utf-8\"\n", "\xE2\x82\xAC"},
                           {"Content-Type: text/plain; charset=\"iso-8859-2\"\n", "\xB1"},
                           {"Content-Type: text/plain\n", "\xC3\xB6\xF6"}})));
  EXPECT_EQ(item.charset, "utf-8");
  EXPECT_EQ(item.content, "\xC3\xA4\r\n\xE2\x82\xAC\r\n\xC4\x85\r\n\xC3\xB6\xC3\xB6\r\n");
}

TEST_F(MailDecoding, AFooterBehindHtmlBecomesUtf8Too) {
  const test::Item item = Retrieve(
      Mail("s", Multipart({{"Content-Type: text/html; charset=\"iso-8859-1\"\n", "<p>\xE4</p>"},
                           {"Content-Type: text/plain; charset=\"iso-8859-15\"\n", "<\xA4>"}})));
  EXPECT_EQ(item.charset, "utf-8");
  EXPECT_EQ(item.content, "<p>\xC3\xA4</p>\r\n&lt;\xE2\x82\xAC&gt;<br>\r\n");
}

TEST_F(MailDecoding, PlainAsciiTakesTheCharacterSetOfWhatFollows) {
  const test::Item item =
      Retrieve(Mail("s", Multipart({{"Content-Type: text/plain; charset=\"us-ascii\"\n", "a"},
                                    {"Content-Type: text/plain; charset=\"iso-8859-2\"\n", "\xB1"},
                                    {"Content-Type: text/plain; charset=\"us-ascii\"\n", "b"}})));
  EXPECT_EQ(item.charset, "iso-8859-2");
  EXPECT_EQ(item.content, "a\r\n\xB1\r\nb\r\n");
}

TEST_F(MailDecoding, ACharacterSetThatIsNotKnownKeepsItsBytesAndThoseOfOthers) {
  const test::Item item = Retrieve(
      Mail("s", Multipart({{"Content-Type: text/plain; charset=\"koi8-r\"\n", "\xC1"},
                           {"Content-Type: text/plain; charset=\"utf-8\"\n", "\xC3\xA4"}})));
  EXPECT_EQ(item.charset, "koi8-r");
  EXPECT_EQ(item.content, "\xC1\r\n\xC3\xA4\r\n");
}

TEST_F(MailDecoding, WithoutTheSettingPartsAreAppendedAsTheyAre) {
  setup_->Number("Decode Mail Text", 0);
  const test::Item item = Retrieve(
      Mail("s", Multipart({{"Content-Type: text/plain; charset=\"iso-8859-1\"\n", "\xE4"},
                           {"Content-Type: text/plain; charset=\"utf-8\"\n", "\xE2\x82\xAC"}})));
  EXPECT_EQ(item.charset, "iso-8859-1");
  EXPECT_EQ(item.content, "\xE4\r\n\xE2\x82\xAC\r\n");
}

TEST_F(MailDecoding, AnHtmlPartReplacesTextOfAnotherCharacterSet) {
  const test::Item item = Retrieve(
      Mail("s", Multipart({{"Content-Type: text/plain; charset=\"utf-8\"\n", "\xC3\xA4"},
                           {"Content-Type: text/html; charset=\"iso-8859-1\"\n", "\xE4"}})));
  EXPECT_EQ(item.charset, "iso-8859-1");
  EXPECT_EQ(item.content, "\xE4\r\n");
}

TEST_F(MailDecoding, FormsAreFiledAsUtf8) {
  const test::Item item =
      Retrieve(Mail("s",
                    "Content-Type: application/x-www-form-urlencoded; charset=\"iso-8859-1\"\n\n"
                    "Subject=Gr%FC%DFe&Content=%E4%0D%0Ab\n"));
  EXPECT_EQ(item.subject,
            "Gr\xC3\xBC\xC3\x9F"
            "e");
  EXPECT_EQ(item.content, "\xC3\xA4\r\nb");
  EXPECT_EQ(item.charset, "utf-8");
}

TEST_F(MailDecoding, NamesOfFilesAreDecodedBeforeTheyAreMadeSafe) {
  setup_->Number("Allow attachment - forum", 1);
  const std::string disposition = "Content-Disposition: attachment; filename=";
  const test::Item item = Retrieve(Mail(
      "s",
      Multipart({{"Content-Type: text/html\n", "<p>x</p>"},
                 {"Content-Type: image/gif\n" + disposition + "\"=?utf-8?Q?Stra=C3=9Fe=2Egif?=\"\n",
                  "GIF"},
                 {"Content-Type: application/octet-stream\n" + disposition +
                      "\"=?utf-8?Q?SETUP=2EEXE?=\"\n",
                  "MZ"},
                 {"Content-Type: application/octet-stream\n" + disposition +
                      "\"=?utf-8?Q?=2E=2E=2Fa=2Etxt?=\"\n",
                  "text"}})));
  ASSERT_EQ(item.attachments.size(), 2u);
  EXPECT_EQ(item.attachments[0].first.substr(4), "Stra__e.gif");
  EXPECT_EQ(item.attachments[0].second,
            "Stra\xC3\x9F"
            "e.gif");
  EXPECT_EQ(item.attachments[1].first.substr(4), "a.txt");
  EXPECT_EQ(SiteFiles().size(), 2u);
  EXPECT_EQ(item.content,
            "<p>x</p>\r\n<img src=\"" + item.attachments[0].first + "\" alt=\"Stra&#223;e.gif\">");
}

TEST_F(MailDecoding, ASubscribersNameIsUtf8) {
  Serve({Mail("Subscribe", "\nx\n", "=?iso-8859-1?Q?J=F6rg?= <j@example.org>")});
  EXPECT_EQ(Run(), 1);
  TForum* forum = OpenForum("General", data_.c_str());
  EXPECT_STREQ(GetMailingListName("j@example.org", forum), "J\xC3\xB6rg ");
  CloseForum(forum);
}

TEST_F(MailDecoding, ASubscribersAddressIsWholeWhateverTheNamesLength) {
  Serve({Mail("Subscribe", "\nx\n", "\"" + std::string(200, 'x') + "\" <j@example.org>")});
  EXPECT_EQ(Run(), 1);
  TForum* forum = OpenForum("General", data_.c_str());
  EXPECT_EQ(FindMailingList("j@example.org", forum), 1);
  CloseForum(forum);
}

TEST_F(MailDecoding, ALongAddressIsPutOnTheListWholeAndTakenOff) {
  const std::string address = std::string(120, 'j') + "@example.org";
  Serve({Mail("Subscribe", "\nx\n", address)});
  EXPECT_EQ(Run(), 1);
  TForum* forum = OpenForum("General", data_.c_str());
  EXPECT_EQ(FindMailingList(address.c_str(), forum), 1);
  CloseForum(forum);
  Serve({Mail("Unsubscribe", "\nx\n", address)});
  EXPECT_EQ(Run(), 1);
  forum = OpenForum("General", data_.c_str());
  EXPECT_EQ(FindMailingList(address.c_str(), forum), 0);
  CloseForum(forum);
}

TEST_F(MailDecoding, ALinksAddressBehindALongSubjectIsWhole) {
  ASSERT_TRUE(test::MakeContainer<TLinkList>("Links", data_));
  std::string title;
  for (int i = 0; i < 70; ++i) title += "\xC3\xA4";
  Serve({"From: a@b\nTo: \"[My_Board:Links]\" <x@y>\nSubject: " + title +
         " at http://example.org/ is 3K\n\nx\n"});
  EXPECT_EQ(Run(), 1);
  const auto links = test::ItemsOf<TLinkList>("Links", data_);
  ASSERT_EQ(links.size(), 1u);
  EXPECT_EQ(links[0].subject, title.substr(0, 118));
  EXPECT_EQ(links[0].linkAddress, "http://example.org/");
  EXPECT_EQ(links[0].size, 3);
}

}  // namespace
