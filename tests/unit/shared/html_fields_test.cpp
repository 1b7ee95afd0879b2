// Every page field of forums, messages and the board, over real forums.
#include "html_board.h"
#include "support/element_times.h"
#include "text/page_fields.h"

namespace test {
namespace {

class HtmlFields : public HtmlBoard {
 protected:
  void SetUp() override { MakeForum("General Talk", "About <everything>", "gt_"); }
  // The page without the line ends that its wrapping put in.
  std::string InForum(const std::string& text) { return Unwrapped(Expand(text, "General Talk")); }
  std::string InItem(const std::string& text, DWORD item = 1) {
    return Unwrapped(Expand(text, "General Talk", item));
  }
  static std::string Formatted(const TTime& time, unsigned options) {
    char text[64];
    FormatTime(time, text, sizeof text, options);
    return text;
  }
};

// --- Values --------------------------------------------------------------------------------------

TEST_F(HtmlFields, ContainerValuesAreEscaped) {
  EXPECT_EQ(InForum("$FORUM_NAME$"), "General Talk");
  EXPECT_EQ(InForum("$FORUM_DESCRIPTION$"), "About &lt;everything&gt;");
  EXPECT_EQ(InForum("$FORUM_PREFIX$"), "gt_");
}

TEST_F(HtmlFields, OnlyMarkedValuesAreUrlEncodedInsideATag) {
  MakeForum("A B", "c d", "p q");
  EXPECT_EQ(Unwrapped(Expand("<a x=\"$FORUM_PREFIX$\" y=\"$FORUM_NAME$\">", "A B")),
            "<a x=\"p%20q\" y=\"A B\">");
  EXPECT_EQ(Unwrapped(Expand("$FORUM_PREFIX$", "A B")), "p q");
}

TEST_F(HtmlFields, TheSizeOfAForumIsItsMessageCount) {
  EXPECT_EQ(InForum("$FORUM_SIZE$"), "0");
  Add("General Talk");
  Add("General Talk");
  EXPECT_EQ(InForum("$FORUM_SIZE$,$SIZE$"), "2,2");
}

TEST_F(HtmlFields, ItemValues) {
  Add("General Talk", {.subject = "A & B",
                       .from = "\"Ann <b> Lee\" <ann@example.org>",
                       .values = {{"Charset", "utf-8"}, {"Colour", "a b<"}}});
  EXPECT_EQ(InItem("$MESSAGE_SUBJECT$"), "A &amp; B");
  EXPECT_EQ(InItem("$MESSAGE_FROM$"), "Ann &lt;b&gt; Lee");
  EXPECT_EQ(InItem("$MESSAGE_CHARSET$"), "utf-8");
  EXPECT_EQ(InItem("$MESSAGE_OTHER(Colour)$"), "a b&lt;");
  EXPECT_EQ(InItem("<i x=\"$MESSAGE_OTHER(Colour)$\">"), "<i x=\"a%20b&lt;\">");
}

TEST_F(HtmlFields, TheAddressIsTheOneInAngleBrackets) {
  Add("General Talk", {.from = "Ann Lee <ann@example.org>"});
  EXPECT_EQ(InItem("$MESSAGE_FROM_ADDRESS$"), "ann@example.org");
}

TEST_F(HtmlFields, OtherValuesNeedTheirName) {
  Add("General Talk");
  EXPECT_EQ(InItem("[$MESSAGE_OTHER$]"), "[]");
  EXPECT_EQ(InItem("[$MESSAGE_OTHER(No Such)$]"), "[]");
}

TEST_F(HtmlFields, ATextWithDollarsIsNeverATag) {
  Add("General Talk", {.subject = "$FORUM_NAME$"});
  EXPECT_EQ(InItem("$MESSAGE_SUBJECT$"), "$FORUM_NAME$");
}

TEST_F(HtmlFields, HostileSubjectsStayText) {
  Add("General Talk", {.subject = "\"><script>alert(1)</script>%n%s\xBB"
                                  "DATE\xAB"});
  const std::string page = InItem("<a title=\"$MESSAGE_SUBJECT$\">$MESSAGE_SUBJECT$</a>");
  EXPECT_EQ(page.find("<script"), std::string::npos) << page;
  EXPECT_NE(page.find("&quot;&gt;&lt;script&gt;alert(1)&lt;/script&gt;%n%s&raquo;DATE&laquo;"),
            std::string::npos)
      << page;
}

// --- Addresses -----------------------------------------------------------------------------------

TEST_F(HtmlFields, PostingAddressOfAForum) {
  EXPECT_EQ(InForum("$FORUM_POST$"),
            "mailto:&quot;[My_Board:General_Talk]&quot;&lt;board@example.org&gt;");
}

TEST_F(HtmlFields, PostingAddressesOfTheBoard) {
  EXPECT_EQ(Unwrapped(Expand("$POST$")),
            "mailto:&quot;[My_Board:Message_forum]&quot;&lt;board@example.org&gt;");
  EXPECT_EQ(Unwrapped(Expand("$SUBMIT$")),
            "mailto:&quot;[My_Board:Resource_list]&quot;&lt;board@example.org&gt;");
  EXPECT_EQ(Unwrapped(Expand("$SURVEY_SUBMIT$")),
            "mailto:&quot;[My_Board:Survey]&quot;&lt;board@example.org&gt;");
}

TEST_F(HtmlFields, ThePostingAddressUsesTheShortName) {
  Set("BBS Short Name", "My B");
  EXPECT_EQ(InForum("$FORUM_POST$"),
            "mailto:&quot;[My_B:General_Talk]&quot;&lt;board@example.org&gt;");
}

TEST_F(HtmlFields, RepliesToTheBoardAndToTheAuthorDifferInOneBlank) {
  Add("General Talk", {.subject = "Hello", .from = "ann@example.org"});
  EXPECT_EQ(InItem("$MESSAGE_REPLY$"),
            "mailto:&quot;[My_Board:General_Talk:1]&quot;&lt;board@example.org&gt;"
            "?Subject=Re:Hello");
  EXPECT_EQ(InItem("$MESSAGE_MAIL$"), "mailto:ann@example.org?Subject=Re: Hello");
}

TEST_F(HtmlFields, ASubjectThatIsAReplysGetsNoSecondMark) {
  Add("General Talk", {.subject = "Re:x", .from = "ann@example.org"});
  EXPECT_EQ(InItem("$MESSAGE_REPLY$"),
            "mailto:&quot;[My_Board:General_Talk:1]&quot;&lt;board@example.org&gt;?Subject=Re:x");
  EXPECT_EQ(InItem("$MESSAGE_MAIL$"), "mailto:ann@example.org?Subject=Re:x");
}

TEST_F(HtmlFields, AddressesAreUrlEncodedInsideATagUpToTheQuestionMark) {
  Add("General Talk", {.subject = "a b", .from = "Ann Lee <ann@example.org>"});
  EXPECT_EQ(InItem("<a href=\"$MESSAGE_MAIL$\">"),
            "<a href=\"mailto:Ann%20Lee%20&lt;ann@example.org&gt;?Subject=Re: a b\">");
}

// --- Times ---------------------------------------------------------------------------------------

TEST_F(HtmlFields, MessageTimesAreWrittenAsTheyAreStored) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  Add("General Talk", {.time = TTime(2000, 1, 5, 22, 30, 45)});
  EXPECT_EQ(InItem("$MESSAGE_DATE$"), "Wed, 5 Jan 2000");
  EXPECT_EQ(InItem("$MESSAGE_TIME$"), "10:30 PM");
  EXPECT_EQ(InItem("$MESSAGE_DATE(American)$"), "Wed, Jan 5 2000");
  EXPECT_EQ(InItem("$MESSAGE_TIME(24HR+Second)$"), "22:30:45");
  EXPECT_EQ(InItem("$MESSAGE_TIME(24 Hour Zone)$"), "22.30");
  EXPECT_EQ(InItem("$MESSAGE_TIME(Second+Short)$"), "10:30 PM");
  EXPECT_EQ(InItem("$MESSAGE_DATE( )$"), "Wed, 5 Jan 2000");
}

TEST_F(HtmlFields, ModifiedTimes) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  Add("General Talk", {.time = TTime(2000, 1, 5, 22, 30, 45)});
  EXPECT_EQ(InItem("$MESSAGE_DATE_MODIFIED$"), "Wed, 5 Jan 2000");
  EXPECT_EQ(InItem("$MESSAGE_TIME_MODIFIED(24HR)$"), "22:30");
}

