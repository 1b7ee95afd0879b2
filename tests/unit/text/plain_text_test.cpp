// The plain-text view of HTML.
#include "text/plain_text.h"

#include "frame/library.h"
#include "support/temporary_directory.h"

#include <brevant/text.h>

#include <gtest/gtest.h>

namespace brevant {
namespace {

constexpr const char* kRule = "---------------------------------------------------";

TEST(PlainText, ABreakBetweenTwoWordsIsALineEnd) {
  EXPECT_EQ(HtmlToPlainText("one<br>two"), "one\r\ntwo");
  EXPECT_EQ(HtmlToPlainText("one<BR clear=\"all\">two"), "one\r\ntwo");
}

TEST(PlainText, AParagraphAtTheStartIsAnEmptyLine) {
  EXPECT_EQ(HtmlToPlainText("<p>one"), "\r\n\r\none");
  EXPECT_EQ(HtmlToPlainText("<P ALIGN=LEFT>one</P>"), "\r\n\r\none");
}

TEST(PlainText, AnImageIsAWordWhateverItsAttributes) {
  EXPECT_EQ(HtmlToPlainText("<img>"), "[IMAGE]");
  EXPECT_EQ(HtmlToPlainText("a <IMG SRC='x.gif' ALT=\"a b\"> b"), "a [IMAGE] b");
}

TEST(PlainText, ReferencesBecomeCharacters) {
  EXPECT_EQ(HtmlToPlainText("&Auml;&auml; &lt;b&gt; &amp;lt;"), "\xC4\xE4 <b> &lt;");
  EXPECT_EQ(HtmlToPlainText("&uml; &acute; &cedil; &#65;"), "&uml; &acute; &cedil; &#65;");
}

TEST(PlainText, AQuestionMarkEndsTheDecoding) {
  EXPECT_EQ(HtmlToPlainText("&lt; who? &lt;"), "< who? &lt;");
}

TEST(PlainText, EveryElementHasItsText) {
  const std::pair<const char*, std::string> kTexts[] = {
      {"P", "\r\n\r\n"},
      {"BR", "\r\n"},
      {"BLOCKQUOTE", "\r\n"},
      {"UL", "\r\n"},
      {"OL", "\r\n"},
      {"TABLE", "\r\n"},
      {"TR", "\r\n"},
      {"LI", "\r\n* "},
      {"HR", std::string("\r\n") + kRule},
      {"IMG", "[IMAGE]"},
      {"A", ""},
      {"CITE", ""},
      {"!--StartFragment--", ""},
      {"!--EndFragment--", ""},
      {"TD", ""},
      {"BASEFONT", ""},
      {"BRX", ""},
      {"B", ""},
  };
  for (const auto& [tag, text] : kTexts) {
    EXPECT_EQ(HtmlToPlainText("<" + std::string(tag) + ">x"), text + "x") << tag;
    EXPECT_EQ(HtmlToPlainText("<  " + std::string(tag) + " y=\"1\">x"), text + "x") << tag;
    EXPECT_EQ(HtmlToPlainText("</" + std::string(tag) + ">x"), "x") << tag;
  }
}

TEST(PlainText, NamesOfElementsIgnoreLetterCaseAndAClosingSlash) {
  EXPECT_EQ(HtmlToPlainText("a<bR/>b<hr\t/>c"), "a\r\nb\r\n" + std::string(kRule) + "c");
}

TEST(PlainText, WordsSpacesAndLineBreaksGiveOneBlank) {
  EXPECT_EQ(HtmlToPlainText("one two  three\nfour\r\n\r\nfive"), "one two three four five");
  EXPECT_EQ(HtmlToPlainText("one <b>two</b> three"), "one two three");
  EXPECT_EQ(HtmlToPlainText("one<b>two</b>three"), "onetwothree");
}

TEST(PlainText, NoBlankBeginsTheTextOrFollowsWhiteSpace) {
  EXPECT_EQ(HtmlToPlainText("  \n one"), "one");
  EXPECT_EQ(HtmlToPlainText("a<br> b"), "a\r\nb");
  EXPECT_EQ(HtmlToPlainText("<li> b"), "\r\n* b");
  EXPECT_EQ(HtmlToPlainText("a <br>b"), "a \r\nb");
}

TEST(PlainText, ALineBreakAtTheEndIsABlank) {
  EXPECT_EQ(HtmlToPlainText("one\n"), "one ");
  EXPECT_EQ(HtmlToPlainText("one "), "one");
}

TEST(PlainText, TheTitleIsLeftOutACitationIsNot) {
  EXPECT_EQ(HtmlToPlainText("<head><title>The <b>page</b></title></head>x <cite>y</cite>"), "x y");
  EXPECT_EQ(HtmlToPlainText("<TITLE>a < b</TITLE>x"), "x");
}

TEST(PlainText, ATitleThatNothingEndsLosesNothing) {
  EXPECT_EQ(HtmlToPlainText("<title>one<title>two"), "onetwo");
}

TEST(PlainText, ScriptsAreLeftOutOnlyWhenTheyAreToBe) {
  const char* const html = "a<script>b<c</script>d<STYLE>p{e}</STYLE >f";
  EXPECT_EQ(HtmlToPlainText(html, {.dropsScripts = true}), "adf");
  EXPECT_EQ(HtmlToPlainText(html), "abdp{e}f");
}

TEST(PlainText, NoTagIsTakenForATemplates) {
  EXPECT_EQ(HtmlToPlainText("$FORUM_NAME$ costs $5"), "$FORUM_NAME$ costs $5");
}

TEST(PlainText, ATagThatIsNeverClosedIsText) {
  EXPECT_EQ(HtmlToPlainText("a <b c"), "a <b c");
  EXPECT_EQ(HtmlToPlainText("x<"), "x <");
}

TEST(PlainText, OfNothingIsEmpty) { EXPECT_EQ(HtmlToPlainText(""), ""); }

TEST(PlainText, ZeroBytesGo) {
  EXPECT_EQ(HtmlToPlainText(std::string_view("a\0b <i>\0</i>", 12)), "ab ");
}

TEST(PlainText, InUtf8ReferencesAreUtf8Too) {
  EXPECT_EQ(HtmlToPlainText("\xC3\xA4 &auml; &#8364; &#x20AC;", {.isUtf8 = true}),
            "\xC3\xA4 \xC3\xA4 \xE2\x82\xAC \xE2\x82\xAC");
}

TEST(PlainText, ManyTitlesThatNothingEndsTakeLinearTime) {
  std::string html;
  for (int i = 0; i < 300'000; ++i) html += "<title>x";
  EXPECT_EQ(HtmlToPlainText(html).size(), 300'000U);
}

TEST(PlainText, AWordOfAnyLengthIsWhole) {
  for (const std::size_t length : {4095U, 4096U, 4097U, 8192U, 8193U, 10'000U, 100'000U}) {
    const std::string word(length, 'x');
    EXPECT_EQ(HtmlToPlainText(word), word);
    EXPECT_EQ(HtmlToPlainText("a " + word + " b"), "a " + word + " b");
    EXPECT_EQ(HtmlToPlainText("a\n" + word + "<i>b</i>\nc"), "a " + word + "b c");
    EXPECT_EQ(HtmlToPlainText(word + "<br>b"), word + "\r\nb");
  }
}

TEST(PlainText, TextWithoutBlanksIsWholeAndItsCharactersAreNotCut) {
  std::string text;
  for (int i = 0; i < 5000; ++i) text += "\xE6\x97\xA5";
  EXPECT_EQ(HtmlToPlainText(text, {.isUtf8 = true}), text);
  EXPECT_EQ(HtmlToPlainText("ab" + text + "!", {.isUtf8 = true}), "ab" + text + "!");
  std::string references;
  for (int i = 0; i < 5000; ++i) references += "&#26085;";
  EXPECT_EQ(HtmlToPlainText("x" + references, {.isUtf8 = true}), "x" + text);
}

TEST(PlainText, OfAFormEveryBlockIsALineAndReferencesAreDecodedThroughout) {
  const auto form = [](std::string_view html) { return HtmlToPlainText(html, {.isForm = true}); };
  EXPECT_EQ(form("<div>a=b</div><DIV>c=d</DIV>"), "\r\na=b\r\n\r\nc=d\r\n");
  EXPECT_EQ(form("<ul><li>a=b<li>c=d</ul>"), "\r\n\r\na=b\r\nc=d\r\n");
  EXPECT_EQ(form("<table><tr><td>a=b</td></tr></table>x"), "\r\n\r\n\r\na=b\r\n\r\n\r\nx");
  EXPECT_EQ(form("a=b<br/>c=<b>d</b><img>"), "a=b\r\nc=d");
  EXPECT_EQ(form("<title>x=y</title>a?=&amp;&lt;?&amp;?"), "a?=&<?&?");
  EXPECT_EQ(HtmlToPlainText("?&auml;?&#8364;", {.isUtf8 = true, .isForm = true}),
            "?\xC3\xA4?\xE2\x82\xAC");
}

TEST(PlainText, LongWordsAndTagsTakeLinearTime) {
  constexpr std::size_t kBytes = 16'000'000;
  EXPECT_EQ(HtmlToPlainText(std::string(kBytes, '&')).size(), kBytes);
  // Of a tag that nothing ends only what a tag may hold is kept.
  EXPECT_EQ(HtmlToPlainText("<" + std::string(kBytes, 'x')).size(), 4097U);
  EXPECT_EQ(HtmlToPlainText("<" + std::string(kBytes, '\n') + ">x"), "x");
}

// --- The exported pair ---------------------------------------------------------------------------

class PlainTextContent : public ::testing::Test {
 protected:
  PlainTextContent() {
    SetProgramDirectory(directory_.Path().c_str());
    setup_ = OpenSetup("board.ini");
    InitializeBrevant(setup_, nullptr);
  }
  ~PlainTextContent() override {
    UninitializeBrevant();
    CloseSetup(setup_);
    SetProgramDirectory(nullptr);
  }
  std::string Text(const std::string& content, const char* charset = nullptr) {
    TMail* message = OpenMessage(0, nullptr);
    message->Content().Write(content.data(), static_cast<int>(content.size()));
    if (charset != nullptr) message->String("Charset", charset);
    char* text = GetPlainTextContent(message);
    std::string result = text != nullptr ? text : "(null)";
    FreePlainTextContent(text);
    CloseMessage(message);
    return result;
  }

  test::TemporaryDirectory directory_;
  TSetup* setup_ = nullptr;
};

TEST_F(PlainTextContent, IsReadFromTheStartOfTheContent) {
  EXPECT_EQ(Text("<p>one <b>two</b>"), "\r\n\r\none two");
  EXPECT_EQ(Text(""), "");
}

TEST_F(PlainTextContent, OfAnyLengthIsWhole) {
  std::string html;
  std::string expected;
  for (int i = 0; i < 40'000; ++i) {
    html += "word" + std::to_string(i) + " ";
    expected += (i == 0 ? "word" : " word") + std::to_string(i);
  }
  EXPECT_EQ(Text(html), expected);
}

TEST_F(PlainTextContent, OfNoMessageIsNull) {
  EXPECT_EQ(GetPlainTextContent(nullptr), nullptr);
  FreePlainTextContent(nullptr);
}

TEST_F(PlainTextContent, ItsBytesStayAsTheyAreStored) {
  EXPECT_EQ(Text("M\xFCller &auml;", "iso-8859-1"), "M\xFCller \xE4");
  EXPECT_EQ(Text("M\xC3\xBCller &auml;", "utf-8"), "M\xC3\xBCller \xE4");
}

TEST_F(PlainTextContent, IsUtf8WhereTextsAreDecoded) {
  setup_->Number("Decode Mail Text", 1);
  EXPECT_EQ(Text("M\xFCller &auml;"), "M\xC3\xBCller \xC3\xA4");
  EXPECT_EQ(Text("M\xC3\xBCller &auml; &#8217;", "utf-8"), "M\xC3\xBCller \xC3\xA4 \xE2\x80\x99");
  EXPECT_EQ(Text("\xA4", "iso-8859-15"), "\xE2\x82\xAC");
  EXPECT_EQ(Text("\x93", "windows-1252"), "\xE2\x80\x9C");
  EXPECT_EQ(Text("a\xC3", "utf-8"), "a\xEF\xBF\xBD");
  EXPECT_EQ(Text("\xC3\xA4\xE4", "no-such-charset"), "\xC3\xA4\xC3\xA4");
}

TEST_F(PlainTextContent, LeavesScriptsOutWhereHtmlIsToBeSafe) {
  EXPECT_EQ(Text("a<script>b</script>"), "ab");
  setup_->Number("Safe HTML", 1);
  EXPECT_EQ(Text("a<script>b</script>"), "a");
}

TEST_F(PlainTextContent, NeedsNoSettings) {
  UninitializeBrevant();
  EXPECT_EQ(Text("<br>x"), "\r\nx");
  InitializeBrevant(setup_, nullptr);
}

}  // namespace
}  // namespace brevant
