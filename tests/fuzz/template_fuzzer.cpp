// Any bytes as a template: tags, fields, sections, attributes, rendering. Bytes cut anywhere give
// the same page.
#include "fuzzed_input.h"
#include "unit/text/template_board.h"

namespace {

std::string Make(std::string_view text, std::size_t step) {
  test::SectionPage page;
  page.Add("VALUE", "<b a='1'>\xBB x & \"y\"</b> $FORUM$");
  page.Add("TAGGED", [](brevant::TPageWriter& writer, brevant::TFieldArguments arguments) {
    for (const std::string_view argument : arguments) writer.Feed(argument);
    return 1;
  });
  for (std::size_t at = 0; at < text.size(); at += step) page.writer.Feed(text.substr(at, step));
  page.writer.Flush();
  page.writer.ExpandSections();
  std::size_t attributes = 0;
  brevant::TAttribute attribute;
  for (bool found = page.writer.FindAttribute("HREF", &attribute); found;
       found = page.writer.FindAttribute("HREF", &attribute, attribute.item, attribute.end)) {
    test::Require(++attributes <= text.size() * 64 + 4096, "the search for attributes ends");
  }
  return test::Dump(page.writer);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzedInput input(data, size);
  const std::size_t step = input.Byte() + 1;
  const std::string text = input.Rest();
  // Sections inside sections multiply; the fuzzer is after crashes, not after large pages.
  if (text.size() > 8192) return 0;
  test::RequireEqual(Make(text, step), Make(text, text.size() + 1), "pieces give the same page");
  return 0;
}
