// The addresses that visitors post to, and the subject tag in them.
#pragma once

#include <string>
#include <string_view>

namespace brevant {

// The tag that names a board, optionally a container of it and an item in that: "[short]",
// "[short:container]" or "[short:container:item]", every blank as "_". An empty part ends the tag.
std::string SubjectTag(std::string_view shortName, std::string_view container = {},
                       std::string_view item = {});

// The link that posts to the board at address under a tag.
std::string PostingAddress(std::string_view tag, std::string_view address);

}  // namespace brevant
