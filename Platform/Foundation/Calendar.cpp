#include "Platform/Foundation/Calendar.hpp"

#include "Platform/Foundation/Device.hpp"

#include <cctz/civil_time.h>
#include <cctz/time_zone.h>

#include <chrono>
#include <cmath>

namespace platform {

struct Calendar::Zone {
    cctz::time_zone zone;
};

Calendar Calendar::current() {
    const std::string& name = Device::current().timeZone;
    auto zone = std::make_shared<Zone>();
    if (name.empty())
        zone->zone = cctz::local_time_zone();
    else if (!cctz::load_time_zone(name, &zone->zone))
        zone->zone = cctz::utc_time_zone();
    return Calendar(std::move(zone));
}

bool Calendar::knowsTimeZone(const std::string& name) {
    cctz::time_zone zone;
    return cctz::load_time_zone(name, &zone);
}

std::optional<Date> Calendar::date(const DateComponents& c) const {
    const cctz::civil_second local(c.year, c.month, c.day, c.hour, c.minute, c.second);
    const bool asWritten = local.year() == c.year && local.month() == c.month && local.day() == c.day &&
                           local.hour() == c.hour && local.minute() == c.minute && local.second() == c.second;
    if (!asWritten || c.nanosecond < 0 || c.nanosecond >= 1'000'000'000)
        return std::nullopt;
    const cctz::time_zone zone =
        c.secondsFromGMT ? cctz::fixed_time_zone(cctz::seconds(*c.secondsFromGMT)) : zone_->zone;
    const auto moment = zone.lookup(local).pre; // the earlier of two, or shifted by the gap
    return Date::since1970(static_cast<double>(moment.time_since_epoch().count()) + c.nanosecond * 1e-9);
}

DateComponents Calendar::components(const Date& date) const {
    const double since1970 = date.secondsSince1970();
    auto whole = static_cast<std::int64_t>(std::floor(since1970));
    auto microseconds = std::llround((since1970 - std::floor(since1970)) * 1e6);
    if (microseconds == 1'000'000) {
        ++whole;
        microseconds = 0;
    }
    const auto shown = zone_->zone.lookup(cctz::time_point<cctz::seconds>(cctz::seconds(whole)));
    return {.year = static_cast<int>(shown.cs.year()),
            .month = shown.cs.month(),
            .day = shown.cs.day(),
            .hour = shown.cs.hour(),
            .minute = shown.cs.minute(),
            .second = shown.cs.second(),
            .nanosecond = static_cast<int>(microseconds * 1000),
            .secondsFromGMT = shown.offset};
}

} // namespace platform
