// A file in memory for the engine's tests: it outlives its document and fails when told to.
#pragma once

#include "compound/byte_file.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <string>

namespace test {

struct MemoryDisk {
  std::string bytes;
  std::string durable;  // as of the last sync
  std::size_t writes = 0;
  std::size_t bytesWritten = 0;
  std::size_t syncs = 0;
  std::size_t reads = 0;
  std::size_t bytesRead = 0;
  // Each is asked before the operation; anything but kOk fails it.
  std::function<compound::Status()> onRead = [] { return compound::Status::kOk; };
  std::function<compound::Status()> onWrite = [] { return compound::Status::kOk; };
  std::size_t capacity = static_cast<std::size_t>(-1);
};

class MemoryFile final : public compound::ByteFile {
 public:
  explicit MemoryFile(std::shared_ptr<MemoryDisk> disk) : disk_(std::move(disk)) {}

  compound::Status ReadAt(std::uint64_t offset, void* buffer, std::size_t count,
                          std::size_t* got) override {
    *got = 0;
    ++disk_->reads;
    if (const auto status = disk_->onRead(); status != compound::Status::kOk) return status;
    if (offset >= disk_->bytes.size()) return compound::Status::kOk;
    *got = std::min(count, disk_->bytes.size() - static_cast<std::size_t>(offset));
    std::memcpy(buffer, disk_->bytes.data() + offset, *got);
    disk_->bytesRead += *got;
    return compound::Status::kOk;
  }

  compound::Status WriteAt(std::uint64_t offset, const void* buffer, std::size_t count) override {
    if (const auto status = disk_->onWrite(); status != compound::Status::kOk) return status;
    const std::size_t end = static_cast<std::size_t>(offset) + count;
    if (end > disk_->capacity) return compound::Status::kMediumFull;
    ++disk_->writes;
    disk_->bytesWritten += count;
    if (end > disk_->bytes.size()) disk_->bytes.resize(end);
    std::memcpy(disk_->bytes.data() + offset, buffer, count);
    return compound::Status::kOk;
  }

  compound::Status Size(std::uint64_t* size) override {
    *size = disk_->bytes.size();
    return compound::Status::kOk;
  }

  compound::Status SetSize(std::uint64_t size) override {
    if (size > disk_->capacity) return compound::Status::kMediumFull;
    disk_->bytes.resize(static_cast<std::size_t>(size));
    return compound::Status::kOk;
  }

  compound::Status Sync() override {
    if (const auto status = disk_->onWrite(); status != compound::Status::kOk) return status;
    ++disk_->syncs;
    disk_->durable = disk_->bytes;
    return compound::Status::kOk;
  }

 private:
  std::shared_ptr<MemoryDisk> disk_;
};

}  // namespace test
