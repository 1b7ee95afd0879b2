// What the engine asks of the file beneath it, and how it reports failures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>

namespace compound {

enum class Status {
  kOk,
  kNotFound,       // no element of that name
  kExists,         // the name is taken
  kInvalidName,    // too long, empty, or with a reserved character
  kNotCompound,    // the file does not begin like a compound file
  kCorrupt,        // the file contradicts itself
  kReadOnly,       // a change to a document opened for reading
  kReadFault,      // the file cannot be read
  kWriteFault,     // the file cannot be written
  kMediumFull,     // the disk is full
  kTooLarge,       // beyond what the format holds
  kGivenUp,        // an earlier change failed half-way; nothing more is committed
  kInvalidChange,  // a storage copied or moved into itself, a stream where a storage is needed
};

class Error : public std::exception {
 public:
  explicit Error(Status status) : status_(status) {}
  Status GetStatus() const { return status_; }
  const char* what() const noexcept override { return "compound file operation failed"; }

 private:
  Status status_;
};

// A file of bytes. Operations report kOk, kReadFault, kWriteFault or kMediumFull.
class ByteFile {
 public:
  ByteFile() = default;
  ByteFile(const ByteFile&) = delete;
  ByteFile& operator=(const ByteFile&) = delete;
  virtual ~ByteFile() = default;

  // Reads up to count bytes; *got is less than count only at the end of the file.
  virtual Status ReadAt(std::uint64_t offset, void* buffer, std::size_t count,
                        std::size_t* got) = 0;
  // Writes all of count bytes; the file grows when they reach past its end.
  virtual Status WriteAt(std::uint64_t offset, const void* buffer, std::size_t count) = 0;
  virtual Status Size(std::uint64_t* size) = 0;
  virtual Status SetSize(std::uint64_t size) = 0;
  // Returns when everything written is on the disk.
  virtual Status Sync() = 0;
};

inline void Check(Status status) {
  if (status != Status::kOk) throw Error(status);
}

}  // namespace compound
