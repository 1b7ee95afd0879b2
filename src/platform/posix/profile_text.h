// The text of a profile file: where its sections and keys are, and how a change alters it. Lines
// that a change does not concern keep every byte. Knows no files. Below the seam only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace brevant::posix {

// Larger files are no profiles.
inline constexpr std::size_t kLargestProfile = std::size_t{64} * 1024 * 1024;

// The value without one pair of equal quotes around it.
std::string_view UnquoteProfileValue(std::string_view value);

class ProfileText {
 public:
  // At most kLargestProfile bytes.
  explicit ProfileText(std::string bytes = "");

  const std::string& Bytes() const { return bytes_; }

  // The value of the first such key in the first such section, blanks and one pair of quotes around
  // it cut. Names are compared ignoring the case of ASCII letters, blanks around them cut.
  std::optional<std::string_view> Value(std::string_view section, std::string_view key) const;
  // Names in file order, each ended by a NUL.
  std::string KeyList(std::string_view section) const;
  std::string SectionList() const;

  // One change: bytes from begin on, length of them, become others.
  struct Change {
    std::size_t begin = 0;
    std::size_t length = 0;
    std::string replacement;
  };
  // Each gives the change to be made, or nothing when the file already says so.
  std::optional<Change> Set(std::string_view section, std::string_view key,
                            std::string_view value) const;
  std::optional<Change> RemoveKey(std::string_view section, std::string_view key) const;
  std::optional<Change> RemoveSection(std::string_view section) const;

  // A change that keeps the length moves nothing, so nothing is read anew.
  void Apply(const Change& change);

 private:
  // Offsets of 32 bits: a large table has a line for every file of a site.
  struct Line {
    std::uint32_t begin = 0;  // with the indentation
    std::uint32_t next = 0;   // behind the line's end mark
    std::uint32_t keyBegin = 0;
    std::uint32_t keyLength = 0;
    std::uint32_t valueBegin = 0;
    std::uint32_t valueLength = 0;  // with quotes, without blanks
    enum class Kind : std::uint8_t { kKey, kHeader, kBlank, kOther } kind = Kind::kOther;
  };
  struct Section {
    std::size_t nameBegin = 0;
    std::size_t nameLength = 0;
    std::size_t firstLine = 0;  // the header; for what stands before any section, its first line
    std::size_t endLine = 0;
    mutable bool indexed = false;
    mutable std::unordered_map<std::string, std::size_t> lineOfKey;  // by upper-cased key
  };

  void Parse();
  void ParseLine(std::size_t begin, std::size_t end, std::size_t next);
  std::size_t OffsetOf(std::string_view part) const;
  const Section* FindSection(std::string_view name) const;
  const Line* FindKey(const Section& section, std::string_view key) const;
  std::string_view Part(std::size_t begin, std::size_t length) const;
  // After a change of one canonical line only its value is somewhere else; false when more is.
  bool MoveValue(const Change& change);
  // Where a new line goes at the end of a section: before its trailing blank lines.
  Change InsertionAt(std::size_t firstLine, std::size_t endLine, std::string text) const;

  std::string bytes_;
  std::vector<Line> lines_;
  std::vector<Section> sections_;
  std::unordered_map<std::string, std::size_t> sectionOfName_;  // by upper-cased name, the first
};

}  // namespace brevant::posix
