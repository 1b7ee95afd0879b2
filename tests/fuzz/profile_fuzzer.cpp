// Any bytes as a profile file: read, changed key by key, read again.
#include "fuzzed_input.h"
#include "platform/posix/profile_text.h"

using brevant::posix::ProfileText;

namespace {

void ReadAll(const ProfileText& text) {
  const std::string sections = text.SectionList();
  for (std::size_t at = 0; at < sections.size(); at = sections.find('\0', at) + 1) {
    const std::string section = sections.c_str() + at;
    const std::string keys = text.KeyList(section);
    for (std::size_t key = 0; key < keys.size(); key = keys.find('\0', key) + 1) {
      text.Value(section, keys.c_str() + key);
    }
  }
}

void Change(ProfileText& text, const std::optional<ProfileText::Change>& change) {
  if (!change) return;
  text.Apply(*change);
  // What was changed in memory reads as the file does.
  const ProfileText again(text.Bytes());
  test::Require(again.SectionList() == text.SectionList(), "a change keeps the index right");
  ReadAll(text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  test::FuzzedInput input(data, size);
  const std::string section = input.Part();
  const std::string key = input.Part();
  const std::string value = input.Part();
  ProfileText text(input.Rest());
  ReadAll(text);
  Change(text, text.Set(section, key, value));
  Change(text, text.Set(section, key, value + "x"));
  Change(text, text.RemoveKey(section, key));
  Change(text, text.RemoveSection(section));
  return 0;
}
