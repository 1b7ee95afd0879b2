// The texts of the board's objects in the form in which pages take them.
#pragma once

#include "text/page_site.h"

#include <string>

namespace brevant {

// A property of a container or an item. Where the site decodes texts it is UTF-8: an item's out of
// the character set that its "Header Charset" names (ISO-8859-1 without one), a container's out of
// UTF-8, with bytes that are none as windows-1252. Else it is the bytes as they are stored.
std::string ContainerText(const TPageSite& site, const TForum& container, const char* key);
std::string ItemText(const TPageSite& site, const TMail& item, const char* key);
// A text of the settings, as a container's.
std::string SettingText(const TPageSite& site, const char* key);

}  // namespace brevant
