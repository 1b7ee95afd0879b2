#include "shared/short_name.h"

#include <algorithm>

namespace brevant {

bool FitsShortName(std::string_view name) {
  const std::size_t dot = name.find('.');
  const std::string_view base = name.substr(0, dot);
  const std::string_view extension =
      dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
  if (base.empty() || base.size() > 8 || extension.size() > 3) return false;
  return std::none_of(name.begin(), name.end(),
                      [](char c) {
                        return static_cast<unsigned char>(c) >= 128 || c == ' ' ||
                               std::string_view("+,;=[]").find(c) != std::string_view::npos;
                      }) &&
         extension.find('.') == std::string_view::npos && name.back() != '.';
}

}  // namespace brevant
