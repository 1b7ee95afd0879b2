// What visitors wrote in HTML, reduced to what can do no harm.
#include "text/safe_html.h"

#include "text/safe_link.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace brevant {
namespace {

std::string Safe(std::string_view html, std::vector<std::string> files = {"k3x9photo.png"}) {
  TSafeHtml safe(std::move(files));
  safe.Take(html);
  safe.Finish();
  return safe.Html();
}

std::string Repeated(std::string_view piece, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) text += piece;
  return text;
}

// --- What stays
// ----------------------------------------------------------------------------------

TEST(SafeHtml, HarmlessMarkupIsKeptToTheByte) {
  for (const char* html : {
           "plain text, with  two blanks and\na line end",
           "<p>One <b>bold</b>, <i>italic</i>, <u>u</u> and <tt>code</tt></p>",
           "<h2>Title</h2><blockquote>quoted<br>text</blockquote><hr>",
           "<ul><li>one</li><li>two<ol start=\"3\"><li>three</li></ol></li></ul>",
           "<dl><dt>term</dt><dd>what it means</dd></dl>",
           "<table border=\"1\" width=\"90%\"><tr><th align=\"left\">a</th><td colspan=\"2\" "
           "nowrap>b</td></tr></table>",
           "<table><caption>c</caption><colgroup><col width=\"10\"></colgroup><thead><tr><th>h</th>"
           "</tr></thead><tbody><tr><td>x</td></tr></tbody></table>",
           "<pre>a\n  b</pre><code>x &lt; y</code>",
           "<font color=\"#ff0000\" face=\"Arial, Times New Roman\" size=\"+1\">red</font>",
           "<div align=\"center\" title=\"a &quot;title&quot;\">x &amp; y &eacute; &#8217;</div>",
           "<ruby>a<rp>(</rp><rt>b</rt></ruby> <q>q</q> <sub>1</sub><sup>2</sup>",
           "<details open><summary>s</summary>hidden</details>",
           "<img src=\"k3x9photo.png\" alt=\"A photo\" width=\"20\">",
           "<a href=\"k3x9photo.png\">the file</a>",
       }) {
    EXPECT_EQ(Safe(html), html);
  }
}

TEST(SafeHtml, LinksStayWithTheFourSchemes) {
  const std::string rel = " rel=\"nofollow ugc\"";
  EXPECT_EQ(Safe("<a href=\"http://example.org/a?b=1&amp;c=2#d\">x</a>"),
            "<a href=\"http://example.org/a?b=1&amp;c=2#d\"" + rel + ">x</a>");
  EXPECT_EQ(Safe("<A HREF='https://example.org/' TARGET=_top>x</A>"),
            "<a href=\"https://example.org/\"" + rel + ">x</a>");
  EXPECT_EQ(Safe("<a href=ftp://example.org/x title=t>x</a>"),
            "<a href=\"ftp://example.org/x\"" + rel + " title=\"t\">x</a>");
  EXPECT_EQ(Safe("<a href=\"MAILTO:a@example.org?subject=x\">x</a>"),
            "<a href=\"MAILTO:a@example.org?subject=x\">x</a>");
}

TEST(SafeHtml, AnAddressMayHoldAnyCharacter) {
  EXPECT_EQ(Safe("<a href='http://example.org/\"<x>'>x</a>"),
            "<a href=\"http://example.org/&quot;&lt;x&gt;\" rel=\"nofollow ugc\">x</a>");
  EXPECT_EQ(Safe("<a href=\"http://example.org/?a=1&copy=2&b=3\">x</a>"),
            "<a href=\"http://example.org/?a=1&amp;copy=2&amp;b=3\" rel=\"nofollow ugc\">x</a>");
  EXPECT_EQ(Safe("<a href=\"http://example.org/&eacute;&#x20AC;\xE4\">x</a>"),
            "<a href=\"http://example.org/&#233;&#8364;\xE4\" rel=\"nofollow ugc\">x</a>");
}

