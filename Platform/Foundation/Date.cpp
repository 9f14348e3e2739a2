#include "Platform/Foundation/Date.hpp"

#include <cctz/civil_time.h>

#include <chrono>
#include <cmath>
#include <cstdio>

namespace platform {

Date Date::now() {
    return since1970(std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count());
}

std::string Date::description() const {
    constexpr double thirtyMillionYears = 1e15;
    if (!(std::abs(timeIntervalSinceReferenceDate) < thirtyMillionYears))
        return std::to_string(timeIntervalSinceReferenceDate) + " s since 2001";
    const auto seconds = static_cast<std::int64_t>(std::floor(timeIntervalSinceReferenceDate));
    const cctz::civil_second shown = cctz::civil_second(2001, 1, 1) + seconds;
    char text[64];
    std::snprintf(text, sizeof text, "%04lld-%02d-%02d %02d:%02d:%02d +0000", static_cast<long long>(shown.year()),
                  shown.month(), shown.day(), shown.hour(), shown.minute(), shown.second());
    return text;
}

} // namespace platform