TEST_F(HtmlFields, DateAndTimeOfTheBoardAreNow) {
  const TTime before = TTime::Now();
  const std::string date = Unwrapped(Expand("$DATE$"));
  const std::string time = Unwrapped(Expand("$TIME(24HR)$"));
  const TTime after = TTime::Now();
  EXPECT_TRUE(date == Formatted(before, 1045) || date == Formatted(after, 1045)) << date;
  EXPECT_TRUE(time == Formatted(before, 0x202) || time == Formatted(after, 0x202)) << time;
}

TEST_F(HtmlFields, AMessageOfTodayIsNew) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  Add("General Talk", {.time = TTime::Now()});
  EXPECT_EQ(InItem("[$MESSAGE_IS_NEW$]"), "[new]");
  EXPECT_EQ(InItem("[$MESSAGE_IS_NEW(0)$]"), "[new]");
  EXPECT_EQ(InItem("[$MESSAGE_IS_NEW(3,fresh)$]"), "[fresh]");
  EXPECT_EQ(InItem("[$MESSAGE_IS_NEW( ,fresh)$]"), "[fresh]");
  EXPECT_EQ(InItem("[$MESSAGE_IS_NEW(-1)$]"), "[]");
}

TEST_F(HtmlFields, NothingOfLastMonthIsNew) {
  const TTime today = TTime::Now();
  TTime first(today.Year(), today.Month(), 1, 0, 0, 0);
  const TTime lastOfMonth = TTime::FromTicks(first.Ticks() - 1);
  Add("General Talk", {.time = lastOfMonth});
  EXPECT_EQ(InItem("[$MESSAGE_IS_NEW(40)$]"), "[]");
}