TEST(SafeHtml, TagsAreWrittenInOneForm) {
  EXPECT_EQ(Safe("<P ALIGN=center>x</P>"), "<p align=\"center\">x</p>");
  EXPECT_EQ(Safe("<br/><br /><hr/ >"), "<br><br><hr>");
  EXPECT_EQ(Safe("<b/title='1'/title='2'>x</b>"), "<b title=\"1\">x</b>");
  EXPECT_EQ(Safe("<td>x</td>"), "x");
  EXPECT_EQ(Safe("<b\n title=\n\"x\ny\">x</b>"), "<b title=\"x y\">x</b>");
}

TEST(SafeHtml, PartsOfDocumentsAndFormsAreShownAsBlocks) {
  EXPECT_EQ(Safe("<section><h1>x</h1></section><nav>y</nav><form action=\"/x\"><input>z</form>"),
            "<div><h1>x</h1></div><div>y</div><div>z</div>");
  EXPECT_EQ(Safe("<xmp>x</xmp><listing>y</listing><strike>z</strike><menu><li>m</li></menu>"),
            "<pre>x</pre><pre>y</pre><s>z</s><ul><li>m</li></ul>");
}

TEST(SafeHtml, OfUnknownElementsStaysWhatTheyHold) {
  EXPECT_EQ(Safe("<html><body class=x><o:p>a</o:p> <blink>b</blink> <object data=x>c</object>"),
            "a b c");
}

TEST(SafeHtml, ALessSignThatBeginsNoTagIsText) {
  EXPECT_EQ(Safe("a < b, I <3 you, x<=y <"), "a &lt; b, I &lt;3 you, x&lt;=y &lt;");
  EXPECT_EQ(Safe("<<b>x</b>"), "&lt;<b>x</b>");
  EXPECT_EQ(Safe("1 > 0 -->"), "1 &gt; 0 --&gt;");
}

TEST(SafeHtml, AGreaterSignInQuotationMarksEndsNoTag) {
  EXPECT_EQ(Safe("<b title=\"1 > 0\">x</b>"), "<b title=\"1 &gt; 0\">x</b>");
  EXPECT_EQ(Safe("<b title='>' lang=\"a>b\">x</b>"), "<b title=\"&gt;\">x</b>");
  EXPECT_EQ(Safe("<b title=a'>x</b>"), "<b title=\"a'\">x</b>");
  EXPECT_EQ(Safe("</b title='>'>x"), "x");
}

TEST(SafeHtml, AQuotationMarkThatNeverComesBackSwallowsNoMail) {
  const std::string text = Safe("<b title=\"x>" + Repeated("word ", 2000) + "<i>end</i>");
  EXPECT_TRUE(text.ends_with("<i>end</i></b>")) << text.substr(text.size() - 100);
}

// --- What goes
// ----------------------------------------------------------------------------------

TEST(SafeHtml, ScriptsAndStyleSheetsGoWithWhatTheyHold) {
  for (const char* name : {"script", "style", "title", "iframe", "noembed", "noframes", "svg",
                           "math", "template", "ScRiPt"}) {
    const std::string element(name);
    EXPECT_EQ(Safe("a<" + element + " x=y>if (a<b) \"</x\" <b></" + element + " >b"), "ab");
    EXPECT_EQ(Safe("a<" + element + ">to the end <b>"), "a");
    EXPECT_EQ(Safe("a</" + element + ">b"), "ab");
  }
  EXPECT_EQ(Safe("<svg/>a<script/>b"), "a") << "only foreign elements close themselves";
  EXPECT_EQ(Safe("<script></scriptx>b</script>c"), "c");
}

TEST(SafeHtml, CommentsAndDeclarationsGo) {
  EXPECT_EQ(Safe("a<!-- <b> > -- > -->b<!---->c<!-->d<!--->e<!--x--!>f"), "abcdef");
  EXPECT_EQ(Safe("<!DOCTYPE html><?xml version=\"1.0\"?>a<![CDATA[b]]>c</ x>d</3>e"), "acde");
  EXPECT_EQ(
      Safe("<!--[if IE]><script>x()</script><![endif]-->a<!--[if !IE]><!-->b<!--<![endif]-->"),
      "ab");
  EXPECT_EQ(Safe("a<!-- never ends <b>x</b>"), "a");
}

