#include "Platform/Foundation/Calendar.hpp"

#include "Platform/Foundation/Device.hpp"

#include <cctz/civil_time.h>
#include <cctz/time_zone.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <mutex>

namespace platform {

namespace {

// cctz counts from 1970, dates from 2001.
constexpr auto referenceDateSince1970 = static_cast<std::int64_t>(Date::referenceDateSince1970);

cctz::time_zone loadedZone(const std::string& name) {
    if (name.empty())
        return cctz::local_time_zone();
    cctz::time_zone zone;
    return cctz::load_time_zone(name, &zone) ? zone : cctz::utc_time_zone();
}

} // namespace

/// Reads the zone's file when it is first needed.
class Calendar::Zone {
public:
    explicit Zone(std::string name) : name_(std::move(name)) {}

    const cctz::time_zone& get() const {
        std::call_once(once_, [&] { zone_ = loadedZone(name_); });
        return zone_;
    }

private:
    const std::string name_;
    mutable std::once_flag once_;
    mutable cctz::time_zone zone_;
};

Calendar Calendar::current() {
    return Calendar(std::make_shared<const Zone>(Device::current().timeZone));
}

bool Calendar::knowsTimeZone(const std::string& name) {
    cctz::time_zone zone;
    return !name.empty() && cctz::load_time_zone(name, &zone);
}

std::optional<Date> Calendar::date(const DateComponents& c) const {
    const cctz::civil_second local(c.year, c.month, c.day, c.hour, c.minute, c.second);
    const bool asWritten = local.year() == c.year && local.month() == c.month && local.day() == c.day &&
                           local.hour() == c.hour && local.minute() == c.minute && local.second() == c.second;
    constexpr int day = 24 * 60 * 60;
    if (!asWritten || c.nanosecond < 0 || c.nanosecond >= 1'000'000'000 || std::abs(c.secondsFromGMT.value_or(0)) > day)
        return std::nullopt;
    const cctz::time_zone zone =
        c.secondsFromGMT ? cctz::fixed_time_zone(cctz::seconds(*c.secondsFromGMT)) : zone_->get();
    const auto moment = zone.lookup(local).pre; // the earlier of two, or shifted by the gap
    const std::int64_t seconds = moment.time_since_epoch().count() - referenceDateSince1970;
    return Date{static_cast<double>(seconds) + c.nanosecond * 1e-9};
}

DateComponents Calendar::components(const Date& date) const {
    constexpr double mostSeconds = 6e16; // years that an int holds
    double interval = date.timeIntervalSinceReferenceDate;
    if (!(std::abs(interval) <= mostSeconds))
        interval = interval < 0 ? -mostSeconds : mostSeconds;

    auto seconds = static_cast<std::int64_t>(std::floor(interval));
    auto microseconds = std::llround((interval - std::floor(interval)) * 1e6);
    if (microseconds == 1'000'000) {
        ++seconds;
        microseconds = 0;
    }
    const cctz::time_point<cctz::seconds> moment(cctz::seconds(seconds + referenceDateSince1970));
    const auto shown = zone_->get().lookup(moment);
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
