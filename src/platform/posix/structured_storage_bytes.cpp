#include "platform/posix/structured_storage_bytes.h"

#include <cerrno>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace brevant::posix {

compound::Status WriteStatus() {
  const bool full = errno == ENOSPC || errno == EDQUOT || errno == EFBIG;
  return full ? compound::Status::kMediumFull : compound::Status::kWriteFault;
}

namespace {

class DescriptorFile final : public compound::ByteFile {
 public:
  DescriptorFile(int descriptor, bool synced, bool owned)
      : descriptor_(descriptor), synced_(synced), owned_(owned) {}
  ~DescriptorFile() override {
    if (owned_) ::close(descriptor_);
  }

  compound::Status ReadAt(std::uint64_t offset, void* buffer, std::size_t count,
                          std::size_t* got) override {
    *got = 0;
    while (*got < count) {
      const ssize_t now = ::pread(descriptor_, static_cast<char*>(buffer) + *got, count - *got,
                                  static_cast<off_t>(offset + *got));
      if (now == 0) break;
      if (now < 0 && errno == EINTR) continue;
      if (now < 0) return compound::Status::kReadFault;
      *got += static_cast<std::size_t>(now);
    }
    return compound::Status::kOk;
  }

  compound::Status WriteAt(std::uint64_t offset, const void* buffer, std::size_t count) override {
    std::size_t done = 0;
    while (done < count) {
      const ssize_t now = ::pwrite(descriptor_, static_cast<const char*>(buffer) + done,
                                   count - done, static_cast<off_t>(offset + done));
      if (now < 0 && errno == EINTR) continue;
      if (now < 0) return WriteStatus();
      if (now == 0) return compound::Status::kWriteFault;
      done += static_cast<std::size_t>(now);
    }
    return compound::Status::kOk;
  }

  compound::Status Size(std::uint64_t* size) override {
    struct stat facts {};
    if (::fstat(descriptor_, &facts) != 0) return compound::Status::kReadFault;
    *size = static_cast<std::uint64_t>(facts.st_size);
    return compound::Status::kOk;
  }

  compound::Status SetSize(std::uint64_t size) override {
    while (::ftruncate(descriptor_, static_cast<off_t>(size)) != 0) {
      if (errno != EINTR) return WriteStatus();
    }
    return compound::Status::kOk;
  }

  compound::Status Sync() override {
    if (synced_ && ::fdatasync(descriptor_) != 0) return WriteStatus();
    return compound::Status::kOk;
  }

 private:
  int descriptor_;
  bool synced_;
  bool owned_;
};

}  // namespace

std::unique_ptr<compound::ByteFile> MakeByteFile(int descriptor, bool synced, bool owned) {
  try {
    return std::make_unique<DescriptorFile>(descriptor, synced, owned);
  } catch (const std::bad_alloc&) {
    if (owned) ::close(descriptor);
    throw;
  }
}

}  // namespace brevant::posix
