#include "Platform/ImageIO/CaptureDate.hpp"

#include <gtest/gtest.h>

#include <string>

namespace platform {

TEST(CaptureDate, IsReadFromNamesAsPhonesAndDesktopsWriteThem) {
    struct Case {
        const char* name;
        const char* date; ///< "" where the name has none
    };
    for (const auto& [name, date] : {
             Case{"Screenshot_20260301-101112.png", "2026-03-01 10:11:12.000"},
             Case{"Screenshot_20260301_101112_Maps.jpg", "2026-03-01 10:11:12.000"},
             Case{"Screenshot_2026-03-01-10-11-12-123_app.png", "2026-03-01 10:11:12.123"},
             Case{"Screenshot 2026-03-01 at 10.11.12.png", "2026-03-01 10:11:12.000"},
             Case{"Screenshot 2026-03-01 at 1.05.07 PM.png", "2026-03-01 13:05:07.000"},
             Case{"Screenshot 2026-03-01 at 12.05.07\u202fAM.png", "2026-03-01 00:05:07.000"},
             Case{"Bildschirmfoto 2026-03-01 um 10.11.12.png", "2026-03-01 10:11:12.000"},
             Case{"Screenshot from 2026-03-01 10-11-12.png", "2026-03-01 10:11:12.000"},
             Case{"IMG_20260301_101112.jpg", "2026-03-01 10:11:12.000"},
             Case{"PXL_20260301_101112123.jpg", "2026-03-01 10:11:12.123"},
             Case{"signal-2026-03-01-101112.png", "2026-03-01 10:11:12.000"},
             Case{"20260301101112.png", "2026-03-01 10:11:12.000"},
             Case{"Screenshot_20260301-101112 (1).png", "2026-03-01 10:11:12.000"},
             Case{"12_Screenshot_20260301-101112.png", "2026-03-01 10:11:12.000"},
             Case{"IMG-20260301-WA0003.jpg", ""},
             Case{"IMG_0412.PNG", ""},
             Case{"Screenshot_20261301-101112.png", ""},
             Case{"Screenshot_20260301-251112.png", ""},
             Case{"4917620260301101112.png", ""},
             Case{"1234-56-78 9.png", ""},
             Case{"", ""},
         }) {
        const auto found = captureDateFromFileName(name);
        char text[64] = "";
        if (found)
            std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", found->year, found->month,
                          found->day, found->hour, found->minute, found->second, found->nanosecond / 1'000'000);
        EXPECT_STREQ(text, date) << name;
    }
}

} // namespace platform
