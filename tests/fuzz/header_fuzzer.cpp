// Values of mail headers: dates, media types and their parameters.
#include "fuzzed_input.h"
#include "net/header_date.h"
#include "net/mime_parameters.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzedInput input(data, size);
  const std::string name = input.Part();
  const std::string value = input.Rest();
  brevant::ParseHeaderDate(value);
  brevant::ParseHeaderDateStandard(value);
  brevant::MainValue(value);
  for (const char* known : {"boundary", "charset", "filename", name.c_str()}) {
    brevant::FindQuotedParameter(value, known);
    const auto parameter = brevant::FindParameter(value, known);
    test::Require(!parameter || parameter->size() <= value.size(), "no parameter grows");
  }
  return 0;
}
