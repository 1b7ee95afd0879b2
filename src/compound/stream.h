// The bytes of one stream: in the mini stream below the cutoff, in sectors of its own above it.
#pragma once

#include "compound/directory.h"
#include "compound/mini_stream.h"

namespace compound {

// What all parts of a document work on.
struct Core {
  Core(ByteFile& file, Header head, std::uint64_t fileBytes, std::uint32_t sectors,
       PagerLimits limits)
      : header(head),
        pager(file, header.sectorShift, fileBytes, sectors, limits),
        fat(pager, header),
        mini(pager, header, fat),
        directory(pager, header, fat) {}

  Header header;
  Pager pager;
  AllocationTable fat;
  MiniStream mini;
  Directory directory;
};

class Stream {
 public:
  Stream(Core& core, EntryId id);

  std::uint64_t Size() const { return size_; }
  // Reads up to count bytes; fewer at the end, or where the file turns out to be damaged. Throws
  // when not one byte can be read although the size promises some.
  std::size_t Read(std::uint64_t position, void* buffer, std::size_t count);
  // Writes all bytes, growing the stream; a gap before them is zeros.
  void Write(std::uint64_t position, const void* buffer, std::size_t count);
  void Resize(std::uint64_t size);

 private:
  bool IsMini() const { return size_ < kMiniCutoff; }
  LinkTable& Table() const;
  unsigned Shift() const { return IsMini() ? kMiniShift : core_.header.sectorShift; }
  const std::uint8_t* ReadSector(std::uint32_t index);
  std::size_t ReadSome(std::uint64_t position, std::uint8_t* target, std::size_t count, bool runs);
  void Grow(std::uint64_t size);
  void Shrink(std::uint64_t size);
  void Extend(std::uint64_t size);
  void Move(std::uint64_t size);
  void Zero(std::uint64_t from, std::uint64_t to);
  void Store(std::uint64_t position, const std::uint8_t* source, std::size_t count);
  void Save();

  Core& core_;
  EntryId id_;
  std::uint64_t size_;
  Chain chain_;
};

}  // namespace compound
