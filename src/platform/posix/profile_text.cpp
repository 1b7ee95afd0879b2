#include "platform/posix/profile_text.h"

#include "platform/posix/paths.h"

#include <algorithm>
#include <utility>

namespace brevant::posix {
namespace {

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

std::string_view TrimLeft(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  return text;
}

std::string_view Trim(std::string_view text) {
  text = TrimLeft(text);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace

std::string_view UnquoteProfileValue(std::string_view value) {
  const bool quoted = value.size() > 1 && (value.front() == '"' || value.front() == '\'') &&
                      value.back() == value.front();
  return quoted ? value.substr(1, value.size() - 2) : value;
}

ProfileText::ProfileText(std::string bytes) : bytes_(std::move(bytes)) { Parse(); }

std::string_view ProfileText::Part(std::size_t begin, std::size_t length) const {
  return std::string_view(bytes_).substr(begin, length);
}

void ProfileText::Parse() {
  lines_.clear();
  sections_.clear();
  sectionOfName_.clear();
  sections_.emplace_back();
  std::size_t begin = 0;
  while (begin < bytes_.size()) {
    const std::size_t end = std::min(bytes_.find_first_of("\r\n", begin), bytes_.size());
    std::size_t next = end;
    if (next < bytes_.size() && bytes_[next] == '\r') ++next;
    if (next < bytes_.size() && bytes_[next] == '\n') ++next;
    ParseLine(begin, end, next);
    begin = next;
  }
  sections_.back().endLine = lines_.size();
  for (std::size_t i = 0; i < sections_.size(); ++i) {
    sectionOfName_.emplace(UpperCased(Part(sections_[i].nameBegin, sections_[i].nameLength)), i);
  }
}

std::size_t ProfileText::OffsetOf(std::string_view part) const {
  return static_cast<std::size_t>(part.data() - bytes_.data());
}

void ProfileText::ParseLine(std::size_t begin, std::size_t end, std::size_t next) {
  Line line;
  line.begin = static_cast<std::uint32_t>(begin);
  line.next = static_cast<std::uint32_t>(next);
  const std::string_view text = Trim(Part(begin, end - begin));
  const std::size_t bracket = text.rfind(']');
  const std::size_t equals = text.find('=');
  if (text.empty()) {
    line.kind = Line::Kind::kBlank;
  } else if (text.front() == '[' && bracket != std::string_view::npos) {
    line.kind = Line::Kind::kHeader;
    const std::string_view name = Trim(text.substr(1, bracket - 1));
    sections_.back().endLine = lines_.size();
    Section section;
    section.nameBegin = OffsetOf(name);
    section.nameLength = name.size();
    section.firstLine = lines_.size();
    sections_.push_back(std::move(section));
  } else if (equals != std::string_view::npos && text.front() != ';') {
    line.kind = Line::Kind::kKey;
    const std::string_view key = Trim(text.substr(0, equals));
    const std::string_view value = Trim(text.substr(equals + 1));
    line.keyBegin = static_cast<std::uint32_t>(OffsetOf(key));
    line.keyLength = static_cast<std::uint32_t>(key.size());
    line.valueBegin = static_cast<std::uint32_t>(OffsetOf(value));
    line.valueLength = static_cast<std::uint32_t>(value.size());
  }
  // A file of nothing but line ends must not cost many times its size.
  const bool joins = (line.kind == Line::Kind::kBlank || line.kind == Line::Kind::kOther) &&
                     lines_.size() > sections_.back().firstLine && lines_.back().kind == line.kind;
  if (joins) {
    lines_.back().next = line.next;
  } else {
    lines_.push_back(line);
  }
}

const ProfileText::Section* ProfileText::FindSection(std::string_view name) const {
  const auto found = sectionOfName_.find(UpperCased(Trim(name)));
  return found == sectionOfName_.end() ? nullptr : &sections_[found->second];
}

const ProfileText::Line* ProfileText::FindKey(const Section& section, std::string_view key) const {
  if (!section.indexed) {
    for (std::size_t i = section.firstLine; i < section.endLine; ++i) {
      const Line& line = lines_[i];
      if (line.kind == Line::Kind::kKey) {
        section.lineOfKey.emplace(UpperCased(Part(line.keyBegin, line.keyLength)), i);
      }
    }
    section.indexed = true;
  }
  const auto found = section.lineOfKey.find(UpperCased(Trim(key)));
  return found == section.lineOfKey.end() ? nullptr : &lines_[found->second];
}

std::optional<std::string_view> ProfileText::Value(std::string_view section,
                                                   std::string_view key) const {
  const Section* where = FindSection(section);
  const Line* line = where == nullptr ? nullptr : FindKey(*where, key);
  if (line == nullptr) return std::nullopt;
  return UnquoteProfileValue(Part(line->valueBegin, line->valueLength));
}

std::string ProfileText::KeyList(std::string_view section) const {
  std::string list;
  const Section* where = FindSection(section);
  if (where == nullptr) return list;
  bool afterEmpty = false;  // of several lines without a name one is told
  for (std::size_t i = where->firstLine; i < where->endLine; ++i) {
    const Line& line = lines_[i];
    if (line.kind != Line::Kind::kKey || (line.keyLength == 0 && afterEmpty)) continue;
    afterEmpty = line.keyLength == 0;
    list.append(Part(line.keyBegin, line.keyLength)).push_back('\0');
  }
  return list;
}

std::string ProfileText::SectionList() const {
  std::string list;
  for (const Section& section : sections_) {
    if (section.nameLength == 0) continue;
    list.append(Part(section.nameBegin, section.nameLength)).push_back('\0');
  }
  return list;
}

ProfileText::Change ProfileText::InsertionAt(std::size_t firstLine, std::size_t endLine,
                                             std::string text) const {
  std::size_t line = endLine;
  while (line > firstLine && lines_[line - 1].kind == Line::Kind::kBlank) --line;
  const std::size_t at = line == 0 ? 0 : lines_[line - 1].next;
  const bool lineIsOpen = at > 0 && bytes_[at - 1] != '\n' && bytes_[at - 1] != '\r';
  return {at, 0, (lineIsOpen ? "\r\n" : "") + std::move(text)};
}

std::optional<ProfileText::Change> ProfileText::Set(std::string_view section, std::string_view key,
                                                    std::string_view value) const {
  const Section* where = FindSection(section);
  const Line* line = where == nullptr ? nullptr : FindKey(*where, key);
  if (line != nullptr) {
    // The value that is there, or one that reads back as it, is not written at all.
    if (Part(line->valueBegin, line->valueLength) == value) return std::nullopt;
    std::string text(Part(line->keyBegin, line->keyLength));
    text.append("=").append(value).append("\r\n");
    return Change{line->begin, line->next - line->begin, std::move(text)};
  }
  std::string text(TrimLeft(key));
  text.append("=").append(value).append("\r\n");
  if (where != nullptr) return InsertionAt(where->firstLine, where->endLine, std::move(text));
  std::string header = "[";
  header.append(TrimLeft(section)).append("]\r\n");
  // A new section stands behind everything, blank lines too.
  return InsertionAt(lines_.size(), lines_.size(), header + text);
}

std::optional<ProfileText::Change> ProfileText::RemoveKey(std::string_view section,
                                                          std::string_view key) const {
  const Section* where = FindSection(section);
  const Line* line = where == nullptr ? nullptr : FindKey(*where, key);
  if (line == nullptr) return std::nullopt;
  return Change{line->begin, line->next - line->begin, ""};
}

std::optional<ProfileText::Change> ProfileText::RemoveSection(std::string_view section) const {
  const Section* where = FindSection(section);
  if (where == nullptr || where->firstLine == where->endLine) return std::nullopt;
  const std::size_t begin = lines_[where->firstLine].begin;
  return Change{begin, lines_[where->endLine - 1].next - begin, ""};
}

void ProfileText::Apply(const Change& change) {
  const bool sameLength = change.length == change.replacement.size();
  bytes_.replace(change.begin, change.length, change.replacement);
  if (!sameLength || !MoveValue(change)) Parse();
}

bool ProfileText::MoveValue(const Change& change) {
  const auto line = std::lower_bound(
      lines_.begin(), lines_.end(), change.begin,
      [](const Line& candidate, std::size_t begin) { return candidate.begin < begin; });
  if (line == lines_.end() || line->begin != change.begin || line->kind != Line::Kind::kKey ||
      line->keyBegin != line->begin || line->next - line->begin != change.length) {
    return false;
  }
  const std::string_view text = Part(line->begin, line->next - line->begin);
  // A value with a line end of its own makes lines of its own, and one with a "]" behind a key that
  // begins with "[" makes a section.
  if (text.find_first_of("\r\n") != text.size() - 2 || text.front() == '[') return false;
  const std::string_view value = Trim(text.substr(line->keyLength + 1));
  line->valueBegin = static_cast<std::uint32_t>(OffsetOf(value));
  line->valueLength = static_cast<std::uint32_t>(value.size());
  return true;
}

}  // namespace brevant::posix
