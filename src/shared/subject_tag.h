// The tag by which mail finds its place on the board: "[board:container:message]", carried as the
// display name of the address that a visitor's mail program wrote to.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace brevant {

struct TSubjectTag {
  static constexpr int kMaxParts = 3;

  int count = 0;
  // As written; underscores still stand for blanks.
  std::string_view parts[kMaxParts];
};

// Finds the tag between the first "[" and the first "]" of a header text; count is 0 when there is
// none. The parts point into text.
TSubjectTag ParseSubjectTag(std::string_view text);

// A part with its underscores turned to blanks.
std::string TagPartText(std::string_view part);

// Whether the first part of a tag means this board: equal as far as the shorter of the two goes,
// ignoring letter case, an underscore in either matching a blank in the other. So the board's short
// name, a leading piece of its name, means it too; readers of old posting addresses rely on it.
bool TagNamesBoard(std::string_view part, std::string_view boardName);

// The message that a reply answers: the third part as a decimal number, wrapped to 32 bits; 0 when
// the tag has none, when it has 33 characters or more, or when it is not above 0.
std::int32_t TagLinkId(const TSubjectTag& tag);

}  // namespace brevant