TEST(SafeHtml, AttributesOutsideTheListGo) {
  EXPECT_EQ(Safe("<b onclick=\"x()\" ONMOUSEOVER=y style=\"position:fixed\" id=main name=n "
                 "class=button data-x=1 title=ok>x</b>"),
            "<b title=\"ok\">x</b>");
  EXPECT_EQ(Safe("<table background=\"http://example.org/x.gif\"><tr><td background=x>y</table>"),
            "<table><tr><td>y</td></tr></table>");
}

TEST(SafeHtml, ValuesOfAnotherKindGo) {
  EXPECT_EQ(Safe("<font color=\"expression(x)\" size=\"1;\" face=\"a'b\">x</font>"),
            "<font>x</font>");
  EXPECT_EQ(Safe("<table width=99999 border=-><tr><td rowspan=65534>x</td></tr></table>"),
            "<table><tr><td>x</td></tr></table>");
}

TEST(SafeHtml, LinksToAnythingElseGo) {
  for (const char* address : {"javascript:x()",
                              "JaVaScRiPt:x()",
                              " javascript:x()",
                              "java\tscript:x()",
                              "java&#9;script:x()",
                              "java&#x0A;script:x()",
                              "&#106;avascript:x()",
                              "&#0000106avascript:x()",
                              "&#x6A;&#x61;vascript:x()",
                              "javascript&colon;x()",
                              "java&Tab;script:x()",
                              "\x01javascript:x()",
                              "vbscript:x",
                              "data:text/html,x",
                              "file:///etc/passwd",
                              "//example.org",
                              "\\\\example.org",
                              "/\\example.org",
                              "http:example.org",
                              "http:\\\\example.org",
                              "index.htm",
                              "../brevant.ini",
                              "%2e%2e/brevant.ini",
                              "/etc/passwd",
                              "C:\\x",
                              "#main",
                              "",
                              "k3x9photo.pn",
                              "view-source:http://example.org",
                              "blob:http://example.org",
                              "about:blank",
                              "tel:1"}) {
    EXPECT_EQ(Safe("<a href=\"" + std::string(address) + "\">x</a>"), "x") << address;
    EXPECT_EQ(Safe("<a href='" + std::string(address) + "'>x</a>"), "x") << address;
  }
  EXPECT_EQ(Safe("<a>x</a><a name=y>z</a>"), "xz");
}

TEST(SafeHtml, OfTwoAddressesTheFirstCounts) {
  EXPECT_EQ(Safe("<a href=javascript:x() href=http://example.org/>x</a>"), "x");
}

TEST(SafeHtml, NoImageIsLoadedFromElsewhere) {
  EXPECT_EQ(Safe("<img src=\"http://example.org/x.png\" alt=\"Logo\">"),
            "<a href=\"http://example.org/x.png\" rel=\"nofollow ugc\">Logo</a>");
  EXPECT_EQ(Safe("<img src=\"http://example.org/x.png\">"),
            "<a href=\"http://example.org/x.png\" rel=\"nofollow ugc\">[IMAGE]</a>");
  EXPECT_EQ(Safe("<a href=\"http://example.org/\"><img src=http://example.org/x.png></a>"),
            "<a href=\"http://example.org/\" rel=\"nofollow ugc\">[IMAGE]</a>");
  EXPECT_EQ(Safe("<img src=http://example.org/t.gif width=1 height=1>x"), "x");
  EXPECT_EQ(Safe("<img src=\"data:image/png;base64,xx\" alt=\"<b>\"><img src=\"cid:x\">"
                 "<img src=\"../x.png\" alt=y><img src=\"file:///x.png\">"),
            "&lt;b&gt;y");
  EXPECT_EQ(Safe("<img srcset=\"http://example.org/x.png\" src=k3x9photo.png lowsrc=x onerror=y>"),
            "<img src=\"k3x9photo.png\" alt=\"\">");
}

