// Values of mail headers: dates, media types and their parameters; dates and times as people write
// them.
#include "fuzzed_input.h"
#include "net/header_date.h"
#include "net/mime_parameters.h"

#include <vector>

using test::Require;

namespace {

// A time that no one wrote must still be one.
void CheckDate(const TTime& time) {
  if (time.IsZero()) return;
  Require(time.Month() >= 1 && time.Month() <= 12 && time.Day() >= 1 && time.Day() <= 31,
          "a date is one of the calendar");
  for (unsigned options = 0; options < 0x4000; options = options * 2 + 1) {
    for (const int room : {0, 1, 7, 64}) {
      std::vector<char> text(static_cast<std::size_t>(room));
      FormatTime(time, text.data(), room, options);
      Require(room == 0 || std::string_view(text.data()).size() < text.size(), "a text that fits");
    }
  }
}

void CheckWritten(const std::string& value) {
  int month = -1;
  int day = -2;
  int year = -3;
  if (ParseDate(value.c_str(), &month, &day, &year) == 0)
    Require(month == -1 && day == -2 && year == -3, "what is no date leaves the outputs alone");
  int hour = -1;
  int minute = -2;
  int second = -3;
  if (ParseTime(value.c_str(), &hour, &minute, &second) == 0)
    Require(hour == -1 && minute == -2 && second == -3, "nor does what is no time");
  const TTime time(year, month, day, hour, minute, second);
  CheckDate(time);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzedInput input(data, size);
  const std::string name = input.Part();
  const std::string value = input.Rest();
  CheckDate(brevant::ParseHeaderDate(value));
  CheckDate(brevant::ParseHeaderDateStandard(value));
  CheckWritten(value);
  const std::string main = brevant::MainValue(value);
  Require(main.size() <= value.size() && main.find(';') == std::string::npos, "a main value");
  for (const char* known : {"boundary", "charset", "filename", name.c_str()}) {
    brevant::FindQuotedParameter(value, known);
    const auto parameter = brevant::FindParameter(value, known);
    Require(!parameter || parameter->size() <= value.size(), "no parameter grows");
  }
  return 0;
}
