#pragma once

#include "Platform/Foundation/Date.hpp"

#include <optional>

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
    std::optional<int> secondsFromGMT; ///< nothing: in the calendar's time zone

    friend bool operator==(const DateComponents&, const DateComponents&) = default;
};

/// Converts between points in time and what the device's calendar and clock show, in the device's time zone.
class Calendar {
public:
    /// The calendar of the device as it is set up now.
    static Calendar current();

    /// Nothing where the components name no moment (month 13, 30 February, hour 24). A local time that occurs twice
    /// gives the earlier moment; one that a clock change leaves out, the moment shifted by the change.
    std::optional<Date> date(const DateComponents& components) const;

    /// In the device's zone, `secondsFromGMT` included. Nanoseconds are the fraction of the second rounded to whole
    /// microseconds, with carry.
    DateComponents components(const Date& date) const;
};

} // namespace platform
