#pragma once

#include "Platform/Foundation/Date.hpp"

#include <memory>
#include <optional>
#include <string>

namespace platform {

/// A date as a calendar and a clock show it, in the Gregorian calendar.
struct DateComponents {
    int year = 1;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int nanosecond = 0;
    std::optional<int> secondsFromGMT = {}; ///< nothing: in the calendar's time zone

    friend bool operator==(const DateComponents&, const DateComponents&) = default;
};

/// Converts between points in time and what a calendar and a clock show in one time zone. A cheap value; any thread.
/// The zone's data are read when they are first asked for.
class Calendar {
public:
    /// In the device's time zone. A zone that cannot be loaded counts as UTC.
    static Calendar current();

    /// Whether a device can be given this zone, as in "Europe/Berlin".
    static bool knowsTimeZone(const std::string& name);

    /// Nothing where the components name no moment (month 13, 30 February, hour 24, a zone a day and more off). A local
    /// time that occurs twice gives the earlier moment; one that a clock change leaves out, the moment shifted by the
    /// change.
    std::optional<Date> date(const DateComponents& components) const;

    /// `secondsFromGMT` included. Nanoseconds are the fraction of the second rounded to whole microseconds, with carry:
    /// a date holds no more. Dates that are no number or beyond the years of an `int` give the last or first of those.
    DateComponents components(const Date& date) const;

private:
    class Zone;
    explicit Calendar(std::shared_ptr<const Zone> zone) : zone_(std::move(zone)) {}
    std::shared_ptr<const Zone> zone_;
};

} // namespace platform
