// Any bytes as a stream of records: an info list, and a list of messages with its index.
#include "board/list_index.h"
#include "fuzzed_input.h"
#include "store/ascii.h"
#include "store/records.h"

#include <brevant/store.h>

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

using brevant::KeyMatch;
using test::Require;

namespace {

constexpr int kReadWrite = 2;
constexpr int kCreate = 4096;
constexpr int kExclusive = 16;
constexpr int kDeleteOnRelease = 0x04000000;

// One stream for all inputs: making a file takes longer than everything else here.
class RecordStream {
 public:
  RecordStream() {
    Require(storage_.OpenTemporary(kDeleteOnRelease) == 1 &&
                stream_.Open(storage_.Interface(), "S", kReadWrite, kCreate, kExclusive) == 1,
            "a temporary stream");
  }
  TStream& Holding(std::string_view bytes) {
    stream_.SetSize(0);
    stream_.Seek(0, 0);
    stream_.Write(bytes.data(), static_cast<int>(bytes.size()));
    stream_.Seek(0, 0);
    return stream_;
  }

 private:
  TStorage storage_;
  TStream stream_;
};

std::string All(TStream& stream) {
  std::string bytes(stream.Size(), '\0');
  stream.Seek(0, 0);
  Require(
      stream.Read(bytes.data(), static_cast<int>(bytes.size())) == static_cast<int>(bytes.size()),
      "the stream reads to its end");
  return bytes;
}

std::string Padded(std::string text, std::size_t size) {
  text.resize(size, '\0');
  return text;
}

// The stream as a plain text and loops.
struct Model {
  std::string bytes;
  std::size_t size;

  std::optional<std::size_t> Find(KeyMatch rule, const std::string& key) const {
    for (std::size_t at = 0; at + size <= bytes.size(); at += size) {
      const std::string record = bytes.substr(at, size);
      const std::string found = record.substr(0, record.find('\0'));
      const bool star = rule == KeyMatch::kTrailingStar && key.ends_with('*');
      const std::string prefix = star ? key.substr(0, key.size() - 1) : std::string();
      if (brevant::EqualsIgnoreCase(found, key) ||
          (star && brevant::EqualsIgnoreCase(found.substr(0, prefix.size()), prefix)))
        return at;
    }
    return std::nullopt;
  }
  std::string Value(std::size_t at) const {
    const std::string record = bytes.substr(at, size);
    const std::size_t key = record.find('\0');
    if (key == std::string::npos) return {};
    const std::string value = record.substr(key + 1);
    return value.substr(0, value.find('\0'));
  }
  void Write(KeyMatch rule, const std::string& key, const std::string& value) {
    std::string record = key.substr(0, size - 1) + '\0';
    record += value.substr(0, size - std::min(size, record.size() + 1));
    const std::optional<std::size_t> at = Find(rule, key);
    bytes.replace(at.value_or(bytes.size()), at ? size : 0, Padded(record, size));
  }
  bool Remove(KeyMatch rule, const std::string& key) {
    const std::optional<std::size_t> at = Find(rule, key);
    if (at) bytes.erase(*at, size);
    return at.has_value();
  }
};

void CompareWithModel(TStream& stream, Model& model, KeyMatch rule, const std::string& key,
                      const std::string& value) {
  const int size = static_cast<int>(model.size);
  const auto compareValue = [&] {
    std::array<char, 600> text;
    const int found = brevant::ReadRecord(stream, rule, key, text.data(), 600, size);
    const auto at = model.Find(rule, key);
    Require((found == 1) == at.has_value(), "a record is found");
    Require(text.data() == (at ? model.Value(*at) : ""), "its value is read");
  };
  compareValue();
  Require(brevant::WriteRecord(stream, rule, key, key, value, size) == 1, "a record is written");
  model.Write(rule, key, value);
  Require(All(stream) == model.bytes, "writing changes one record");
  compareValue();
  const bool removed = brevant::RemoveRecord(stream, rule, key, size) == 1;
  Require(removed == model.Remove(rule, key), "a record is removed");
  Require(All(stream) == model.bytes, "removing takes one record out");
}

void ReadOneByOne(TStream& stream, int size) {
  stream.Seek(0, 0);
  std::vector<char> key(20);
  std::vector<char> value(30);
  DWORD count = 0;
  while (brevant::ReadNextRecord(stream, key.data(), 20, value.data(), 30, size) != 0) ++count;
  Require(count == stream.Size() / static_cast<DWORD>(size), "every whole record is read");
}

// The index finds what a walk over the list finds.
void CompareIndex(TStream& stream, const std::string& subject) {
  brevant::TListIndex index;
  Require(index.Load(stream), "the list is read");
  Require(index.Size() == stream.Size() / brevant::kMessageRecordSize, "every record is listed");
  std::optional<std::size_t> bySubject;
  const std::size_t walked = std::min<std::size_t>(index.Size(), 64);
  for (std::size_t i = 0; i < index.Size() && !bySubject; ++i) {
    if (brevant::EqualsIgnoreCase(index.Subject(i), subject)) bySubject = i;
  }
  Require(index.FindSubject(subject) == bySubject, "the first record with a subject is found");
  for (std::size_t i = 0; i < walked; ++i) {
    const brevant::MessageEntry entry = index.At(i);
    const auto found = index.Find(entry.index);
    Require(found && index.At(*found).index == entry.index && *found <= i, "a message is found");
    const DWORD next = index.Next(entry.index);
    const DWORD previous = index.Previous(entry.index);
    Require(next == (*found + 1 < index.Size() ? index.At(*found + 1).index : brevant::kNoMessage),
            "the next message");
    Require(previous == (*found > 0 ? index.At(*found - 1).index : brevant::kNoMessage),
            "the previous message");
  }
  while (index.Size() > walked / 2) index.Remove(index.Size() / 2);
  index.Append({7, 7}, subject);
  Require(index.FindSubject(subject).has_value(), "an appended subject is found");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static RecordStream records;
  constexpr std::array<std::size_t, 4> kSizes = {128, 32, 1, 512};
  test::FuzzedInput input(data, size);
  const unsigned options = input.Byte();
  const std::string key = input.Part();
  const std::string value = input.Part();
  std::string bytes = input.Rest();
  if (bytes.size() > 65536) return 0;
  const std::size_t recordSize = kSizes[options % kSizes.size()];
  const KeyMatch rule = (options & 4) != 0 ? KeyMatch::kTrailingStar : KeyMatch::kWhole;
  CompareIndex(records.Holding(bytes), value);
  TStream& cut = records.Holding(bytes);
  ReadOneByOne(cut, static_cast<int>(recordSize));
  // What is appended behind the rest of a record is found by nobody; the model has no such rest.
  bytes.resize(bytes.size() - bytes.size() % recordSize);
  Model model{bytes, recordSize};
  CompareWithModel(records.Holding(bytes), model, rule, key, value);
  return 0;
}
