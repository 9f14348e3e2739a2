#include "Platform/ImageIO/PNG.hpp"
#include "Platform/ImageIO/PNGChunks.hpp"

#include "Fuzz/MemoryFile.hpp"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>

// A file that both readers read in steps: they must give the same pixels or fail with the same words. The last byte
// tells whether the chunks' CRCs are set right, so that what is changed within them gets further, and how many rows are
// read or skipped at a time.

namespace platform::png {

namespace {

void setChecksums(std::span<std::byte> file) {
    for (std::size_t at = signature.size(); at + 12 <= file.size();) {
        const std::size_t length = numberAt(file.data() + at);
        if (length > file.size() - at - 12)
            return;
        const auto crc = bytesOf(crcOf(file.subspan(at + 4, 4 + length)));
        std::ranges::copy(crc, file.begin() + static_cast<std::ptrdiff_t>(at + 8 + length));
        at += 12 + length;
    }
}

struct Outcome {
    std::vector<std::uint8_t> pixels; ///< of the steps before the error
    std::optional<ImageError> error;
};

/// Before the same error one may get further than the other, since they inflate in other pieces.
bool agree(const Outcome& a, const Outcome& b) {
    const std::size_t common = std::min(a.pixels.size(), b.pixels.size());
    return a.error == b.error &&
           std::equal(a.pixels.begin(), a.pixels.begin() + std::ptrdiff_t(common), b.pixels.begin()) &&
           (a.error || a.pixels.size() == b.pixels.size());
}

Outcome outcomeOf(std::expected<std::unique_ptr<RowReader>, ImageError> reader, const ImageProperties& properties,
                  std::int64_t step) {
    if (!reader)
        return {{}, reader.error()};
    const auto stride = static_cast<std::size_t>(4 * properties.width);
    Outcome outcome;
    for (std::int64_t row = 0; row < properties.height; row += step) {
        const std::int64_t count = std::min(step, properties.height - row);
        const std::size_t before = outcome.pixels.size();
        outcome.pixels.resize(before + stride * static_cast<std::size_t>(count));
        const auto done = row / step % 4 == 3 ? (*reader)->skip(count)
                                              : (*reader)->read(outcome.pixels.data() + before, stride, count);
        if (!done) {
            outcome.pixels.resize(before);
            outcome.error = done.error();
            break;
        }
    }
    return outcome;
}

} // namespace

} // namespace platform::png

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace platform;
    if (size == 0)
        return 0;
    const unsigned choice = data[size - 1];
    std::vector<std::byte> bytes(size);
    std::memcpy(bytes.data(), data, size);
    if ((choice & 1) == 0)
        png::setChecksums(bytes);
    const MemoryFile file(bytes);
    const ImageLimits limits{.maxPixels = 300'000, .maxChunkBytes = 1 << 18};
    const auto description = png::inspect(*InputFile::open(file.path()), limits);
    if (!description)
        return 0;
    const ImageProperties& properties = description->properties;
    const std::int64_t step = 1 + (choice >> 1);
    const auto general =
        png::outcomeOf(png::generalReader(*InputFile::open(file.path()), *description, limits), properties, step);
    const auto ours =
        png::outcomeOf(png::reader(*InputFile::open(file.path()), *description, limits), properties, step);
    if (!png::agree(ours, general)) {
        const auto words = [](const png::Outcome& outcome) { return outcome.error ? outcome.error->detail : "pixels"; };
        std::fprintf(stderr, "differs: %s, %s\n", words(ours).c_str(), words(general).c_str());
        std::abort();
    }
    return 0;
}
