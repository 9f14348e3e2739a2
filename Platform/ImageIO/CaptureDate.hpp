#pragma once

#include "Platform/Foundation/Calendar.hpp"

#include <optional>
#include <string_view>

namespace platform {

/// The local date and time that phones and desktops write into a screenshot's name, for example
/// "Screenshot_20260301-101112.png", "Screenshot_2026-03-01-10-11-12-123_app.png",
/// "Screenshot 2026-03-01 at 10.11.12.png", "IMG_20260301_101112.jpg". Nothing where the name has no whole date and
/// time.
std::optional<DateComponents> captureDateFromFileName(std::string_view fileName);

} // namespace platform