TEST_F(HtmlFields, NewGoesByTheDayOfTheMonth) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  const TTime today = TTime::Now();
  const TTime first(today.Year(), today.Month(), 1, 12, 0, 0);
  Add("General Talk", {.time = first});
  EXPECT_EQ(InItem("[$MESSAGE_IS_NEW(" + std::to_string(today.Day() - 1) + ")$]"), "[new]");
  EXPECT_EQ(InItem("[$MESSAGE_IS_NEW(" + std::to_string(today.Day() - 2) + ")$]"), "[]");
}

TEST_F(HtmlFields, ALaterDayOfThisMonthIsNew) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  const TTime today = TTime::Now();
  constexpr std::uint64_t kTicksPerDay = 24 * 36000000000ULL;
  const TTime tomorrow = TTime::FromTicks(today.Ticks() + kTicksPerDay);
  const bool sameMonth = tomorrow.Month() == today.Month();
  Add("General Talk", {.time = tomorrow});
  EXPECT_EQ(InItem("[$MESSAGE_IS_NEW(0)$]"), sameMonth ? "[new]" : "[]");
  // So far ahead that only the year or the month differs.
  Add("General Talk", {.time = TTime::FromTicks(today.Ticks() + 366 * kTicksPerDay)});
  EXPECT_EQ(InItem("[$MESSAGE_IS_NEW(31)$]", 2), "[]");
}

// --- Threads -------------------------------------------------------------------------------------

