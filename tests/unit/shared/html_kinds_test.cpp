// Pages over lists and links, questions and answers, and over several kinds at once.
#include "html_board.h"
#include "support/element_times.h"

namespace test {
namespace {

using brevant::kListKind;
using brevant::kQuestionKind;
using brevant::TBoardKind;

class HtmlKinds : public HtmlBoard {
 protected:
  void MakeLinks(const std::string& name, const std::vector<std::string>& links = {},
                 TBoardKind kind = TBoardKind::kLinkList) {
    MakeContainer(kind, name);
    for (const std::string& link : links) AddTo(kind, name, {.subject = link});
  }
  void MakeQuestion(const std::string& name,
                    const std::vector<std::pair<std::string, int>>& votes) {
    int total = 0;
    for (const auto& [answer, count] : votes) total += count;
    MakeContainer(TBoardKind::kQuestion, name, {{"Total Vote Count", std::to_string(total)}});
    for (const auto& [answer, count] : votes) {
      AddTo(TBoardKind::kQuestion, name,
            {.subject = answer, .values = {{"Vote Count", std::to_string(count)}}});
    }
  }
  void MakeTalk(const std::string& name, const std::vector<std::string>& subjects = {}) {
    MakeForum(name);
    for (const std::string& subject : subjects) Add(name, {.subject = subject});
  }
  std::string Main(const std::string& text) { return Unwrapped(Expand(text)); }
  std::string InForum(const std::string& name, const std::string& text, DWORD item = 0) {
    return Unwrapped(Expand(text, name, item));
  }
  std::string InList(const std::string& name, const std::string& text, DWORD item = 0) {
    return Unwrapped(ExpandIn(kListKind, text, name, item));
  }
  std::string InQuestion(const std::string& name, const std::string& text, DWORD item = 0) {
    return Unwrapped(ExpandIn(kQuestionKind, text, name, item));
  }
};

// --- Containers ----------------------------------------------------------------------------------

TEST_F(HtmlKinds, ListsAreTheLinkListsAndTheResourceListsByName) {
  MakeLinks("beta");
  MakeLinks("Alpha", {}, TBoardKind::kContributor);
  MakeLinks("Gamma", {}, TBoardKind::kContributor);
  EXPECT_EQ(Main("<ul><li>$LIST_NAME$</li></ul>"),
            "<ul><li>Alpha</li><li>beta</li><li>Gamma</li></ul>");
}

TEST_F(HtmlKinds, OfTwoListsWithOneNameTheLinkListCounts) {
  MakeLinks("Files", {"resource"}, TBoardKind::kContributor);
  MakeLinks("FILES", {"link"});
  EXPECT_EQ(Main("<ul><li>$LIST_NAME$<i>$LINK_NAME$</i></li></ul>"),
            "<ul><li>FILES<i>link</i></li></ul>");
  EXPECT_EQ(Main("$files.LIST_SIZE$ $files.LIST_NEXT(~)$"), "1 page--l--files.htm");
}

TEST_F(HtmlKinds, ANameStandsBeforeALongerOneThatBeginsWithIt) {
  for (const char* name : {"General Talk", "General", "General-2", "general!"}) MakeTalk(name);
  EXPECT_EQ(Main("<ul><li>$FORUM_NAME$</li></ul>"),
            "<ul><li>General</li><li>General Talk</li><li>general!</li><li>General-2</li></ul>");
}

TEST_F(HtmlKinds, EachKindOfBoardFileHasItsLetterInPageNames) {
  Template("x.htm", "x");
  MakeTalk("Same");
  MakeLinks("Same");
  MakeLinks("Other", {}, TBoardKind::kContributor);
  MakeQuestion("Same", {});
  EXPECT_EQ(InForum("Same", "$FORUM_FILENAME(x)$"), "x--f--same.htm");
  EXPECT_EQ(InList("Same", "$LIST_FILENAME(x)$"), "x--l--same.htm");
  EXPECT_EQ(InList("Other", "$LIST_FILENAME(x)$"), "x--r--other.htm");
  EXPECT_EQ(InQuestion("Same", "$QUESTION_FILENAME(x)$"), "x--q--same.htm");
}

TEST_F(HtmlKinds, AContainersPageIsMadeFromTheTemplateOfItsRole) {
  for (const char* name : {"m.htm", "l.htm", "a.htm"}) Template(name, "x");
  Set("HTML File - Message list", "m");
  Set("HTML File - Resource list", "l");
  Set("HTML File - Answer list", "a");
  MakeTalk("Same");
  MakeLinks("Same");
  MakeQuestion("Same", {});
  EXPECT_EQ(InForum("Same", "$FORUM_FILENAME$"), "m--f--same.htm");
  EXPECT_EQ(InList("Same", "$LIST_FILENAME$"), "l--l--same.htm");
  EXPECT_EQ(InQuestion("Same", "$QUESTION_FILENAME$"), "a--q--same.htm");
  EXPECT_EQ(pages_, std::vector<std::string>{"a--q--same.htm"});
}

TEST_F(HtmlKinds, AFieldIgnoresACurrentContainerOfAnotherKind) {
  MakeTalk("Talk", {"m"});
  MakeLinks("Links", {"k"});
  EXPECT_EQ(InForum("Talk", "<ul><li>$LIST_NAME$</li></ul><p>$LINK_NAME$</p>", 1),
            "<ul><li>Links</li></ul>");
  EXPECT_EQ(InForum("Talk", "[$~.LIST_NAME$][$Next.LINK_NAME$][$LINK_NEXT$]"), "[][][]");
  EXPECT_EQ(InForum("Talk", "$links.LIST_SIZE$ $First.LIST_NAME$"), "1 Links");
}

TEST_F(HtmlKinds, AListThatCannotBeOpenedIsAnError) {
  WriteFileBytes(root_ / "Data/Broken.mwf", "no compound document");
  WriteFileBytes(root_ / "Data/Worse.mwg", "no compound document");
  EXPECT_EQ(Main("$Broken.LIST_NAME$"),
            "***ERROR: Cannot open data file of resource list Broken***");
  EXPECT_EQ(Main("$Worse.QUESTION$"),
            "***ERROR: Cannot open data file of survey question Worse***");
  EXPECT_TRUE(failed_);
}

TEST_F(HtmlKinds, ALinkThatCannotBeOpenedIsAnError) {
  MakeLinks("Links", {"a", "b"});
  OpenContainer(TBoardKind::kLinkList, "Links")->Storage().DeleteElement("1");
  EXPECT_EQ(InList("Links", "$1.LINK_NAME$"), "***ERROR: Cannot open message 1 in Links***");
  EXPECT_EQ(InList("Links", "<p>$LINK_NAME$</p>"), "<p>b</p>");
}

// --- Addresses -----------------------------------------------------------------------------------

TEST_F(HtmlKinds, BlanksOfNamesAreUnderscoresInTheTagOfAListToo) {
  MakeLinks("My good links");
  EXPECT_EQ(InList("My good links", "$LIST_SUBMIT$"),
            "mailto:&quot;[My_Board:My_good_links]&quot;&lt;board@example.org&gt;");
  EXPECT_EQ(InList("My good links", "<a href=\"$LIST_SUBMIT$\">"),
            "<a href=\"mailto:&quot;[My_Board:My_good_links]&quot;&lt;board@example.org&gt;\">");
}

// --- Links ---------------------------------------------------------------------------------------

TEST_F(HtmlKinds, OnlyTheAddressOfALinkIsUrlEncodedInsideATag) {
  MakeLinks("Links");
  AddTo(TBoardKind::kLinkList, "Links",
        {.subject = "a b", .values = {{"Address", "http://x/a b?c d"}, {"Other", "e f"}}});
  EXPECT_EQ(
      InList("Links", "<a href=\"$LINK_ADDRESS$\" x=\"$LINK_NAME$\" y=\"$LINK_OTHER(Other)$\">", 1),
      "<a href=\"http://x/a%20b?c d\" x=\"a b\" y=\"e f\">");
}

TEST_F(HtmlKinds, ASizeInMegIsAWholeNumberWithTwoZeros) {
  MakeLinks("Links");
  for (const char* size : {"1500", "1023"}) {
    AddTo(TBoardKind::kLinkList, "Links", {.subject = size, .values = {{"SIZE", size}}});
  }
  EXPECT_EQ(InList("Links", "$LINK_SIZE(Meg)$", 1), "1.00");
  EXPECT_EQ(InList("Links", "$LINK_SIZE(Meg)$", 2), "0.00");
}

TEST_F(HtmlKinds, ADownloadOfLessThanAMinuteIsShorterThanOne) {
  MakeLinks("Links");
  for (const char* size : {"863", "864", "1728"}) {
    AddTo(TBoardKind::kLinkList, "Links", {.subject = size, .values = {{"SIZE", size}}});
  }
  const std::string page = InList("Links", "<p>$LINK_DOWNLOAD_ESTIMATE$</p>");
  EXPECT_EQ(page, "<p>&lt;1</p><p>1</p><p>2</p>");
  EXPECT_EQ(InList("Links", "$LINK_DOWNLOAD_ESTIMATE(14.4,Second)$", 1), "59");
  EXPECT_EQ(InList("Links", "$LINK_DOWNLOAD_ESTIMATE( ,x)$", 3), "2");
}

TEST_F(HtmlKinds, NoLinkOfLastMonthIsNew) {
  SKIP_WITHOUT_ELEMENT_TIMES();
  MakeLinks("Links");
  const TTime today = TTime::Now();
  const TTime first(today.Year(), today.Month(), 1, 0, 0, 0);
  AddTo(TBoardKind::kLinkList, "Links",
        {.subject = "old", .time = TTime::FromTicks(first.Ticks() - 1)});
  AddTo(TBoardKind::kLinkList, "Links", {.subject = "new", .time = today});
  EXPECT_EQ(InList("Links", "[$LINK_IS_NEW(40)$]", 1), "[]");
  EXPECT_EQ(InList("Links", "[$LINK_IS_NEW$]", 2), "[new]");
}

TEST_F(HtmlKinds, AtTheEndsThereAreNoNeighbours) {
  MakeLinks("A", {"one", "two"});
  MakeLinks("B");
  MakeQuestion("Q1", {});
  MakeQuestion("Q2", {});
  EXPECT_EQ(InList("A", "[$LIST_PREV$][$LINK_PREV$]", 1), "[][]");
  EXPECT_EQ(InList("A", "[$LINK_NEXT$][$Next.LINK_NAME$]", 2), "[][]");
  EXPECT_EQ(InList("B", "[$LIST_NEXT$][$Next.LIST_NAME$]"), "[][]");
  EXPECT_EQ(InQuestion("Q1", "[$QUESTION_PREV$][$Prev.QUESTION$]"), "[][]");
  EXPECT_EQ(InQuestion("Q2", "[$QUESTION_NEXT$]"), "[]");
}

// --- Questions -----------------------------------------------------------------------------------

TEST_F(HtmlKinds, AnswersShowTheirShares) {
  MakeQuestion("Best colour", {{"Red", 1}, {"Blue", 2}});
  EXPECT_EQ(InQuestion("Best colour",
                       "<p>$ANSWER$ $ANSWER_COUNT$ $ANSWER_PERCENTAGE(1)$ "
                       "$ANSWER_PERCENTAGE_NOT$</p>$QUESTION_RESPONSE_COUNT$"),
            "<p>Red 1 33.3% 67%</p><p>Blue 2 66.7% 33%</p>3");
}

TEST_F(HtmlKinds, WithoutVotesEveryShareIsZero) {
  MakeQuestion("Best colour", {{"Red", 0}});
  EXPECT_EQ(InQuestion("Best colour", "$ANSWER_PERCENTAGE$ $ANSWER_PERCENTAGE_NOT(2)$", 1),
            "0% 100.00%");
}

TEST_F(HtmlKinds, AColourHasRedInItsLowestByte) {
  MakeQuestion("Q", {});
  AddTo(TBoardKind::kQuestion, "Q", {.values = {{"Color", "66051"}}});
  EXPECT_EQ(InQuestion("Q", "<td bgcolor=\"$ANSWER_COLOR$\">", 1), "<td bgcolor=\"#030201\">");
}

// --- Sub-templates -------------------------------------------------------------------------------

TEST_F(HtmlKinds, ASubTemplateIsFedForItsQuestion) {
  MakeQuestion("Best colour", {{"Red", 1}, {"Blue", 3}});
  WriteFileBytes(root_ / "graph.htf",
                 "<table><tr><td>$ANSWER$</td><td width=\"$ANSWER_PERCENTAGE$\"></td></tr></table>"
                 "$QUESTION$");
  EXPECT_EQ(InQuestion("Best colour", "<div>$QUESTION_GRAPH$</div>"),
            "<div><table><tr><td>Red</td><td width=\"25%\"></td></tr>"
            "<tr><td>Blue</td><td width=\"75%\"></td></tr></table>Best colour</div>");
}

TEST_F(HtmlKinds, ASubTemplateInARepeatedPartIsFedForEveryQuestion) {
  MakeQuestion("A", {{"x", 0}});
  MakeQuestion("B", {{"y", 0}, {"z", 0}});
  WriteFileBytes(root_ / "radio.htf",
                 "<label><input type=radio value=\"$ANSWER$\">$ANSWER$</label>");
  WriteFileBytes(root_ / "combobox.htf", "<select><option>$ANSWER$</select>");
  EXPECT_EQ(Main("<form><p>$QUESTION$ $QUESTION_ANSWERS_RADIO_BUTTON$"
                 "$QUESTION_ANSWERS_DROPDOWN_MENU$</p></form>"),
            "<form><p>A<label><input type=radio value=\"x\">x</label>"
            "<select><option>x</select></p>"
            "<p>B<label><input type=radio value=\"y\">y</label>"
            "<label><input type=radio value=\"z\">z</label>"
            "<select><option>y<option>z</select></p></form>");
}

TEST_F(HtmlKinds, AQualifiedSubTemplateIsFedForTheQuestionItNames) {
  MakeQuestion("A", {{"x", 0}});
  MakeQuestion("B", {{"y", 0}});
  WriteFileBytes(root_ / "graph.htf", "$QUESTION$:<i>$ANSWER$</i>");
  EXPECT_EQ(InQuestion("A", "$Next.QUESTION_GRAPH$ $QUESTION_GRAPH$"), "B:<i>y</i> A:<i>x</i>");
}

TEST_F(HtmlKinds, AMissingSubTemplateIsAnError) {
  MakeQuestion("A", {});
  EXPECT_EQ(InQuestion("A", "$QUESTION_GRAPH$"), "***ERROR: Cannot open template graph.htf***");
  EXPECT_TRUE(Logged("Cannot open template graph.htf"));
}

TEST_F(HtmlKinds, ASubTemplateInsideItselfIsAnError) {
  MakeQuestion("A", {});
  WriteFileBytes(root_ / "graph.htf", "a$QUESTION_ANSWERS_RADIO_BUTTON$");
  WriteFileBytes(root_ / "radio.htf", "b$QUESTION_GRAPH$");
  EXPECT_EQ(InQuestion("A", "$QUESTION_GRAPH$"),
            "ab***ERROR: Cannot open template graph.htf inside itself***");
}

TEST_F(HtmlKinds, SubTemplatesAreLookedForInTheProgramDirectory) {
  MakeQuestion("A", {});
  std::error_code error;
  Template("graph.htf", "templates");
  WriteFileBytes(root_ / "graph.htf", "program");
  EXPECT_EQ(InQuestion("A", "$QUESTION_GRAPH$"), "program");
  Set("Program Directory", root_ / "Templates/");
  EXPECT_EQ(InQuestion("A", "$QUESTION_GRAPH$"), "templates");
}

// --- Several kinds on one page -------------------------------------------------------------------

TEST_F(HtmlKinds, PartsOfDifferentKindsNest) {
  MakeTalk("F1", {"m1"});
  MakeTalk("F2", {"m2", "m3"});
  MakeLinks("L1", {"k1", "k2"});
  MakeQuestion("Q1", {{"yes", 0}, {"no", 0}});
  EXPECT_EQ(Main("<div>$FORUM_NAME$<ul><li>$MESSAGE_SUBJECT$</li></ul></div>"
                 "<div>$LIST_NAME$<ul><li>$LINK_NAME$</li></ul></div>"
                 "<div>$QUESTION$<ul><li>$ANSWER$</li></ul></div>"),
            "<div>F1<ul><li>m1</li></ul></div><div>F2<ul><li>m2</li><li>m3</li></ul></div>"
            "<div>L1<ul><li>k1</li><li>k2</li></ul></div>"
            "<div>Q1<ul><li>yes</li><li>no</li></ul></div>");
}

TEST_F(HtmlKinds, OnePartOverTwoKindsIsWrittenForEveryPair) {
  MakeTalk("F1");
  MakeTalk("F2");
  MakeLinks("L1");
  MakeLinks("L2");
  EXPECT_EQ(Main("<p>$FORUM_NAME$ $LIST_NAME$</p>"),
            "<p>F1 L1</p><p>F1 L2</p><p>F2 L1</p><p>F2 L2</p>");
}

TEST_F(HtmlKinds, InsideAPartOfAnotherKindThePageKeepsItsObjects) {
  MakeTalk("Talk", {"one", "two"});
  MakeLinks("L1", {"k1"});
  MakeLinks("L2", {"k2"});
  EXPECT_EQ(InForum("Talk",
                    "<ul><li>$LIST_NAME$ $FORUM_NAME$ $MESSAGE_SUBJECT$ $LIST_NEXT$</li></ul>", 2),
            "<ul><li>L1 Talk two page--l--l2.htm</li><li>L2 Talk two</li></ul>");
  EXPECT_EQ(InForum("Talk", "<div>$LIST_NAME$<p>$LINK_NAME$ $Prev.MESSAGE_SUBJECT$</p></div>", 2),
            "<div>L1<p>k1 one</p></div><div>L2<p>k2 one</p></div>");
}

TEST_F(HtmlKinds, TheItemsOfAContainerStandInItsPartWhateverIsAround) {
  MakeTalk("F1", {"m1"});
  MakeTalk("F2", {"m2"});
  MakeLinks("L1", {"k1", "k2"});
  EXPECT_EQ(Main("<section>$LIST_NAME$<div>$FORUM_NAME$<p>$MESSAGE_SUBJECT$ $LINK_NAME$</p></div>"
                 "</section>"),
            "<section>L1<div>F1<p>m1 k1</p><p>m1 k2</p></div>"
            "<div>F2<p>m2 k1</p><p>m2 k2</p></div></section>");
}

TEST_F(HtmlKinds, APageOverEverythingOpensEachFileOnce) {
  MakeTalk("F1", {"m1", "m2"});
  MakeTalk("F2", {"m3"});
  MakeLinks("L1", {"k1"});
  MakeQuestion("Q1", {{"yes", 1}});
  WriteFileBytes(root_ / "graph.htf", "<i>$ANSWER$</i>$First.FORUM_NAME$");
  const std::string page =
      InForum("F1",
              "$FORUM_NAME$ $Next.FORUM_NAME$ $F2.FORUM_SIZE$ $First.FORUM_NAME$ $FORUM_NEXT$ "
              "$MESSAGE_SUBJECT$ $Next.MESSAGE_SUBJECT$ $2.MESSAGE_CONTENT$ $~.MESSAGE_SUBJECT$ "
              "<div>$LIST_NAME$ $LINK_NAME$ $L1.LIST_SIZE$</div><div>$QUESTION$ $QUESTION_GRAPH$ "
              "$Last.QUESTION$</div>",
              1);
  EXPECT_EQ(page.find("ERROR"), page.npos) << page;
  EXPECT_FALSE(failed_);
  EXPECT_TRUE(history.empty());
}

}  // namespace
}  // namespace test
