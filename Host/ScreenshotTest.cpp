#include "Host/ScreenshotTest.hpp"

#include "Platform/ImageIO/CaptureDate.hpp"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <iterator>
#include <string>

namespace host {

namespace fs = std::filesystem;

namespace {

/// The words by which systems name screenshots, in small letters without blanks, "-" and "_".
constexpr const char* words[] = {"screenshot",         "screenclip",  "screencapture", "bildschirmfoto",
                                 "captured'écran",     "captura",     "schermata",     "schermafbeelding",
                                 "skärmavbild",        "skjermbilde", "zrzutekranu",   "снимокэкрана",
                                 "スクリーンショット", "截屏",        "截图",          "스크린샷"};

/// Widths of phones' and tablets' screens, upright, in pixels.
constexpr std::int64_t screenWidths[] = {640,  720,  750,  768,  800,  828,  1080, 1125, 1170, 1179,
                                         1200, 1206, 1220, 1224, 1240, 1242, 1260, 1280, 1284, 1290,
                                         1320, 1344, 1440, 1488, 1536, 1600, 1620, 1640, 1668, 2048};

std::string plainName(const fs::path& file) {
    std::string name = file.filename().native();
    std::erase_if(name, [](char c) { return c == ' ' || c == '-' || c == '_'; });
    std::ranges::transform(name, name.begin(), [](unsigned char c) { return c < 128 ? std::tolower(c) : c; });
    return name;
}

platform::Date modificationDate(const fs::path& path) {
    std::error_code unknown;
    const auto time = fs::last_write_time(path, unknown);
    const auto since1970 = std::chrono::file_clock::to_sys(time).time_since_epoch();
    return platform::Date::since1970(std::chrono::duration<double>(since1970).count());
}

} // namespace

bool isScreenshot(const fs::path& file, const platform::ImageProperties& properties) {
    const std::string name = plainName(file);
    if (std::ranges::any_of(words, [&](const char* word) { return name.find(word) != std::string::npos; }))
        return true;
    if (properties.fromCamera)
        return false;
    const std::int64_t narrow = std::min(properties.width, properties.height);
    const std::int64_t wide = std::max(properties.width, properties.height);
    using enum platform::ImageFormat;
    if (properties.format == jpeg || properties.format == heif) // as cameras write
        return (std::ranges::find(screenWidths, narrow) != std::end(screenWidths) && 2 * wide >= 3 * narrow) ||
               (properties.height == wide && 100 * wide >= 177 * narrow); // longer than any camera's picture
    return narrow >= 240 && 4 * wide >= 5 * narrow && wide <= 3 * narrow; // from tablets to the longest phones
}

platform::Date captureDate(const fs::path& file, const platform::ImageProperties& properties) {
    const auto calendar = platform::Calendar::current();
    for (const auto& components : {properties.captureDate, platform::captureDateFromFileName(file.filename().native())})
        if (components)
            if (const auto date = calendar.date(*components))
                return *date;
    return modificationDate(file);
}

} // namespace host