TEST_F(HtmlFields, IndentationFollowsTheThread) {
  Add("General Talk");
  Add("General Talk", {.linkId = 1});
  Add("General Talk", {.linkId = 2});
  EXPECT_EQ(InItem("$MESSAGE_INDENTATION$x$MESSAGE_INDENTATION_END$", 1), "x");
  EXPECT_EQ(InItem("$MESSAGE_INDENTATION$x$MESSAGE_INDENTATION_END$", 3),
            "<blockquote>x</blockquote>");
  EXPECT_EQ(
      InItem("$MESSAGE_INDENTATION(indent_reply)$x$MESSAGE_INDENTATION_END(indent_reply)$", 3),
      "<blockquote><blockquote>x</blockquote></blockquote>");
}

TEST_F(HtmlFields, IndentationTakesItsTextsFromItsArguments) {
  Add("General Talk");
  Add("General Talk", {.linkId = 1});
  Add("General Talk", {.linkId = 2});
  EXPECT_EQ(InItem("$MESSAGE_INDENTATION(indent_reply,a,b,c)$", 3), "abbc");
  EXPECT_EQ(InItem("$MESSAGE_INDENTATION(other,a,b,c)$", 3), "abc");
  EXPECT_EQ(InItem("$MESSAGE_INDENTATION(indent_reply, ,i, )$", 3), "ii");
  EXPECT_EQ(InItem("[$MESSAGE_INDENTATION(indent_reply, , )$]", 3), "[]");
  EXPECT_EQ(InItem("[$MESSAGE_INDENTATION(indent_reply,a,b,c)$]", 1), "[ac]");
}

// --- Content -------------------------------------------------------------------------------------

TEST_F(HtmlFields, HtmlContentIsCopied) {
  Add("General Talk", {.content = "<p class=\"x\">a &amp; b</p>", .type = "text/html"});
  EXPECT_EQ(InItem("$MESSAGE_CONTENT$"), "<p class=\"x\">a &amp; b</p>");
}

TEST_F(HtmlFields, ContentWithoutATypeIsHtml) {
  Add("General Talk", {.content = "<b>x</b>", .type = ""});
  Add("General Talk", {.content = "<b>y</b>", .type = "", .values = {{"Document Type", ""}}});
  EXPECT_EQ(InItem("$MESSAGE_CONTENT$", 1), "<b>x</b>");
  EXPECT_EQ(InItem("$MESSAGE_CONTENT$", 2), "<b>y</b>");
}

TEST_F(HtmlFields, ContentOfAnyOtherTypeIsPlainText) {
  Add("General Talk", {.content = "a <b>\r\n\r\nline two", .type = "text/x-other"});
  EXPECT_EQ(InItem("$MESSAGE_CONTENT$"), "a &lt;b&gt;<br><br>line two");
}

TEST_F(HtmlFields, AnItemWithoutContentWritesNothing) {
  Add("General Talk", {.content = "", .attachments = {{"0000a.txt", "a.txt"}}});
  EXPECT_EQ(InItem("[$MESSAGE_CONTENT(Attachment)$]"), "[]");
}

TEST_F(HtmlFields, ALongPlainLineStaysOneLine) {
  std::string line;
  for (int i = 0; i < 100; ++i) line += "word" + std::to_string(i) + " ";
  Add("General Talk", {.content = "x\r\n" + line + "\r\nend"});
  const std::string page = Expand("$MESSAGE_CONTENT$", "General Talk", 1);
  EXPECT_EQ(page.find("<br>"), std::string::npos) << page;
  EXPECT_NE(page.find("<p>"), std::string::npos);
  EXPECT_NE(page.find("word99"), std::string::npos);
}

TEST_F(HtmlFields, AttachmentsAreListedUnderTheirNames) {
  Add("General Talk",
      {.content = "x", .attachments = {{"ab12report.pdf", "r"}, {"ab13my_long_name.txt", "m"}}});
  EXPECT_EQ(InItem("$MESSAGE_CONTENT$"), "x");
  EXPECT_EQ(InItem("$MESSAGE_CONTENT(Attachment)$"),
            "x<p><hr>Attachments: <p><blockquote>"
            "<a href=\"ab12report.pdf\">report.pdf</a>, "
            "<a href=\"ab13my_long_name.txt\">my long name</a></blockquote></p>");
}

