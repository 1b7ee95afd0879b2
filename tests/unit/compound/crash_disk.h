// A disk in memory that loses power: it knows what was synced, file by file and name by name, and
// can tell what may be left of the rest, in sectors of 512 bytes.
#pragma once

#include "compound/document.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>

namespace test {

struct CrashNode {
  std::string now;
  std::string durable;
};

class CrashDisk {
 public:
  using Names = std::map<std::string, std::shared_ptr<CrashNode>>;

  Names now;
  Names durable;
  std::size_t syncs = 0;  // of files and of names
  std::size_t longestWrite = 0;
  // Asked before each operation that changes something or syncs; anything but kOk fails it.
  std::function<compound::Status(const std::string& operation)> before = [](const std::string&) {
    return compound::Status::kOk;
  };

  std::string& Bytes(const std::string& name) { return now.at(name)->now; }
  bool Has(const std::string& name) const { return now.count(name) != 0; }
  void Put(const std::string& name, const std::string& bytes) {
    now[name] = std::make_shared<CrashNode>(CrashNode{bytes, bytes});
    durable[name] = now[name];
  }

  // The disk as it is, for a process that was killed.
  std::shared_ptr<CrashDisk> AfterKill() const {
    auto disk = std::make_shared<CrashDisk>();
    for (const auto& [name, node] : now) disk->Put(name, node->now);
    return disk;
  }

  // The disk as it may be after a failure of power: of what was not synced any part is there.
  std::shared_ptr<CrashDisk> AfterPowerFailure(std::mt19937& random) const {
    auto disk = std::make_shared<CrashDisk>();
    Names names = durable;
    for (const auto& [name, node] : now) names.try_emplace(name, nullptr);
    for (const auto& [name, unused] : names) {
      const Names& chosen = random() % 2 == 0 ? now : durable;
      const auto found = chosen.find(name);
      if (found != chosen.end()) disk->Put(name, Remains(*found->second, random));
    }
    return disk;
  }

 private:
  static std::string Remains(const CrashNode& node, std::mt19937& random) {
    std::string bytes = node.durable;
    bytes.resize(random() % 2 == 0 ? node.now.size() : node.durable.size(), '\0');
    for (std::size_t at = 0; at < bytes.size(); at += 512) {
      if (random() % 2 == 0 || at >= node.now.size()) continue;
      const std::size_t count =
          std::min({std::size_t{512}, bytes.size() - at, node.now.size() - at});
      bytes.replace(at, count, node.now, at, count);
    }
    return bytes;
  }
};

using CrashDiskPtr = std::shared_ptr<CrashDisk>;

class CrashFile final : public compound::ByteFile {
 public:
  CrashFile(CrashDiskPtr disk, std::string name)
      : disk_(std::move(disk)), name_(std::move(name)), node_(disk_->now.at(name_)) {}

  compound::Status ReadAt(std::uint64_t offset, void* buffer, std::size_t count,
                          std::size_t* got) override {
    *got = 0;
    if (const auto status = disk_->before("read " + name_); status != compound::Status::kOk) {
      return status;
    }
    if (offset >= node_->now.size()) return compound::Status::kOk;
    *got = std::min(count, node_->now.size() - static_cast<std::size_t>(offset));
    std::memcpy(buffer, node_->now.data() + offset, *got);
    return compound::Status::kOk;
  }
  compound::Status WriteAt(std::uint64_t offset, const void* buffer, std::size_t count) override {
    if (const auto status = disk_->before("write " + name_); status != compound::Status::kOk) {
      return status;
    }
    const std::size_t end = static_cast<std::size_t>(offset) + count;
    if (end > node_->now.size()) node_->now.resize(end);
    std::memcpy(node_->now.data() + offset, buffer, count);
    disk_->longestWrite = std::max(disk_->longestWrite, count);
    return compound::Status::kOk;
  }
  compound::Status Size(std::uint64_t* size) override {
    *size = node_->now.size();
    return compound::Status::kOk;
  }
  compound::Status SetSize(std::uint64_t size) override {
    if (const auto status = disk_->before("size " + name_); status != compound::Status::kOk) {
      return status;
    }
    node_->now.resize(static_cast<std::size_t>(size));
    return compound::Status::kOk;
  }
  compound::Status Sync() override {
    if (const auto status = disk_->before("sync " + name_); status != compound::Status::kOk) {
      return status;
    }
    ++disk_->syncs;
    node_->durable = node_->now;
    return compound::Status::kOk;
  }

 private:
  CrashDiskPtr disk_;
  std::string name_;
  std::shared_ptr<CrashNode> node_;
};

class CrashPlace final : public compound::JournalPlace {
 public:
  explicit CrashPlace(CrashDiskPtr disk) : disk_(std::move(disk)) {}

  compound::Status Open(std::unique_ptr<compound::ByteFile>* journal) override {
    if (!disk_->Has("journal")) return compound::Status::kNotFound;
    *journal = std::make_unique<CrashFile>(disk_, "journal");
    return compound::Status::kOk;
  }
  compound::Status Create(std::unique_ptr<compound::ByteFile>* journal) override {
    if (const auto status = disk_->before("create journal"); status != compound::Status::kOk) {
      return status;
    }
    if (disk_->Has("journal")) return compound::Status::kExists;
    disk_->now["journal"] = std::make_shared<CrashNode>();
    return Open(journal);
  }
  compound::Status Remove() override {
    if (const auto status = disk_->before("remove journal"); status != compound::Status::kOk) {
      return status;
    }
    disk_->now.erase("journal");
    return compound::Status::kOk;
  }
  compound::Status SetAside() override {
    if (const auto status = disk_->before("set aside"); status != compound::Status::kOk) {
      return status;
    }
    int number = 1;
    while (disk_->Has("aside-" + std::to_string(number))) ++number;
    disk_->now["aside-" + std::to_string(number)] = disk_->now.at("journal");
    disk_->now.erase("journal");
    return compound::Status::kOk;
  }
  compound::Status SyncNames() override {
    if (const auto status = disk_->before("sync names"); status != compound::Status::kOk) {
      return status;
    }
    ++disk_->syncs;
    disk_->durable = disk_->now;
    return compound::Status::kOk;
  }

 private:
  CrashDiskPtr disk_;
};

inline std::unique_ptr<compound::Document> OpenOn(const CrashDiskPtr& disk, bool readOnly = false) {
  compound::DocumentOptions options;
  options.readOnly = readOnly;
  return compound::Document::Open(std::make_unique<CrashFile>(disk, "file"), options,
                                  std::make_unique<CrashPlace>(disk));
}

// An empty document, alone on a disk.
inline CrashDiskPtr NewCrashDisk(std::uint16_t version = 3) {
  auto disk = std::make_shared<CrashDisk>();
  disk->Put("file", "");
  compound::DocumentOptions options;
  options.version = version;
  compound::Document::Create(std::make_unique<CrashFile>(disk, "file"), options,
                             std::make_unique<CrashPlace>(disk));
  disk->syncs = 0;
  return disk;
}

}  // namespace test
