#include "Fuzz/ReadImage.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    return fuzz::readImage(data, size, platform::ImageFormat::jpeg);
}