TEST_F(HtmlFields, OneAttachmentHasASingularCaptionAndACaptionCanBeGiven) {
  Add("General Talk", {.content = "x", .attachments = {{"ab12a.pdf", "r"}}});
  EXPECT_EQ(InItem("$MESSAGE_CONTENT(Attachment)$"),
            "x<p><hr>Attachment: <p><blockquote><a href=\"ab12a.pdf\">a.pdf</a></blockquote></p>");
  EXPECT_EQ(InItem("$MESSAGE_CONTENT(Attachment,Files)$"),
            "x<p><hr>Files<p><blockquote><a href=\"ab12a.pdf\">a.pdf</a></blockquote></p>");
  EXPECT_EQ(InItem("$MESSAGE_CONTENT(Attachments)$"), "x");
}

TEST_F(HtmlFields, AnAttachmentsFileIsFoundByItsNameOrTheStartOfItsOther) {
  Add("General Talk",
      {.content = "x", .attachments = {{"ab12a.pdf", "cid:part1"}, {"ab13b.txt", "notes.txt"}}});
  EXPECT_EQ(InItem("$MESSAGE_ATTACHMENT_FILENAME(cid:part)$"), "ab12a.pdf");
  EXPECT_EQ(InItem("$MESSAGE_ATTACHMENT_FILENAME(AB13B.TXT)$"), "ab13b.txt");
  EXPECT_EQ(InItem("$MESSAGE_ATTACHMENT_FILENAME(notes)$"), "ab13b.txt");
  EXPECT_EQ(InItem("[$MESSAGE_ATTACHMENT_FILENAME(zzz)$]"), "[]");
  EXPECT_EQ(InItem("[$MESSAGE_ATTACHMENT_FILENAME$]"), "[]");
}

TEST_F(HtmlFields, AnAttachmentsContentIsCopiedFromTheSite) {
  Add("General Talk", {.content = "x", .attachments = {{"ab12a.htm", "first"}, {"ab13", "gone"}}});
  WriteFileBytes(SitePath("ab12a.htm"), "<i>inside</i>$FORUM_NAME$");
  EXPECT_EQ(InItem("$MESSAGE_ATTACHMENT_CONTENT(first)$"), "<i>inside</i>$FORUM_NAME$");
  EXPECT_EQ(InItem("[$MESSAGE_ATTACHMENT_CONTENT$]"), "[]");
  EXPECT_EQ(InItem("[$MESSAGE_ATTACHMENT_CONTENT(zzz)$]"), "[]");
}

TEST_F(HtmlFields, AnAttachmentThatIsGoneIsAnError) {
  Add("General Talk", {.content = "x", .attachments = {{"ab13", "gone"}}});
  EXPECT_EQ(InItem("$MESSAGE_ATTACHMENT_CONTENT(gone)$"), "***ERROR: Cannot open resource***");
  EXPECT_TRUE(Logged("Cannot open resource"));
}

TEST_F(HtmlFields, AnAttachmentsNameNeverLeavesTheSite) {
  WriteFileBytes(root_ / "secret", "secret");
  Add("General Talk", {.content = "x", .attachments = {{"../secret", "up"}, {"..", "dir"}}});
  EXPECT_EQ(InItem("$MESSAGE_ATTACHMENT_CONTENT(up)$"), "***ERROR: Cannot open resource***");
  EXPECT_EQ(InItem("$MESSAGE_ATTACHMENT_CONTENT(dir)$"), "***ERROR: Cannot open resource***");
}

