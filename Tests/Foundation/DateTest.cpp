#include "Platform/Foundation/Date.hpp"

#include "Platform/Foundation/Calendar.hpp"
#include "Tests/Support/TestDevice.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace platform {

namespace {

std::string shown(const DateComponents& c) {
    char text[80];
    std::snprintf(text, sizeof text, "%d-%02d-%02d %02d:%02d:%02d.%09d %+d", c.year, c.month, c.day, c.hour, c.minute,
                  c.second, c.nanosecond, c.secondsFromGMT.value_or(0));
    return text;
}

} // namespace

TEST(Date, IsDescribedInUTC) {
    const TestDevice device("Asia/Tokyo");
    for (const auto& [interval, text] : std::initializer_list<std::pair<double, const char*>>{
             {0, "2001-01-01 00:00:00 +0000"},
             {636545472, "2021-03-04 10:11:12 +0000"},
             {636545472.999999, "2021-03-04 10:11:12 +0000"},
             {-0.25, "2000-12-31 23:59:59 +0000"},
             {-978307200, "1970-01-01 00:00:00 +0000"},
             {-63113904000, "0001-01-01 00:00:00 +0000"},
             {-63113904001, "0000-12-31 23:59:59 +0000"},
             {-63145612800, "-001-12-31 00:00:00 +0000"},
             {252423993600, "10000-01-01 00:00:00 +0000"},
             {999999999999, "33689-09-27 01:46:39 +0000"}, // beyond what the standard's calendar holds
         })
        EXPECT_EQ(Date{interval}.description(), text) << interval;
    EXPECT_EQ(Date::distantPast().description(), "0001-01-01 00:00:00 +0000");
    for (const double odd : {1e300, -1e300, std::numeric_limits<double>::infinity(), std::nan("")})
        EXPECT_FALSE(Date{odd}.description().empty());
}

TEST(Calendar, ShowsWhatTheZonesClocksShow) {
    struct Case {
        const char* zone;
        double interval;
        const char* shown;
    };
    for (const auto& [zone, interval, text] : {
             Case{"UTC", 636545472, "2021-03-04 10:11:12.000000000 +0"},
             Case{"Asia/Kathmandu", 636545472, "2021-03-04 15:56:12.000000000 +20700"},
             Case{"America/St_Johns", 636545472, "2021-03-04 06:41:12.000000000 -12600"},
             Case{"Pacific/Apia", 346932000, "2011-12-31 00:00:00.000000000 +50400"}, // after a day that was left out
             Case{"Europe/Berlin", 638585999, "2021-03-28 01:59:59.000000000 +3600"},
             Case{"Europe/Berlin", 638586000, "2021-03-28 03:00:00.000000000 +7200"},
             Case{"No/Such_Zone", 636545472, "2021-03-04 10:11:12.000000000 +0"},
             Case{"UTC", 636545472.63, "2021-03-04 10:11:12.630000000 +0"},
             Case{"UTC", 636545472.9999999, "2021-03-04 10:11:13.000000000 +0"}, // carried
             Case{"UTC", -0.25, "2000-12-31 23:59:59.750000000 +0"},
         }) {
        const TestDevice device(zone);
        EXPECT_EQ(shown(Calendar::current().components(Date{interval})), text) << zone << ' ' << interval;
    }
    for (const double odd : {1e300, -1e300, std::numeric_limits<double>::infinity(), std::nan("")})
        EXPECT_GT(std::abs(Calendar::current().components(Date{odd}).year), 1'000'000'000);
}

TEST(Calendar, FindsTheMomentOfComponents) {
    struct Case {
        const char* zone;
        DateComponents components;
        std::optional<double> interval;
    };
    for (const auto& [zone, components, interval] : std::initializer_list<Case>{
             {"Europe/Berlin", {.year = 2021, .month = 3, .day = 4, .hour = 11, .minute = 11, .second = 12}, 636545472},
             {"Europe/Berlin", {.year = 2021, .month = 3, .day = 28, .hour = 2, .minute = 30}, 638587800},  // left out
             {"Europe/Berlin", {.year = 2021, .month = 10, .day = 31, .hour = 2, .minute = 30}, 657333000}, // twice
             {"Europe/Berlin", {.year = 2001, .secondsFromGMT = 0}, 0},
             {"Europe/Berlin", {.year = 2001, .secondsFromGMT = -86400}, 86400},
             {"UTC", {.year = 2001, .nanosecond = 630'000'000}, 0.63},
             {"UTC", {.year = 2000, .month = 2, .day = 29}, -26524800},
             {"UTC", {.year = 2021, .month = 2, .day = 30}, std::nullopt},
             {"UTC", {.year = 2021, .month = 13}, std::nullopt},
             {"UTC", {.year = 2021, .hour = 24}, std::nullopt},
             {"UTC", {.year = 2021, .second = 60}, std::nullopt},
             {"UTC", {.year = 2021, .nanosecond = 1'000'000'000}, std::nullopt},
             {"UTC", {.year = 2021, .secondsFromGMT = 90000}, std::nullopt},
         }) {
        const TestDevice device(zone);
        const auto date = Calendar::current().date(components);
        EXPECT_EQ(date.has_value(), interval.has_value()) << zone << ' ' << shown(components);
        if (date && interval) {
            EXPECT_DOUBLE_EQ(date->timeIntervalSinceReferenceDate, *interval) << zone << ' ' << shown(components);
        }
    }
}

TEST(Calendar, MicrosecondsSurviveTheWayThereAndBack) {
    const TestDevice device("America/New_York");
    const auto calendar = Calendar::current();
    std::mt19937_64 random(7);
    for (int i = 0; i < 2000; ++i) {
        const Date date{static_cast<double>(random() % 2'000'000'000'000'000) / 1e6 - 1e9};
        const auto components = calendar.components(date);
        const auto back = calendar.date(components);
        ASSERT_TRUE(back);
        EXPECT_EQ(calendar.components(*back), components);
    }
}

TEST(Calendar, KnowsTheZonesThatADeviceCanBeGiven) {
    for (const char* name : {"UTC", "Europe/Berlin", "America/Argentina/Buenos_Aires"})
        EXPECT_TRUE(Calendar::knowsTimeZone(name)) << name;
    for (const char* name : {"", "Europe", "Europe/Atlantis", "../zoneinfo", "\n"})
        EXPECT_FALSE(Calendar::knowsTimeZone(name)) << name;
}

} // namespace platform
