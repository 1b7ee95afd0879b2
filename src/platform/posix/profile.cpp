#include "platform/posix/profile.h"

#include "platform/posix/errors.h"
#include "platform/posix/paths.h"
#include "platform/posix/profile_file.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <new>
#include <set>
#include <string>
#include <string_view>

namespace {

using brevant::posix::Fail;
using brevant::posix::NativePath;
using brevant::posix::ProfileCache;
using brevant::posix::ProfileText;

struct Profiles {
  std::mutex mutex;
  ProfileCache cache;
  std::set<std::string> unsynced;
};

Profiles& Instance() {
  // Never destroyed: a store may be closed by another static object at exit.
  static auto* profiles = new Profiles;
  return *profiles;
}

std::string_view TextOf(const char* text) { return text == nullptr ? "" : text; }

// A text cut to the buffer, with its NUL; the length without it.
DWORD CopyText(std::string_view text, char* buffer, DWORD size) {
  if (buffer == nullptr || size == 0) return 0;
  text = text.substr(0, text.find('\0'));
  const std::size_t length = std::min<std::size_t>(text.size(), size - 1);
  std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
  if (length < text.size()) SetLastError(ERROR_MORE_DATA);
  return static_cast<DWORD>(length);
}

// A list of texts with their NULs and a last one. One that does not fit is cut so that two NULs end
// it; the length is then the buffer's less those.
DWORD CopyList(const std::string& list, char* buffer, DWORD size) {
  if (buffer == nullptr || size == 0) return 0;
  if (list.empty() || size < 2) {
    buffer[0] = '\0';
    return 0;
  }
  const std::size_t length = std::min<std::size_t>(list.size(), size - 2);
  std::memcpy(buffer, list.data(), length);
  buffer[length] = '\0';
  if (length < list.size()) {
    buffer[length + 1] = '\0';
    SetLastError(ERROR_MORE_DATA);
  }
  return static_cast<DWORD>(length);
}

// The default: its trailing blanks go, but the first character stays, whatever it is.
std::string_view TrimDefault(std::string_view text) {
  while (text.size() > 1 && text.back() == ' ') text.remove_suffix(1);
  return brevant::posix::UnquoteProfileValue(text);
}

// The file as it is now; with none, an empty one (the last error says that it is not there).
const ProfileText& Read(const char* file) {
  static const auto* nothing = new ProfileText;
  SetLastError(ERROR_SUCCESS);
  const ProfileText* text = Instance().cache.Get(NativePath(file)).Read();
  return text == nullptr ? *nothing : *text;
}

}  // namespace

DWORD GetPrivateProfileStringA(const char* section, const char* key, const char* fallback,
                               char* buffer, DWORD size, const char* file) {
  const std::lock_guard<std::mutex> guard(Instance().mutex);
  try {
    const ProfileText& text = Read(file);
    if (section == nullptr) return CopyList(text.SectionList(), buffer, size);
    if (key == nullptr) return CopyList(text.KeyList(section), buffer, size);
    const auto value = text.Value(section, key);
    return CopyText(value ? *value : TrimDefault(TextOf(fallback)), buffer, size);
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return CopyText(TrimDefault(TextOf(fallback)), buffer, size);
  }
}

DWORD GetPrivateProfileSectionNamesA(char* buffer, DWORD size, const char* file) {
  return GetPrivateProfileStringA(nullptr, nullptr, nullptr, buffer, size, file);
}

BOOL WritePrivateProfileStringA(const char* section, const char* key, const char* value,
                                const char* file) {
  if (section == nullptr) {
    // All null asks to write what is kept in memory, of which there is nothing.
    return Fail(key == nullptr && value == nullptr ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER);
  }
  const std::lock_guard<std::mutex> guard(Instance().mutex);
  try {
    const std::string path = NativePath(file);
    const bool sync = !Instance().unsynced.contains(path);
    return Instance().cache.Get(path).Write(
        [&](const ProfileText& text) {
          if (key == nullptr) return text.RemoveSection(section);
          return value == nullptr ? text.RemoveKey(section, key) : text.Set(section, key, value);
        },
        sync);
  } catch (const std::bad_alloc&) {
    return Fail(ERROR_NOT_ENOUGH_MEMORY);
  }
}

void brevant::SetProfileSync(const char* file, bool sync) {
  const std::lock_guard<std::mutex> guard(Instance().mutex);
  if (sync) {
    Instance().unsynced.erase(NativePath(file));
  } else {
    Instance().unsynced.insert(NativePath(file));
  }
}
