#include "Platform/ImageIO/CaptureDate.hpp"

#include "Fuzz/Require.hpp"

#include <string>

// A date is found in a name, whole and plausible, or none. It is found as well behind text without digits.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace platform;
    const std::string_view name = fuzz::textOf(data, size);
    const auto found = captureDateFromFileName(name);
    fuzz::require(captureDateFromFileName("shot " + std::string(name)) == found);
    if (!found)
        return 0;
    fuzz::require(found->year >= 1990 && found->year < 2100 && found->nanosecond < 1'000'000'000);
    if (const auto date = Calendar::current().date(*found)) {
        DateComponents back = Calendar::current().components(*date);
        back.secondsFromGMT.reset();
        fuzz::require(back == *found);
    } else {
        fuzz::require(found->day > 28); // of a month that has no such day
    }
    return 0;
}