TEST_F(HtmlFields, APageOfAnItemThatIsGoneIsNotMade) {
  Add("General Talk", {.subject = "one"});
  Add("General Talk", {.subject = "two"});
  EXPECT_EQ(Expand("<p>$MESSAGE_SUBJECT$</p>", "General Talk", 2), "<p>two</p>");
  EXPECT_EQ(Expand("<p>$MESSAGE_SUBJECT$</p>", "General Talk", 9), kNoPage);
  EXPECT_TRUE(Logged("Cannot open message 9 in General Talk"));
}

// --- References ----------------------------------------------------------------------------------

TEST_F(HtmlFields, AQualifierNamesAnotherObject) {
  MakeForum("Another");
  Add("General Talk", {.subject = "one"});
  Add("General Talk", {.subject = "two"});
  EXPECT_EQ(InForum("$Prev.FORUM_NAME$"), "Another");
  EXPECT_EQ(InForum("$another.FORUM_NAME$"), "Another");
  EXPECT_EQ(InForum("[$Next.FORUM_NAME$]"), "[]");
  EXPECT_EQ(InForum("$Last.MESSAGE_SUBJECT$"), "two");
  EXPECT_EQ(InForum("$1.MESSAGE_SUBJECT$"), "one");
  EXPECT_EQ(InItem("$Next.MESSAGE_SUBJECT$ $MESSAGE_SUBJECT$"), "two one");
  EXPECT_EQ(InItem("$1.MESSAGE_SUBJECT$"), "one");
  EXPECT_EQ(InItem("$*.MESSAGE_SUBJECT$ $All.MESSAGE_SUBJECT$ $~.MESSAGE_SUBJECT$"), "one one one");
  EXPECT_EQ(InItem("[$Prev.MESSAGE_SUBJECT$]"), "[]");
  EXPECT_EQ(Unwrapped(Expand("$First.FORUM_NAME$ $Last.FORUM_NAME$")), "Another General Talk");
  EXPECT_EQ(Unwrapped(Expand("[$First.MESSAGE_SUBJECT$]")), "[]");
}

TEST_F(HtmlFields, AnObjectThatIsNotThereIsAnError) {
  Add("General Talk");
  EXPECT_EQ(InForum("$No such.FORUM_NAME$"),
            "***ERROR: Cannot find data file of message forum No such***");
  EXPECT_TRUE(Logged("Cannot find data file of message forum No such"));
  EXPECT_EQ(InForum("$7.MESSAGE_SUBJECT$"),
            "***ERROR: Cannot find data file of message forum 7***");
  EXPECT_EQ(InForum("$01.MESSAGE_SUBJECT$"),
            "***ERROR: Cannot find data file of message forum 01***");
  EXPECT_EQ(InForum("$next.MESSAGE_SUBJECT$"),
            "***ERROR: Cannot find data file of message forum next***");
}

TEST_F(HtmlFields, MoreThanOneQualifierIsAnError) {
  EXPECT_EQ(InForum("$A.B.C.FORUM_NAME$"), "***ERROR: Invalid identifiers***");
  EXPECT_TRUE(Logged("Invalid identifiers"));
}

TEST_F(HtmlFields, AFieldOfTheBoardHasNoObjectToName) {
  EXPECT_EQ(Unwrapped(Expand("$Next.POST$")), "***ERROR: Invalid identifier***");
  EXPECT_EQ(Unwrapped(Expand("$A.B.POST$")), "***ERROR: Invalid identifiers***");
}

TEST_F(HtmlFields, ADamagedForumIsAnErrorAndFailsTheRun) {
  WriteFileBytes(root_ / "Data/Broken.mwd", "no compound document at all");
  EXPECT_EQ(Unwrapped(Expand("$Broken.FORUM_NAME$")),
            "***ERROR: Cannot open data file of message forum Broken***");
  EXPECT_TRUE(failed_);
  EXPECT_TRUE(Logged("Cannot open data file of message forum Broken"));
}