TEST(SafeHtml, ControlCharactersGo) {
  EXPECT_EQ(Safe(std::string("a\0b\x01\x1B\x7F c\td", 10)), "ab c\td");
  EXPECT_EQ(Safe(std::string("<b title='x\0y\x0B'>z</b>", 22)), "<b title=\"xy\">z</b>");
  EXPECT_EQ(Safe(std::string("<scr\0ipt>x</scr\0ipt>", 20)), "x");
}

// --- The tree
// ------------------------------------------------------------------------------------

TEST(SafeHtml, WhatIsOpenIsClosedAtTheEnd) {
  EXPECT_EQ(Safe("<div><b>x"), "<div><b>x</b></div>");
  EXPECT_EQ(Safe("<table><tr><td><a href=http://x.org>y"),
            "<table><tr><td><a href=\"http://x.org\" rel=\"nofollow ugc\">y</a></td></tr></table>");
}

TEST(SafeHtml, EndTagsOfWhatWasNotOpenedGo) {
  EXPECT_EQ(Safe("</div></td></tr></table></main></body></html></li></p>x</b>"), "x");
  EXPECT_EQ(Safe("<div></div></div></div>"), "<div></div>");
  EXPECT_EQ(Safe("<b><table><tr><td></b></div>x</table>"),
            "<b><table><tr><td>x</td></tr></table></b>");
}

TEST(SafeHtml, ATagThatIsCutOffIsText) {
  EXPECT_EQ(Safe("x <b title=\"y"), "x &lt;b title=\"y");
  EXPECT_EQ(Safe("<i>x<"), "<i>x&lt;</i>");
  EXPECT_EQ(Safe("<i>x</i"), "<i>x&lt;/i</i>");
}

TEST(SafeHtml, PartsOfTablesNeedATable) {
  EXPECT_EQ(Safe("<tr><td>x</td></tr><caption>y</caption><tbody><col>"), "xy");
  EXPECT_EQ(Safe("<table><td>x<td>y<tr><td>z</table>"),
            "<table><tr><td>x</td><td>y</td></tr><tr><td>z</td></tr></table>");
  EXPECT_EQ(Safe("<table><tr><td><table><tr><td>x</table>y"),
            "<table><tr><td><table><tr><td>x</td></tr></table>y</td></tr></table>");
  EXPECT_EQ(Safe("<table><tr><table><tr><td>x</table></table>"),
            "<table><tr></tr></table><table><tr><td>x</td></tr></table>");
  EXPECT_EQ(Safe("<table><b><tr><td>x</b></table>"), "<table><b></b><tr><td>x</td></tr></table>");
  EXPECT_EQ(Safe("<table><caption>c<tr><td>x<tbody><tr><th>y</table>"),
            "<table><caption>c</caption><tr><td>x</td></tr><tbody><tr><th>y</th></tr></tbody>"
            "</table>");
}

TEST(SafeHtml, ItemsNeedAList) {
  EXPECT_EQ(Safe("<li>x<li>y"), "<ul><li>x</li><li>y</li></ul>");
  EXPECT_EQ(Safe("<dt>x<dd>y"), "<dl><dt>x</dt><dd>y</dd></dl>");
  EXPECT_EQ(Safe("<ul><li>x<blockquote><li>y</blockquote><li>z</ul>"),
            "<ul><li>x<blockquote><ul><li>y</li></ul></blockquote></li><li>z</li></ul>");
  EXPECT_EQ(Safe("<ul><li>x<ul><li>y</ul></li><li>z</ul>"),
            "<ul><li>x<ul><li>y</li></ul></li><li>z</li></ul>");
}

TEST(SafeHtml, ImpliedEndsAreWritten) {
  EXPECT_EQ(Safe("<p>x<p>y<div>z"), "<p>x</p><p>y</p><div>z</div>");
  EXPECT_EQ(Safe("<h1>x<h2>y</h1>z"), "<h1>x</h1><h2>y</h2>z");
  EXPECT_EQ(Safe("<ruby>a<rt>b<rt>c"), "<ruby>a<rt>b</rt><rt>c</rt></ruby>");
}

