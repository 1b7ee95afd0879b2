#include "shared/attachment_store.h"

#include "platform/unpredictable_name.h"
#include "shared/attachment_name.h"

#include <algorithm>
#include <random>

namespace brevant {

namespace {

constexpr std::size_t kChunk = 65536;

bool WriteWhole(HANDLE file, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto count = static_cast<DWORD>(std::min(bytes.size(), kChunk));
    DWORD written = 0;
    if (WriteFile(file, bytes.data(), count, &written, nullptr) == 0 || written == 0) return false;
    bytes.remove_prefix(written);
  }
  return true;
}

}  // namespace

bool TNewFile::Create(const std::string& path) {
  handle_ = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL,
                        nullptr);
  if (handle_ == INVALID_HANDLE_VALUE) return false;
  path_ = path;
  return true;
}

bool TNewFile::Write(std::string_view bytes) {
  return handle_ != INVALID_HANDLE_VALUE && WriteWhole(handle_, bytes);
}

bool TNewFile::Finish(bool durable) {
  if (handle_ == INVALID_HANDLE_VALUE) return false;
  const bool safe = !durable || FlushFileBuffers(handle_) != 0;
  const bool closed = CloseHandle(handle_) != 0;
  handle_ = INVALID_HANDLE_VALUE;
  if (!safe || !closed) DeleteFileA(path_.c_str());
  return safe && closed;
}

void TNewFile::Discard() {
  if (handle_ == INVALID_HANDLE_VALUE) return;
  CloseHandle(handle_);
  handle_ = INVALID_HANDLE_VALUE;
  DeleteFileA(path_.c_str());
}

TScratchFile::~TScratchFile() {
  file_.Discard();
  if (directory_.empty()) return;
  DeleteFileA(file_.Path().c_str());
  RemoveDirectoryA(directory_.c_str());
}

bool TScratchFile::Create(std::string_view name) {
  constexpr int kAttempts = 16;
  char temporary[2 * MAX_PATH];
  const DWORD length = GetTempPathA(sizeof temporary, temporary);
  if (length == 0 || length >= sizeof temporary) return false;
  for (int attempt = 0; attempt < kAttempts && directory_.empty(); ++attempt) {
    const std::string path =
        std::string(temporary, length) + "brevant-" + platform::UnpredictableName();
    if (CreateDirectoryA(path.c_str(), OwnerOnly()) != 0) {
      directory_ = path;
    } else if (GetLastError() != ERROR_ALREADY_EXISTS) {
      return false;
    }
  }
  return !directory_.empty() && file_.Create(directory_ + "/" + std::string(name));
}

bool TScratchFile::CopyTo(TNewFile& target) {
  // Not made durable: it is gone in a moment.
  if (!file_.Finish(false)) return false;
  const HANDLE source = CreateFileA(file_.Path().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (source == INVALID_HANDLE_VALUE) return false;
  std::string chunk(kChunk, '\0');
  DWORD count = 0;
  bool good = true;
  do {
    good = ReadFile(source, chunk.data(), static_cast<DWORD>(chunk.size()), &count, nullptr) != 0 &&
           target.Write(std::string_view(chunk).substr(0, count));
  } while (good && count > 0);
  CloseHandle(source);
  return good;
}

bool CreateAttachment(const std::string& directory, const std::string& safeName, TNewFile& file,
                      std::string& storedName) {
  constexpr unsigned kAttempts = 1000;
  if (directory.empty()) return false;
  unsigned number = std::random_device()();
  for (unsigned attempt = 0; attempt < kAttempts; ++attempt, ++number) {
    storedName = StoredFileName(AttachmentPrefix(number), safeName);
    if (file.Create(directory + storedName)) return true;
    const DWORD error = GetLastError();
    if (error != ERROR_FILE_EXISTS && error != ERROR_ALREADY_EXISTS) return false;
  }
  return false;
}

bool MarkAttachment(const std::string& path) {
  return SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_TEMPORARY) != 0;
}

}  // namespace brevant
