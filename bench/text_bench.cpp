// The page writer: templates fed and rendered, with and without tags and repeated parts; and HTML
// made plain text. The floor copies as many bytes. Rates count the bytes of the finished page.
#include "text/charset.h"
#include "text/filters.h"
#include "text/plain_text.h"
#include "text/safe_html.h"
#include "unit/text/template_board.h"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

using brevant::TPageWriter;

constexpr int kRows = 2000;

std::string PlainPage() {
  std::string page = "<html><body><table class=\"messages\">\r\n";
  for (int i = 0; i < kRows; ++i) {
    page += "<tr><td class=\"subject\"><a href=\"message-" + std::to_string(i) +
            ".htm\">A subject of the usual length</a></td>\r\n"
            "<td>Ann Example</td><td>12 March 1999, 14:05</td></tr>\r\n";
  }
  return page + "</table></body></html>\r\n";
}

void Report(benchmark::State& state, std::size_t bytes) {
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

void FloorCopy(benchmark::State& state) {
  const std::string page = PlainPage();
  std::vector<char> copy(page.size());
  for (auto _ : state) {
    std::memcpy(copy.data(), page.data(), page.size());
    benchmark::ClobberMemory();
  }
  Report(state, page.size());
}

void FeedPlainPage(benchmark::State& state) {
  const std::string page = PlainPage();
  for (auto _ : state) {
    TPageWriter writer;
    writer.Feed(page);
    writer.Flush();
    benchmark::DoNotOptimize(writer.ItemCount());
  }
  Report(state, page.size());
}

void FeedAndRenderPlainPage(benchmark::State& state) {
  const std::string page = PlainPage();
  for (auto _ : state) {
    TPageWriter writer;
    writer.Feed(page);
    writer.Flush();
    benchmark::DoNotOptimize(writer.Render());
  }
  Report(state, page.size());
}

// The same page out of one row, repeated for every message.
void RepeatAndRenderRows(benchmark::State& state) {
  std::size_t size = 0;
  for (auto _ : state) {
    state.PauseTiming();
    test::Page page;
    page.board.containers[1] = {
        {"F", std::vector<std::string>(kRows, "A subject of usual length")}};
    page.board.container[1] = 0;
    state.ResumeTiming();
    page.writer.Feed(
        "<html><body><table class=\"messages\">\r\n"
        "<tr><td class=\"subject\"><a href=\"$MESSAGE$.htm\">$MESSAGE$</a></td>\r\n"
        "<td>Ann Example</td><td>12 March 1999, 14:05</td></tr>\r\n"
        "</table></body></html>\r\n");
    page.writer.Flush();
    page.writer.ExpandSections();
    const std::string made = page.writer.Render();
    size = made.size();
  }
  Report(state, size);
}

void EscapeAndDecode(benchmark::State& state) {
  const std::string page = PlainPage();
  for (auto _ : state) {
    std::string text = page;
    brevant::HtmlEscape(text);
    brevant::HtmlDecode(text);
    benchmark::DoNotOptimize(text);
  }
  Report(state, page.size());
}

// A mail as programs write it: paragraphs of words with some markup and references.
std::string HtmlMail() {
  std::string mail = "<html><head><title>Mail</title></head><body>\r\n";
  for (int i = 0; i < kRows; ++i) {
    mail +=
        "<p style=\"margin:0\">It was a dark &amp; stormy night; the rain fell in torrents, "
        "except\r\n"
        "at <b>occasional</b> intervals, when it was checked by a violent gust of wind<br>\r\n"
        "which swept up the streets (for it is in London&nbsp;that our scene lies).</p>\r\n";
  }
  return mail + "</body></html>\r\n";
}

// Rates count the bytes of the HTML.
void ConvertToPlainText(benchmark::State& state, const std::string& html) {
  for (auto _ : state) benchmark::DoNotOptimize(brevant::HtmlToPlainText(html));
  Report(state, html.size());
}
void PlainTextOfAMail(benchmark::State& state) { ConvertToPlainText(state, HtmlMail()); }
void PlainTextOfAPage(benchmark::State& state) { ConvertToPlainText(state, PlainPage()); }
void PlainTextInUtf8(benchmark::State& state) {
  const std::string html = HtmlMail();
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        brevant::HtmlToPlainText(brevant::DecodeText(html, "utf-8"), {.isUtf8 = true}));
  }
  Report(state, html.size());
}

// In the pieces in which pages read content.
std::size_t Sanitize(std::string_view html) {
  constexpr std::size_t kPiece = 4096;
  std::size_t length = 0;
  brevant::TSafeHtml safe;
  for (std::size_t at = 0; at < html.size(); at += kPiece) {
    safe.Take(html.substr(at, kPiece));
    length += safe.Html().size();
    safe.Html().clear();
  }
  safe.Finish();
  return length + safe.Html().size();
}

void SafeHtmlOfAMail(benchmark::State& state) {
  const std::string mail = HtmlMail();
  for (auto _ : state) benchmark::DoNotOptimize(Sanitize(mail));
  Report(state, mail.size());
}

void SafeHtmlOfAPage(benchmark::State& state) {
  const std::string page = PlainPage();
  for (auto _ : state) benchmark::DoNotOptimize(Sanitize(page));
  Report(state, page.size());
}

// Tags and almost nothing else, chosen to cost much; the argument is how much of it there is, so
// that a time that is not linear shows.
void SafeHtmlOfHostileMail(benchmark::State& state, std::string_view piece) {
  std::string html;
  while (html.size() < static_cast<std::size_t>(state.range(0))) html += piece;
  for (auto _ : state) benchmark::DoNotOptimize(Sanitize(html));
  Report(state, html.size());
}

BENCHMARK(FloorCopy)->Unit(benchmark::kMicrosecond);
BENCHMARK(FeedPlainPage)->Unit(benchmark::kMicrosecond);
BENCHMARK(FeedAndRenderPlainPage)->Unit(benchmark::kMicrosecond);
BENCHMARK(RepeatAndRenderRows)->Unit(benchmark::kMicrosecond);
BENCHMARK(EscapeAndDecode)->Unit(benchmark::kMicrosecond);
BENCHMARK(PlainTextOfAMail)->Unit(benchmark::kMicrosecond);
BENCHMARK(PlainTextOfAPage)->Unit(benchmark::kMicrosecond);
BENCHMARK(PlainTextInUtf8)->Unit(benchmark::kMicrosecond);
BENCHMARK(SafeHtmlOfAMail)->Unit(benchmark::kMicrosecond);
BENCHMARK(SafeHtmlOfAPage)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(SafeHtmlOfHostileMail, deep, "<div>")->Range(1 << 17, 1 << 20);
BENCHMARK_CAPTURE(SafeHtmlOfHostileMail, paragraphs, "<p><b>")->Range(1 << 17, 1 << 20);
BENCHMARK_CAPTURE(SafeHtmlOfHostileMail, misnested, "<b><i><p></b>")->Range(1 << 17, 1 << 20);
BENCHMARK_CAPTURE(SafeHtmlOfHostileMail, ends, "<b><div></b></i>")->Range(1 << 17, 1 << 20);
BENCHMARK_CAPTURE(SafeHtmlOfHostileMail, tables, "<table><tr><td><li>")->Range(1 << 17, 1 << 20);
BENCHMARK_CAPTURE(SafeHtmlOfHostileMail, quotes, "<b x=\">\" ")->Range(1 << 17, 1 << 20);
BENCHMARK_CAPTURE(SafeHtmlOfHostileMail, comments, "<!-->->")->Range(1 << 17, 1 << 20);

}  // namespace