TEST(SafeHtml, FormattingGoesOnInTheNextParagraph) {
  EXPECT_EQ(Safe("<p><b>x<p>y</b>z"), "<p><b>x</b></p><p><b>y</b>z</p>");
  EXPECT_EQ(Safe("<b><i>x</b>y</i>z"), "<b><i>x</i></b><i>y</i>z");
  EXPECT_EQ(Safe("<p><b>x</p></b>y"), "<p><b>x</b></p>y");
  EXPECT_EQ(Safe("<ul><li><i>x<li>y</ul>z"), "<ul><li><i>x</i></li><li><i>y</i></li></ul><i>z</i>");
}

TEST(SafeHtml, FormattingThatEndsInsideABlockEndsWithIt) {
  EXPECT_EQ(Safe("<b><div>x</b>y</div>z"), "<b><div>xy</div></b>z");
  EXPECT_EQ(Safe("<b><div></b></b></b></div>z"), "<b><div></div></b>z");
}

TEST(SafeHtml, ALinkEndsTheOneAroundIt) {
  const std::string open = "<a href=\"http://x.org\" rel=\"nofollow ugc\">";
  EXPECT_EQ(Safe("<a href=http://x.org>x<a href=http://x.org>y"), open + "x</a>" + open + "y</a>");
  EXPECT_EQ(Safe("<a href=http://x.org><table><a href=http://x.org>y"),
            open + "<table>y</table></a>");
}

TEST(SafeHtml, DepthIsBounded) {
  const std::string deep = Safe(Repeated("<div>", 100000) + "x" + Repeated("</div>", 100000) + "y");
  EXPECT_EQ(deep, Repeated("<div>", TSafeTree::kDeepest) + "x" +
                      Repeated("</div>", TSafeTree::kDeepest) + "y");
}

// --- Bounds
// --------------------------------------------------------------------------------------

TEST(SafeHtml, NoTagIsLongerThanThePageWriterTakes) {
  const std::string title = "title=\"" + Repeated("\"&lt;\"", 100);
  for (const std::string& html :
       {"<a href=\"http://example.org/" + std::string(2000, 'x') + "\" title=\"" +
            std::string(1000, '<') + "\">y</a>",
        "<b " + Repeated("title=" + std::string(900, 'x') + " ", 10) + ">y</b>",
        "<img src=k3x9photo.png alt=" + std::string(1000, '<') +
            " title=" + std::string(1000, '<') + ">y",
        "<a href='http://example.org/" + std::string(1000, '"') + "'>y</a>",
        "<img src=\"data:" + std::string(100000, 'x') + "\" alt=x>y",
        "<b x" + std::string(5000, ' ') + "title=\"z>y</b>"}) {
    const std::string safe = Safe(html);
    for (std::size_t at = 0; (at = safe.find('<', at)) != std::string::npos; ++at) {
      EXPECT_LT(safe.find('>', at) - at, TPageWriter::kTokenLimit);
    }
    EXPECT_NE(safe.find('y'), std::string::npos) << html.substr(0, 60);
  }
}

TEST(SafeHtml, AnOverlongTagLosesTheAttributeThatWasCut) {
  EXPECT_EQ(Safe("<b title=\"a\" lang=\"" + std::string(5000, 'x') + "\">y</b>"),
            "<b title=\"a\">y</b>");
  EXPECT_EQ(Safe("<!--" + std::string(9000, 'x') + "-->y"), "y");
}

TEST(SafeHtml, LongTextInPiecesLosesNoBlank) {
  const std::string text = Repeated("some words ", 2000);
  for (const std::size_t step : {std::size_t{1}, std::size_t{7}, std::size_t{4095}}) {
    TSafeHtml safe;
    for (std::size_t at = 0; at < text.size(); at += step)
      safe.Take(std::string_view(text).substr(at, step));
    safe.Finish();
    EXPECT_EQ(safe.Html(), text) << step;
  }
}

