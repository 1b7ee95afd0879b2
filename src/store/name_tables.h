// The names of days and months in dates.
#pragma once

#include <array>
#include <string_view>

namespace brevant {

// By day of week from Sunday; Thursday is "Thr" in every page the board ever made.
inline constexpr std::array<std::string_view, 7> kDayNames = {"Sun", "Mon", "Tue", "Wed",
                                                              "Thr", "Fri", "Sat"};
// From January.
inline constexpr std::array<std::string_view, 12> kMonthNames = {
    "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

}  // namespace brevant
