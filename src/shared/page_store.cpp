// The site's directory.
#include "shared/page_store.h"

#include "platform/unpredictable_name.h"
#include "shared/page_names.h"
#include "store/ascii.h"
#include "text/page_writer.h"
#include "text/unique_file.h"

#include <algorithm>
#include <exception>
#include <new>

namespace brevant {
namespace {

// A directory of its own: a name that is new in a directory costs as much as the directory is long.
constexpr std::string_view kUnfinishedName = "~brevant.tmp";
// What the names of the files in it begin with.
constexpr std::string_view kUnfinishedFile = "file";
constexpr std::size_t kBlockBytes = 65536;

// A directory search, ended with the object.
class UniqueSearch {
 public:
  explicit UniqueSearch(HANDLE handle) : handle_(handle) {}
  ~UniqueSearch() {
    if (handle_ != INVALID_HANDLE_VALUE) FindClose(handle_);
  }
  UniqueSearch(const UniqueSearch&) = delete;
  UniqueSearch& operator=(const UniqueSearch&) = delete;
  explicit operator bool() const { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE Get() const { return handle_; }

 private:
  HANDLE handle_;
};

TFileFacts FactsOf(const WIN32_FIND_DATAA& data) {
  TFileFacts facts;
  facts.name = data.cFileName;
  facts.written = TTime(data.ftLastWriteTime);
  facts.attributes = data.dwFileAttributes;
  facts.size = (static_cast<std::uint64_t>(data.nFileSizeHigh) << 32) | data.nFileSizeLow;
  return facts;
}

bool WriteWhole(HANDLE file, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), kBlockBytes * 16));
    DWORD written = 0;
    if (WriteFile(file, bytes.data(), count, &written, nullptr) == 0 || written == 0) return false;
    bytes.remove_prefix(written);
  }
  return true;
}

// Whether the next bytes of the file are these.
bool GoesOnWith(HANDLE file, std::string_view bytes, std::string& block) {
  while (!bytes.empty()) {
    const auto count = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), kBlockBytes));
    block.resize(count);
    DWORD read = 0;
    if (ReadFile(file, block.data(), count, &read, nullptr) == 0 || read == 0 ||
        bytes.substr(0, read) != std::string_view(block).substr(0, read)) {
      return false;
    }
    bytes.remove_prefix(read);
  }
  return true;
}

