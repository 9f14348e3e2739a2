#include "Platform/ImageIO/Exif.hpp"

#include "Fuzz/Require.hpp"

// An Exif block says something sensible or nothing; what it says of date and software can be written and read again.

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace platform;
    ImageProperties properties;
    exif::read(fuzz::bytesOf(data, size), properties);
    const int orientation = static_cast<int>(properties.orientation);
    fuzz::require(orientation >= 1 && orientation <= 8);
    if (properties.captureDate)
        std::ignore = Calendar::current().date(*properties.captureDate);

    ImageProperties again;
    exif::read(exif::block({.captureDate = properties.captureDate, .software = properties.software}), again);
    fuzz::require(again.software == properties.software);
    fuzz::require(again.captureDate.has_value() == properties.captureDate.has_value());
    if (properties.captureDate) {
        properties.captureDate->nanosecond -= properties.captureDate->nanosecond % 1000; // as it is written
        fuzz::require(again.captureDate == properties.captureDate);
    }
    return 0;
}
