#pragma once

#include <compare>
#include <functional>
#include <string>

namespace platform {

/// A point in time: seconds since 2001-01-01 00:00:00 UTC, with fraction.
struct Date {
    double timeIntervalSinceReferenceDate = 0;

    /// Seconds from 1970-01-01 to 2001-01-01.
    static constexpr double referenceDateSince1970 = 978307200;

    static Date now();
    /// 0001-01-01 00:00:00 UTC in the Gregorian calendar, carried back before its introduction.
    static constexpr Date distantPast() { return {-63113904000.0}; }
    static constexpr Date since1970(double seconds) { return {seconds - referenceDateSince1970}; }
    constexpr double secondsSince1970() const { return timeIntervalSinceReferenceDate + referenceDateSince1970; }

    /// UTC, as in "2021-03-04 10:11:12 +0000"; fractions are cut off. Years before 1 count on down: 0, -1.
    std::string description() const;

    friend constexpr auto operator<=>(const Date&, const Date&) = default;
};

} // namespace platform

template <>
struct std::hash<platform::Date> {
    std::size_t operator()(const platform::Date& date) const noexcept {
        return std::hash<double>()(date.timeIntervalSinceReferenceDate);
    }
};
