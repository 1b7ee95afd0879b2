// Every page field there is: without arguments, with some, with wrong ones, and without an object.
#include "html_board.h"
#include "support/element_times.h"
#include "text/page_fields.h"

namespace test {
namespace {

using brevant::TBoardKind;

struct Case {
  const char* tag;
  const char* plain;
  const char* arguments;
  const char* value;
  const char* wrongArguments;
  const char* wrongValue;
};

constexpr const char* kNow = "(now)";
constexpr const char* kAttachments =
    "Text<p><hr>Attachment: <p><blockquote><a href=\"ab12a.txt\">a.txt</a></blockquote></p>";
constexpr const char* kBoardPost =
    "mailto:&quot;[My_Board:Message_forum]&quot;&lt;board@example.org&gt;";
constexpr const char* kBoardSubmit =
    "mailto:&quot;[My_Board:Resource_list]&quot;&lt;board@example.org&gt;";
constexpr const char* kSurveySubmit =
    "mailto:&quot;[My_Board:Survey]&quot;&lt;board@example.org&gt;";
constexpr const char* kForumPost =
    "mailto:&quot;[My_Board:General_Talk]&quot;&lt;board@example.org&gt;";
constexpr const char* kListSubmit =
    "mailto:&quot;[My_Board:Links_&amp;_more]&quot;&lt;board@example.org&gt;";
constexpr const char* kReply =
    "mailto:&quot;[My_Board:General_Talk:2]&quot;&lt;board@example.org&gt;?Subject=Re:Hello";
constexpr const char* kMail = "mailto:&quot;Ann Lee&quot; &lt;ann@example.org&gt;?Subject=Re:Hello";
constexpr const char* kGone = "***ERROR: Cannot open template gone.htm***";
constexpr const char* kNoForum = "***ERROR: Cannot find data file of message forum none***";
constexpr const char* kNoList = "***ERROR: Cannot find data file of resource list none***";
constexpr const char* kNoQuestion = "***ERROR: Cannot find data file of survey question none***";

// In the order of the table. On each page the second of three containers of a kind and its second
// item are current.
constexpr Case kCases[] = {
    {"DATE", kNow, "(American)", kNow, "(x)", kNow},
    {"TIME", kNow, "(24HR)", kNow, "(x)", kNow},
    {"BACK", "", "(x)", "", "(,)", ""},
    {"FORUM_NAME", "General Talk", "(x)", "General Talk", "(,)", "General Talk"},
    {"FORUM_DESCRIPTION", "About &lt;b&gt;", "(x)", "About &lt;b&gt;", "(,)", "About &lt;b&gt;"},
    {"FORUM_PREFIX", "gt_", "(x)", "gt_", "(,)", "gt_"},
    {"FORUM_POST", kForumPost, "(x)", kForumPost, "(,)", kForumPost},
    {"FORUM_SIZE", "3", "(Meg)", "3", "(,)", "3"},
    {"SIZE", "3", "(Meg)", "3", "(,)", "3"},
    {"FORUM_FILENAME", "gt_messages--f--general_talk.htm", "(item)", "gt_item--f--general_talk.htm",
     "(gone)", kGone},
    {"FORUM_NEXT", "page--f--zoo.htm", "(First)", "page--f--alpha.htm", "(none)", kNoForum},
    {"FORUM_PREV", "page--f--alpha.htm", "(Last)", "page--f--zoo.htm", "(none)", kNoForum},
    {"POST", kBoardPost, "(x)", kBoardPost, "(,)", kBoardPost},
    {"LIST_NAME", "Links &amp; more", "(x)", "Links &amp; more", "(,)", "Links &amp; more"},
    {"LIST_DESCRIPTION", "d&lt;e", "(x)", "d&lt;e", "(,)", "d&lt;e"},
    {"LIST_PREFIX", "li_", "(x)", "li_", "(,)", "li_"},
    {"LIST_SIZE", "3", "(Meg)", "3", "(,)", "3"},
    {"COUNT", "3", "(Meg)", "3", "(,)", "3"},
    {"LIST_FILENAME", "li_links--l--links_-26_more.htm", "(item)", "li_item--l--links_-26_more.htm",
     "(gone)", kGone},
    {"LIST_SUBMIT", kListSubmit, "(x)", kListSubmit, "(,)", kListSubmit},
    {"LIST_NEXT", "page--l--zone.htm", "(archive)", "page--r--archive.htm", "(none)", kNoList},
    {"LIST_PREV", "page--r--archive.htm", "(~)", "li_page--l--links_-26_more.htm", "(none)",
     kNoList},
    {"SUBMIT", kBoardSubmit, "(x)", kBoardSubmit, "(,)", kBoardSubmit},
    {"MESSAGE_DATE", "Wed, 5 Jan 2000", "(American)", "Wed, Jan 5 2000", "(Americans)",
     "Wed, 5 Jan 2000"},
    {"MESSAGE_TIME", "10:30 PM", "(24HR+Second)", "22:30:45", "(24hr)", "10:30 PM"},
    {"MESSAGE_DATE_MODIFIED", "Thr, 6 Jan 2000", "(American)", "Thr, Jan 6 2000", "(x)",
     "Thr, 6 Jan 2000"},
    {"MESSAGE_TIME_MODIFIED", "8:09 AM", "(Zone)", "8.09 AM", "(zone)", "8:09 AM"},
    {"MESSAGE_FROM", "Ann Lee", "(x)", "Ann Lee", "(,)", "Ann Lee"},
    {"MESSAGE_FROM_ADDRESS", "ann@example.org", "(x)", "ann@example.org", "(,)", "ann@example.org"},
    {"MESSAGE_SUBJECT", "Re:Hello", "(x)", "Re:Hello", "(,)", "Re:Hello"},
    {"MESSAGE_CHARSET", "iso-8859-1", "(x)", "iso-8859-1", "(,)", "iso-8859-1"},
    {"MESSAGE_CONTENT", "Text", "(Attachment)", kAttachments, "(attachment)", "Text"},
    {"MESSAGE_REPLY", kReply, "(x)", kReply, "(,)", kReply},
    {"MESSAGE_MAIL", kMail, "(x)", kMail, "(,)", kMail},
    {"MESSAGE_FILENAME", "gt_page--f--general_talk--2.htm", "(item.htm)",
     "gt_item--f--general_talk--2.htm", "(gone)", kGone},
    {"MESSAGE_PREV", "gt_page--f--general_talk--1.htm", "(Next)", "gt_page--f--general_talk--3.htm",
     "(none)", kNoForum},
    {"MESSAGE_NEXT", "gt_page--f--general_talk--3.htm", "(Previous)",
     "gt_page--f--general_talk--1.htm", "(none)", kNoForum},
    {"MESSAGE_ORIGINAL", "gt_page--f--general_talk--2.htm", "(x)",
     "gt_page--f--general_talk--2.htm", "(,)", "gt_page--f--general_talk--2.htm"},
    {"MESSAGE_INDENTATION", "<blockquote>", "(indent_reply,a,b,c)", "abc", "(x)", "<blockquote>"},
    {"MESSAGE_INDENTATION_END", "</blockquote>", "(indent_reply,a,b,c)", "abc", "(x)",
     "</blockquote>"},
    {"MESSAGE_IS_NEW", "", "(99,fresh)", "", "(x)", ""},
    {"MESSAGE_ATTACHMENT_FILENAME", "", "(notes)", "ab12a.txt", "(none)", ""},
    {"MESSAGE_ATTACHMENT_CONTENT", "", "(notes)", "inside", "(none)", ""},
    {"MESSAGE_OTHER", "", "(Colour)", "a b&lt;", "(none)", ""},
    {"LINK_DATE", "Wed, 5 Jan 2000", "(American)", "Wed, Jan 5 2000", "(Americans)",
     "Wed, 5 Jan 2000"},
    {"LINK_TIME", "10:30 PM", "(24 Hour)", "22:30", "(24 hour)", "10:30 PM"},
    {"LINK_NAME", "Bre&amp;vant", "(x)", "Bre&amp;vant", "(,)", "Bre&amp;vant"},
    {"LINK_SUBJECT", "Bre&amp;vant", "(x)", "Bre&amp;vant", "(,)", "Bre&amp;vant"},
    {"LINK_ADDRESS", "http://example.org/a b", "(x)", "http://example.org/a b", "(,)",
     "http://example.org/a b"},
    {"LINK_OTHER", "", "(Colour)", "a b&lt;", "(none)", ""},
    {"LINK_FILENAME", "li_page--l--links_-26_more--2.htm", "(item)",
     "li_item--l--links_-26_more--2.htm", "(gone)", kGone},
    {"LINK_PREV", "li_page--l--links_-26_more--1.htm", "(3)", "li_page--l--links_-26_more--3.htm",
     "(none)", kNoList},
    {"LINK_NEXT", "li_page--l--links_-26_more--3.htm", "(First)",
     "li_page--l--links_-26_more--1.htm", "(none)", kNoList},
    {"LINK_SUMMARY", "<b>About</b>", "(Attachment)",
     "<b>About</b><p><hr>Attachment: <p><blockquote><a href=\"ab12a.txt\">a.txt</a>"
     "</blockquote></p>",
     "(attachment)", "<b>About</b>"},
    {"LINK_SIZE", "1500", "(Meg)", "1.00", "(meg)", "1500"},
    {"LINK_IS_NEW", "", "(99,fresh)", "", "(x)", ""},
    {"LINK_DOWNLOAD_ESTIMATE", "1", "(28.8,Second)", "52", "(0,Seconds)", "1"},
    {"LINK_ATTACHMENT_FILENAME", "", "(AB12A.txt)", "ab12a.txt", "(none)", ""},
    {"LINK_ATTACHMENT_CONTENT", "", "(notes)", "inside", "(none)", ""},
    {"QUESTION", "Best colour", "(x)", "Best colour", "(,)", "Best colour"},
    {"QUESTION_FILENAME", "answers--q--best_colour.htm", "(item)", "item--q--best_colour.htm",
     "(gone)", kGone},
    {"QUESTION_NEXT", "page--q--zebra.htm", "(First)", "page--q--a_first.htm", "(none)",
     kNoQuestion},
    {"QUESTION_PREV", "page--q--a_first.htm", "(Current)", "page--q--best_colour.htm", "(none)",
     kNoQuestion},
    {"QUESTION_GRAPH", "graph of Best colour", "(x)", "graph of Best colour", "(,)",
     "graph of Best colour"},
    {"QUESTION_ANSWERS_RADIO_BUTTON", "<input name=\"Best colour\">", "(x)",
     "<input name=\"Best colour\">", "(,)", "<input name=\"Best colour\">"},
    {"QUESTION_ANSWERS_DROPDOWN_MENU", "<select name=\"Best colour\"></select>", "(x)",
     "<select name=\"Best colour\"></select>", "(,)", "<select name=\"Best colour\"></select>"},
    {"QUESTION_RESPONSE_COUNT", "1027", "(Meg)", "1.00", "(meg)", "1027"},
    {"SURVEY_SUBMIT", kSurveySubmit, "(x)", kSurveySubmit, "(,)", kSurveySubmit},
    {"ANSWER", "Blue", "(x)", "Blue", "(,)", "Blue"},
    {"ANSWER_COUNT", "1026", "(Meg)", "1.00", "(meg)", "1026"},
    {"ANSWER_PERCENTAGE", "100%", "(2)", "99.90%", "(7)", "100%"},
    {"ANSWER_PERCENTAGE_NOT", "0%", "(3)", "0.097%", "(0)", "0%"},
    {"ANSWER_COLOR", "#0000ff", "(x)", "#0000ff", "(,)", "#0000ff"},
};

class HtmlTable : public HtmlBoard {
 protected:
  void SetUp() override {
    for (const char* name : {"Alpha", "Zoo"}) MakeContainer(TBoardKind::kForum, name);
    MakeContainer(TBoardKind::kForum, "General Talk",
                  {{"Description", "About <b>"}, {"HTML Filename Prefix", "gt_"}});
    MakeContainer(TBoardKind::kContributor, "Archive");
    MakeContainer(TBoardKind::kLinkList, "Zone");
    MakeContainer(TBoardKind::kLinkList, "Links & more",
                  {{"Description", "d<e"}, {"HTML Filename Prefix", "li_"}});
    for (const char* name : {"A first", "Zebra"}) MakeContainer(TBoardKind::kQuestion, name);
    MakeContainer(TBoardKind::kQuestion, "Best colour", {{"Total Vote Count", "1027"}});
    for (const char* other : {"1", "2", "3"}) AddItems(other);
    SetTimes(TBoardKind::kForum, "General Talk");
    SetTimes(TBoardKind::kLinkList, "Links & more");
    for (const char* name : {"item.htm", "messages.htm", "links.htm", "answers.htm"}) {
      Template(name, "x");
    }
    Set("HTML File - Message list", "messages");
    Set("HTML File - Resource list", "links");
    Set("HTML File - Answer list", "answers");
    WriteFileBytes(SitePath("ab12a.txt"), "inside");
    WriteFileBytes(SitePath("gt_page--f--general_talk--2.htm"), "x");
    WriteFileBytes(root_ / "graph.htf", "graph of $QUESTION$");
    WriteFileBytes(root_ / "radio.htf", "<input name=\"$QUESTION$\">");
    WriteFileBytes(root_ / "combobox.htf", "<select name=\"$QUESTION$\"></select>");
  }
  void AddItems(const std::string& number) {
    const bool second = number == "2";
    AddTo(TBoardKind::kForum, "General Talk",
          {.subject = second ? "Re:Hello" : "Hello",
           .linkId = second ? 1 : 0,
           .attachments = {{"ab12a.txt", "notes.txt"}},
           .values = {{"Colour", "a b<"}}});
    AddTo(
        TBoardKind::kLinkList, "Links & more",
        {.subject = second ? "Bre&vant" : number,
         .content = "<b>About</b>",
         .type = "text/html",
         .attachments = {{"ab12a.txt", "notes.txt"}},
         .values = {{"Address", "http://example.org/a b"}, {"SIZE", "1500"}, {"Colour", "a b<"}}});
    AddTo(TBoardKind::kQuestion, "Best colour",
          {.subject = second ? "Blue" : number,
           .values = {{"Vote Count", second ? "1026" : "1"}, {"Color", "16711680"}}});
  }
  // The neighbours that came later have touched the item.
  void SetTimes(TBoardKind kind, const std::string& name) {
    const std::unique_ptr<TForum> container = OpenContainer(kind, name);
    const TTime created(2000, 1, 5, 22, 30, 45);
    const TTime modified(2000, 1, 6, 8, 9, 10);
    ASSERT_NE(container->Storage().SetElementTimes("2", &created, nullptr, &modified), 0);
  }
  std::string In(int kind, const std::string& text) {
    static constexpr const char* kNames[] = {"", "General Talk", "", "Links & more", "Best colour"};
    return Unwrapped(ExpandIn(kind, text, kNames[kind], kind == 0 ? 0 : 2));
  }
  static bool ShowsTimes(std::string_view tag) {
    return tag.find("_DATE") != tag.npos || tag.find("_TIME") != tag.npos;
  }
};

TEST_F(HtmlTable, HoldsEveryFieldInItsOrder) {
  ASSERT_EQ(brevant::FieldTable().size(), std::size(kCases));
  for (std::size_t i = 0; i < std::size(kCases); ++i) {
    EXPECT_EQ(brevant::FieldTable()[i].name, kCases[i].tag);
  }
}

TEST_F(HtmlTable, EveryFieldWithoutArgumentsWithSomeAndWithWrongOnes) {
  const bool keepsTimes = PlatformKeepsElementTimes();
  for (std::size_t i = 0; i < std::size(kCases); ++i) {
    const Case& one = kCases[i];
    const int kind = brevant::FieldTable()[i].kind;
    const auto write = [&](const std::string& arguments) {
      return In(kind, "$" + std::string(one.tag) + arguments + "$");
    };
    if (one.plain == kNow || (ShowsTimes(one.tag) && !keepsTimes)) continue;
    EXPECT_EQ(write(""), one.plain) << one.tag;
    EXPECT_EQ(write(one.arguments), one.value) << one.tag << one.arguments;
    EXPECT_EQ(write(one.wrongArguments), one.wrongValue) << one.tag << one.wrongArguments;
  }
}

TEST_F(HtmlTable, DateAndTimeAreTheCurrentOnesInTheirFormats) {
  const struct {
    const char* tag;
    unsigned format;
  } kTags[] = {{"$DATE$", 1045}, {"$DATE(American)$", 1045 | 0x800}, {"$DATE(x)$", 1045},
               {"$TIME$", 2},    {"$TIME(24HR)$", 2 | 0x200},        {"$TIME(x)$", 2}};
  const auto formatted = [](unsigned format) {
    char text[64];
    FormatTime(TTime::Now(), text, sizeof text, format);
    return std::string(text);
  };
  for (const auto& [tag, format] : kTags) {
    const std::string before = formatted(format);
    const std::string written = In(0, tag);
    const std::string after = formatted(format);
    EXPECT_TRUE(written == before || written == after) << tag << written;
  }
}

TEST_F(HtmlTable, NamesAreComparedExactly) {
  for (const Case& one : kCases) {
    std::string lower = one.tag;
    lower[0] = static_cast<char>(lower[0] - 'A' + 'a');
    for (const std::string& tag : {"$" + lower + "$", "$" + std::string(one.tag) + "X$"}) {
      EXPECT_EQ(In(0, tag), tag);
    }
  }
}

TEST_F(HtmlTable, EveryFieldRefusesSeveralIdentifiersAndUnknownOnes) {
  static constexpr const char* kErrors[] = {"***ERROR: Invalid identifier***", kNoForum, "",
                                            kNoList, kNoQuestion};
  for (const brevant::TFieldRow& row : brevant::FieldTable()) {
    const std::string name(row.name);
    EXPECT_EQ(In(row.kind, "$A.B." + name + "$"), "***ERROR: Invalid identifiers***") << name;
    EXPECT_EQ(In(row.kind, "$none." + name + "$"), kErrors[row.kind]) << name;
  }
}

TEST_F(HtmlTable, WithoutAContainerContainersAreRepeatedAndItemsAreNone) {
  for (const brevant::TFieldRow& row : brevant::FieldTable()) {
    if (row.kind == brevant::kNoKind) continue;
    const std::string page =
        Unwrapped(Expand("<ul><li><hr>$" + std::string(row.name) + "$</li></ul>"));
    const bool item = row.level == brevant::TFieldLevel::kItem;
    int parts = 0;
    for (std::size_t at = 0; (at = page.find("<li><hr>", at)) != page.npos; ++at) ++parts;
    EXPECT_EQ(parts, item ? 0 : 3) << row.name << page;
    EXPECT_EQ(page.find("ERROR"), page.npos) << row.name << page;
  }
}

TEST_F(HtmlTable, InAContainerItsItemsAreRepeated) {
  static constexpr const char* kNames[] = {"", "General Talk", "", "Links & more", "Best colour"};
  for (const brevant::TFieldRow& row : brevant::FieldTable()) {
    if (row.level != brevant::TFieldLevel::kItem) continue;
    const std::string page = Unwrapped(ExpandIn(
        row.kind, "<ul><li><hr>$*." + std::string(row.name) + "$</li></ul>", kNames[row.kind]));
    int parts = 0;
    for (std::size_t at = 0; (at = page.find("<li><hr>", at)) != page.npos; ++at) ++parts;
    EXPECT_EQ(parts, 3) << row.name << page;
    EXPECT_EQ(page.find("ERROR"), page.npos) << row.name << page;
  }
}

TEST_F(HtmlTable, EveryFieldNamesItsNeighbour) {
  for (const brevant::TFieldRow& row : brevant::FieldTable()) {
    if (row.kind == brevant::kNoKind) continue;
    for (const char* reference :
         {"Prev", "Previous", "Next", "First", "Last", "~", "Current", "*", "All"}) {
      const std::string page =
          In(row.kind, "$" + std::string(reference) + "." + std::string(row.name) + "$");
      EXPECT_EQ(page.find("ERROR"), page.npos) << reference << row.name << page;
      EXPECT_EQ(page.find('$'), page.npos) << reference << row.name << page;
    }
  }
}

}  // namespace
}  // namespace test