TEST_F(HtmlFields, AMessageThatCannotBeOpenedIsAnErrorButFailsNoRun) {
  Add("General Talk");
  TForum* forum = OpenForum("General Talk", (root_ / "Data/").c_str());
  forum->Storage().DeleteElement("1");
  CloseForum(forum);
  EXPECT_EQ(InItem("$MESSAGE_SUBJECT$"), "***ERROR: Cannot open message 1 in General Talk***");
  EXPECT_FALSE(failed_);
}

// --- Pages ---------------------------------------------------------------------------------------

TEST_F(HtmlFields, AForumsPageIsMadeFromTheTemplateOfTheArgument) {
  Template("list.htm", "x");
  EXPECT_EQ(InForum("$FORUM_FILENAME(list)$"), "gt_list--f--general_talk.htm");
  EXPECT_EQ(pages_, std::vector<std::string>{"gt_list--f--general_talk.htm"});
  EXPECT_EQ(InForum("$FORUM_FILENAME(list.htm)$"), "gt_list--f--general_talk.htm");
}

TEST_F(HtmlFields, WithoutAnArgumentItIsMadeFromTheMessageListsTemplate) {
  Template("messages.htm", "x");
  EXPECT_EQ(InForum("[$FORUM_FILENAME$]"), "[]");
  Set("HTML File - Message list", "messages");
  EXPECT_EQ(InForum("$FORUM_FILENAME$"), "gt_messages--f--general_talk.htm");
  EXPECT_EQ(pages_, std::vector<std::string>{"gt_messages--f--general_talk.htm"});
  EXPECT_EQ(InForum("$FORUM_FILENAME( )$"), "gt_messages--f--general_talk.htm");
}

TEST_F(HtmlFields, AMissingTemplateIsAnError) {
  EXPECT_EQ(InForum("$FORUM_FILENAME(gone)$"), "***ERROR: Cannot open template gone.htm***");
  EXPECT_TRUE(Logged("Cannot open template gone.htm"));
  EXPECT_TRUE(pages_.empty());
}

TEST_F(HtmlFields, AMessagesPageWithoutAnArgumentIsNamedButNotMade) {
  Template("message.htm", "x");
  Add("General Talk");
  EXPECT_EQ(InItem("$MESSAGE_FILENAME$"), "gt_page--f--general_talk--1.htm");
  EXPECT_TRUE(pages_.empty());
  EXPECT_EQ(InItem("$MESSAGE_FILENAME(message)$"), "gt_message--f--general_talk--1.htm");
  EXPECT_EQ(pages_, std::vector<std::string>{"gt_message--f--general_talk--1.htm"});
}

TEST_F(HtmlFields, NeighboursHaveTheNamesOfPagesOfTheTemplateAtHand) {
  MakeForum("Another");
  MakeForum("Zoo", "", "z");
  Add("General Talk");
  Add("General Talk");
  Add("General Talk");
  Remove("General Talk", 2);
  EXPECT_EQ(InForum("$FORUM_PREV$ $FORUM_NEXT$"), "page--f--another.htm zpage--f--zoo.htm");
  EXPECT_EQ(InForum("$FORUM_NEXT( )$"), "zpage--f--zoo.htm");
  EXPECT_EQ(InForum("$FORUM_NEXT(First)$"), "page--f--another.htm");
  EXPECT_EQ(InForum("$FORUM_NEXT(zoo)$"), "zpage--f--zoo.htm");
  EXPECT_EQ(InForum("$FORUM_NEXT(~)$"), "gt_page--f--general_talk.htm");
  EXPECT_EQ(Unwrapped(Expand("[$FORUM_NEXT$][$FORUM_PREV(Next)$]", "Zoo")), "[][]");
  EXPECT_EQ(InItem("$MESSAGE_NEXT$", 1), "gt_page--f--general_talk--3.htm");
  EXPECT_EQ(InItem("[$MESSAGE_PREV$]", 1), "[]");
  EXPECT_EQ(InItem("$MESSAGE_PREV$", 3), "gt_page--f--general_talk--1.htm");
  EXPECT_EQ(InItem("[$MESSAGE_NEXT$]", 3), "[]");
  EXPECT_EQ(InItem("$MESSAGE_NEXT(First)$", 3), "gt_page--f--general_talk--1.htm");
  EXPECT_EQ(InItem("$MESSAGE_NEXT(2)$", 3),
            "***ERROR: Cannot find data file of message forum 2***");
  EXPECT_TRUE(pages_.empty());
}