TEST(SafeHtml, PiecesMakeNoDifference) {
  const std::string html =
      "<p>a<!-- x > y -->b<script>if (a</b) </scrip></script>c<a href=\"http://x.org/?>\">d</a> < e"
      "<b title='>'>f</b><style></style >g</p><!---->h<svg><a></svg>i<br/>&amp;";
  const std::string whole = Safe(html);
  for (std::size_t size = 1; size < 20; ++size) {
    TSafeHtml safe;
    for (std::size_t at = 0; at < html.size(); at += size) safe.Take(html.substr(at, size));
    safe.Finish();
    EXPECT_EQ(safe.Html(), whole) << size;
  }
}

TEST(SafeHtml, LongWordsAreKept) {
  const std::string word(20000, 'x');
  EXPECT_EQ(Safe(word + "<b>" + word + "</b>"), word + "<b>" + word + "</b>");
}

// What is safe once stays so: nothing in it is read otherwise the second time.
TEST(SafeHtml, SafeHtmlIsItsOwnSafeForm) {
  for (const char* html :
       {"<table><td><p>x<b>y<ul><li>z</table>", "a<!--x-->b < c <3 <b title='\"<>&quot;'>",
        "<img src=http://x.org/a.png alt='<script>'>", "<li><dt><td><a href='http://x.org/\"'>"}) {
    const std::string once = Safe(html);
    std::string again = Safe(once);
    EXPECT_EQ(again, once);
  }
}

// The benchmarks show that these take no longer either.
TEST(SafeHtml, HostileInputGrowsByABoundedFactor) {
  for (const char* piece : {"<",
                            "<b>",
                            "<b x=\"",
                            "<b x=\">\" ",
                            "<a href=\"http://x.org\">",
                            "</",
                            "</b>",
                            "<!--",
                            "-->",
                            "<script>",
                            "</scrip",
                            "<table><tr><td>",
                            "<p><b>",
                            "<b><p></b>",
                            "<ul><li>",
                            "&#",
                            "&amp;",
                            "<font color=red><p>",
                            "<div><i></div>",
                            "x=\"'",
                            ">",
                            "<b>x<td>",
                            "<table><td><li></table>",
                            "<img src=http://x.org>"}) {
    const std::string html = Repeated(piece, 100000 / std::string_view(piece).size());
    EXPECT_LT(Safe(html).size(), 40 * html.size()) << piece;
  }
}

// --- Addresses
// -----------------------------------------------------------------------------------

TEST(SafeLink, AnAddressIsReadAsABrowserReadsIt) {
  EXPECT_EQ(CanonicalAddress(" http://a/&amp;b&quot;&lt;&gt;\"<>&x;&"),
            "http://a/&amp;b&quot;&lt;&gt;&quot;&lt;&gt;&amp;x;&amp;");
  EXPECT_EQ(CanonicalAddress("&#x68;&#116tp&#58;//a&#10;b&#0;c&#99999999999;&#xD800000;"),
            "http://abc&#65533;&#65533;");
  EXPECT_EQ(CanonicalAddress("&#;&#x;&#xg;"), "&amp;#;&amp;#x;&amp;#xg;");
  EXPECT_TRUE(IsSafeAddress("\t HTTPS://x"));
  EXPECT_TRUE(IsSafeAddress("ht\ntp://x"));
  EXPECT_FALSE(IsSafeAddress("http:/x"));
  EXPECT_FALSE(IsSafeAddress("httpx://x"));
  EXPECT_FALSE(IsSafeAddress("x http://x"));
}

TEST(SafeLink, ARelativeAddressHasNoScheme) {
  for (const char* address : {"", "a.htm", "a/b:c", "?x:y", "#x:y", "/a", "../a"}) {
    EXPECT_TRUE(IsRelativeAddress(address)) << address;
  }
  for (const char* address :
       {"a:b", "//x", "\\\\x", "/\\x", "/\t/x", " \x01//x", "java\nscript:x"}) {
    EXPECT_FALSE(IsRelativeAddress(address)) << address;
  }
}

}  // namespace
}  // namespace brevant
