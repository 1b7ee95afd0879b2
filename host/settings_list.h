// The settings a board may have: what the host lets a user set, with the value a new board gets.
#pragma once

#include <span>
#include <string_view>

namespace host {

struct SettingInfo {
  const char* key;
  const char* initial;  // what init writes; null: the setting is left out
  const char* meaning;
};

std::span<const SettingInfo> SettingsList();
// The entry of key, ignoring letter case; also for keys made of a fixed beginning and a page's
// name. Null when there is none.
const SettingInfo* FindSetting(std::string_view key);
bool IsPasswordKey(std::string_view key);

}  // namespace host