bool IsOwnDirectory(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 &&
         (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0;
}

UniqueFile CreateToWrite(const std::string& path) {
  return UniqueFile(CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
}

}  // namespace

bool IsUnfinishedName(std::string_view name) { return EqualsIgnoreCase(name, kUnfinishedName); }

bool ForEachEntry(const std::string& pattern, const std::function<bool(const TFileFacts&)>& take) {
  WIN32_FIND_DATAA data;
  const UniqueSearch search(FindFirstFileA(pattern.c_str(), &data));
  // What was not looked for is not missing.
  if (!search && GetLastError() == ERROR_NOT_ENOUGH_MEMORY) throw std::bad_alloc();
  if (!search) return false;
  bool goOn = true;
  do {
    const std::string_view name = data.cFileName;
    if (name != "." && name != "..") goOn = take(FactsOf(data));
  } while (goOn && FindNextFileA(search.Get(), &data) != 0);
  return !goOn || GetLastError() == ERROR_NO_MORE_FILES;
}

void ForEachFile(const std::string& pattern, const std::function<void(const TFileFacts&)>& take) {
  ForEachEntry(pattern, [&](const TFileFacts& entry) {
    if ((entry.attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) take(entry);
    return true;
  });
}

bool FindFile(const std::string& path, TFileFacts* facts) {
  bool found = false;
  ForEachFile(path, [&](const TFileFacts& file) {
    *facts = file;
    found = true;
  });
  return found;
}

TTime NewestFileTime(const std::string& pattern) {
  TTime newest;
  ForEachFile(pattern, [&](const TFileFacts& file) { newest = std::max(newest, file.written); });
  return newest;
}

TTime LocalFileTime(const TTime& time) {
  // West of Greenwich the time of no file at all would become one long past every other.
  if (time.IsZero()) return time;
  FILETIME local{};
  return FileTimeToLocalFileTime(&time.FileTime(), &local) != 0 ? TTime(local) : TTime();
}

bool ReadWholeFile(const std::string& path, std::string* bytes) {
  const UniqueFile file = UniqueFile::OpenToRead(path);
  if (!file) return false;
  bytes->clear();
  std::string block(kBlockBytes, '\0');
  for (;;) {
    DWORD read = 0;
    if (ReadFile(file.Get(), block.data(), kBlockBytes, &read, nullptr) == 0) return false;
    if (read == 0) return true;
    bytes->append(block, 0, read);
  }
}

std::string FullPath(const std::string& path) {
  std::string full(MAX_PATH, '\0');
  DWORD length = GetFullPathNameA(path.c_str(), MAX_PATH, full.data(), nullptr);
  if (length >= MAX_PATH) {
    full.resize(length);
    length = GetFullPathNameA(path.c_str(), length, full.data(), nullptr);
  }
  full.resize(std::min<std::size_t>(length, full.size()));
  return full;
}

TPageStore::~TPageStore() {
  if (!writing_) return;
  try {
    RemoveUnfinished();
  } catch (const std::exception&) {
    // Out of memory: the next run removes it.
  }
}

void TPageStore::Scan() {
  names_ = {};
  seen_.clear();
  if (directory_.empty()) return;
  RemoveUnfinished();
  ForEachFile(directory_ + "*", [&](const TFileFacts& file) {
    if (!IsPageFile(file.name)) return;
    if (names_.Insert(file.name).second) seen_.push_back({file.written, file.attributes});
  });
}

void TPageStore::RemoveUnfinished() {
  const std::string unfinished = directory_ + std::string(kUnfinishedName);
  writing_ = false;
  const DWORD attributes = GetFileAttributesA(unfinished.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) return;
  if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    // Somebody's link in its place goes, and nothing of what it leads to.
    if (DeleteFileA(unfinished.c_str()) == 0) RemoveDirectoryA(unfinished.c_str());
    return;
  }
  ForEachFile(unfinished + "/" + std::string(kUnfinishedFile) + "*",
              [&](const TFileFacts& file) { DeleteFileA((unfinished + "/" + file.name).c_str()); });
  RemoveDirectoryA(unfinished.c_str());
}

std::string TPageStore::StartUnfinished() {
  if (directory_.empty()) return {};
  const std::string unfinished = directory_ + std::string(kUnfinishedName);
  if (!writing_) {
    RemoveUnfinished();
    // One that something else keeps there is used as it is: the names in it are new ones.
    if (CreateDirectoryA(unfinished.c_str(), OwnerOnly()) == 0 && !IsOwnDirectory(unfinished)) {
      return {};
    }
    writing_ = true;
  }
  return unfinished + "/" + std::string(kUnfinishedFile) + "-" + platform::UnpredictableName();
}

std::optional<TFileFacts> TPageStore::FindPage(const std::string& fileName) const {
  const std::uint32_t number = names_.Find(fileName);
  if (number == names_.kNone) return std::nullopt;
  TFileFacts facts;
  facts.name = names_.Name(number);
  facts.written = seen_[number].written;
  facts.attributes = seen_[number].attributes;
  return facts;
}

bool TPageStore::Holds(const TFileFacts& file, const TPageWriter& page) const {
  // A link is none of the pages that this library wrote; a new page takes its place.
  if ((file.attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) return false;
  const UniqueFile present = UniqueFile::OpenToRead(directory_ + file.name);
  if (!present) return false;
  std::string block;
  const bool begins = page.RenderTo(
      [&](std::string_view piece) { return GoesOnWith(present.Get(), piece, block); });
  char behind = 0;
  DWORD read = 0;
  return begins && ReadFile(present.Get(), &behind, 1, &read, nullptr) != 0 && read == 0;
}

bool TPageStore::Finish(const std::string& unfinished, const std::string& fileName) {
  // The attributes come first: under its final name a file is never anybody else's.
  if (SetFileAttributesA(unfinished.c_str(), kOwnFileAttributes) != 0 &&
      MoveFileExA(unfinished.c_str(), (directory_ + fileName).c_str(), MOVEFILE_REPLACE_EXISTING) !=
          0) {
    return true;
  }
  DeleteFileA(unfinished.c_str());
  return false;
}

bool TPageStore::Save(const std::string& fileName, const TPageWriter& page) {
  const std::string unfinished = StartUnfinished();
  if (unfinished.empty()) return false;
  UniqueFile file = CreateToWrite(unfinished);
  if (!file) return false;
  const bool written =
      page.RenderTo([&](std::string_view piece) { return WriteWhole(file.Get(), piece); });
  if (file.Close() && written) return Finish(unfinished, fileName);
  DeleteFileA(unfinished.c_str());
  return false;
}

bool TPageStore::Touch(const std::string& fileName) const {
  UniqueFile file(CreateFileA((directory_ + fileName).c_str(), FILE_WRITE_ATTRIBUTES,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                              nullptr));
  if (!file) return false;
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  return SetFileTime(file.Get(), nullptr, nullptr, &now) != 0;
}

TPageStore::TCopied TPageStore::Copy(const std::string& source, const std::string& fileName) {
  const UniqueFile from = UniqueFile::OpenToRead(source);
  if (!from) return TCopied::kNotReadable;
  const std::string unfinished = StartUnfinished();
  if (unfinished.empty()) return TCopied::kNotWritable;
  UniqueFile to = CreateToWrite(unfinished);
  if (!to) return TCopied::kNotWritable;
  std::string block(kBlockBytes, '\0');
  TCopied result = TCopied::kDone;
  DWORD read = 0;
  do {
    if (ReadFile(from.Get(), block.data(), kBlockBytes, &read, nullptr) == 0) {
      result = TCopied::kNotReadable;
    } else if (!WriteWhole(to.Get(), std::string_view(block).substr(0, read))) {
      result = TCopied::kNotWritable;
    }
  } while (result == TCopied::kDone && read > 0);
  // The source's own time, so that of two files of one name the newer one stays.
  FILETIME time;
  if (GetFileTime(from.Get(), nullptr, nullptr, &time) == 0 ||
      SetFileTime(to.Get(), nullptr, nullptr, &time) == 0 || !to.Close()) {
    if (result == TCopied::kDone) result = TCopied::kNotWritable;
  }
  if (result == TCopied::kDone) {
    return Finish(unfinished, fileName) ? TCopied::kDone : TCopied::kNotWritable;
  }
  to.Close();
  DeleteFileA(unfinished.c_str());
  return result;
}

}  // namespace brevant
