#include "Platform/Foundation/Date.hpp"

#include <chrono>
#include <cmath>
#include <cstdio>

namespace platform {

Date Date::now() {
    return since1970(std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count());
}

std::string Date::description() const {
    using namespace std::chrono;
    const double whole = std::floor(secondsSince1970());
    if (!(std::abs(whole) < 1e12)) // far beyond the years that a calendar has
        return std::to_string(timeIntervalSinceReferenceDate) + " s since 2001";
    const sys_seconds moment{seconds(static_cast<long long>(whole))};
    const auto day = floor<days>(moment);
    const year_month_day date(day);
    const hh_mm_ss time(moment - day);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02u %02d:%02d:%02d +0000", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()));
    return text;
}

} // namespace platform