TEST_F(HtmlFields, TheOriginalIsThePageIfTheSiteHoldsIt) {
  Add("General Talk");
  EXPECT_EQ(InItem("[$MESSAGE_ORIGINAL$]"), "[]");
  WriteFileBytes(SitePath("gt_page--f--general_talk--1.htm"), "x");
  EXPECT_EQ(InItem("[$MESSAGE_ORIGINAL$]"), "[gt_page--f--general_talk--1.htm]");
}

TEST_F(HtmlFields, EmptyParenthesesAreNoArguments) {
  Add("General Talk");
  EXPECT_EQ(InItem("$MESSAGE_SUBJECT()$"), "$MESSAGE_SUBJECT()$");
}

// --- Repeated parts ------------------------------------------------------------------------------

TEST_F(HtmlFields, WithoutACurrentForumAllAreWrittenByName) {
  MakeForum("beta");
  MakeForum("Alpha");
  EXPECT_EQ(Unwrapped(Expand("<ul><li>$FORUM_NAME$</li></ul>")),
            "<ul><li>Alpha</li><li>beta</li><li>General Talk</li></ul>");
}

TEST_F(HtmlFields, InAForumAllItsMessagesAreWritten) {
  Add("General Talk", {.subject = "one"});
  Add("General Talk", {.subject = "two"});
  EXPECT_EQ(InForum("<ul><li>$MESSAGE_SUBJECT$ $FORUM_NAME$</li></ul>"),
            "<ul><li>one General Talk</li><li>two General Talk</li></ul>");
}

TEST_F(HtmlFields, MessagesStandInsideTheirForumsPart) {
  MakeForum("Alpha");
  Add("Alpha", {.subject = "a1"});
  Add("General Talk", {.subject = "g1"});
  Add("General Talk", {.subject = "g2"});
  EXPECT_EQ(Unwrapped(Expand("<div><h2>$FORUM_NAME$</h2><p>$MESSAGE_SUBJECT$</p></div>")),
            "<div><h2>Alpha</h2><p>a1</p></div>"
            "<div><h2>General Talk</h2><p>g1</p><p>g2</p></div>");
}

TEST_F(HtmlFields, WithoutMessagesThePartGoes) {
  EXPECT_EQ(InForum("<ul><li>$MESSAGE_SUBJECT$</li></ul>"), "<ul></ul>");
  EXPECT_EQ(Unwrapped(Expand("<ul><li>$MESSAGE_SUBJECT$</li></ul>")), "<ul></ul>");
}

TEST_F(HtmlFields, ADamagedForumIsPassedOverInARepeatedPart) {
  WriteFileBytes(root_ / "Data/Broken.mwd", "no compound document at all");
  EXPECT_EQ(Unwrapped(Expand("<ul><li>$FORUM_NAME$</li></ul>")), "<ul><li>General Talk</li></ul>");
  EXPECT_TRUE(Logged("Cannot open data file of message forum Broken"));
  EXPECT_TRUE(failed_);
}

TEST_F(HtmlFields, AMessageThatIsGoneIsPassedOverInARepeatedPart) {
  Add("General Talk", {.subject = "one"});
  Add("General Talk", {.subject = "two"});
  TForum* forum = OpenForum("General Talk", (root_ / "Data/").c_str());
  forum->Storage().DeleteElement("1");
  CloseForum(forum);
  EXPECT_EQ(InForum("<ul><li>$MESSAGE_SUBJECT$</li></ul>"), "<ul><li>two</li></ul>");
  EXPECT_TRUE(Logged("Cannot open message 1 in General Talk"));
}

}  // namespace
}  // namespace test
