// The file names of generated pages.
#pragma once

#include "platform/win32.h"

#include <string>
#include <string_view>

namespace brevant {

// A page's file name has at most this many bytes.
inline constexpr std::size_t kMaxPageNameBytes = 200;

// The template file that a setting or a field's argument names: as it stands when it ends in ".htm"
// or ".html" (any letter case), else with ".htm" added; empty for an empty name.
std::string TemplateFileName(std::string_view name);

// A file name without its last extension.
std::string WithoutExtension(std::string_view fileName);

// Whether the file's last extension is that of a page: ".htm" or ".html", in any letter case.
bool IsPageFile(std::string_view fileName);

// One part of a page name: letters in lower case, a blank as "_", every other byte that is no digit
// as "-" and two hexadecimal digits. Two texts that differ other than in letter case give two
// parts.
std::string PageNamePart(std::string_view text);

// The owner's prefix made safe: what cannot stand in a file name, every "." and every "-" that
// could be read as part of a separator becomes "_".
std::string PageNamePrefix(std::string_view prefix);

// The file name of a container's page: prefix, template, "--", kind letter, "--", container,
// ".htm". templateFile is the template's file name, with its extension. A name that would be too
// long is cut and ends in "-h" and the CRC-32 of the whole in hexadecimal, then ".htm".
std::string ContainerPageName(std::string_view prefix, std::string_view templateFile,
                              char kindLetter, std::string_view container);

// The file name of an item's page: the container's, with "--" and the item's number at its end.
std::string ItemPageName(std::string_view prefix, std::string_view templateFile, char kindLetter,
                         std::string_view container, DWORD item);

}  // namespace brevant
