#include "Codecs/Formats.hpp"

#include "Fuzz/Require.hpp"

#include <algorithm>
#include <cstring>
#include <optional>

// A HEIF, AVIF or JPEG XL file of arbitrary bytes, as velmorant-codecs decodes it, but in this process: it is refused,
// or it has as many rows as it says, no more pixels than are allowed, and the same size whether its rows are wanted or
// not.

namespace {

struct Refused {};

std::span<const std::byte> file;
std::optional<codecs::Answer> answered;
std::size_t rowBytes = 0; ///< sent so far
constexpr std::int64_t maxPixels = 40'000;

} // namespace

namespace codecs {

std::int64_t fileSize() {
    return std::ssize(file);
}

std::size_t readFile(std::int64_t offset, std::span<std::byte> into) {
    if (offset < 0 || offset >= fileSize())
        return 0;
    const auto bytes = file.subspan(static_cast<std::size_t>(offset));
    const std::size_t count = std::min(bytes.size(), into.size());
    std::copy_n(bytes.begin(), count, into.begin());
    return count;
}

void receive(std::span<std::byte> /*into*/) {
    fuzz::require(false); // decoders are told nothing
}

void send(std::span<const std::byte> bytes) {
    fuzz::require(answered.has_value());
    rowBytes += bytes.size();
}

void answer(Answer answer, std::span<const std::byte> profile, std::span<const std::byte> exif) {
    fuzz::require(!answered && answer.width > 0 && answer.height > 0 && answer.width <= maxPixels / answer.height);
    fuzz::require(profile.size() <= file.size() + 100'000 && exif.size() <= 33u << 20);
    answered = answer;
}

void refuse(Status status, std::string_view /*detail*/) {
    fuzz::require(!answered && status != Status::good);
    throw Refused();
}

void checkSize(std::int64_t width, std::int64_t height, const Job& job) {
    if (width <= 0 || height <= 0 || width > job.maxPixels / height)
        refuse(Status::tooLarge, {});
}

} // namespace codecs

namespace {

/// What is answered of the file, if it is not refused.
std::optional<codecs::Answer> read(bool wantsRows) {
    answered.reset();
    rowBytes = 0;
    const codecs::Job job{.maxPixels = maxPixels, .wantsRows = wantsRows};
    constexpr char signature[] = {'\xff', '\x0a'}, container[] = {'\0', '\0', '\0', '\x0c', 'J', 'X', 'L', ' '};
    const auto begins = [](std::span<const char> with) {
        return file.size() >= with.size() && std::memcmp(file.data(), with.data(), with.size()) == 0;
    };
    try {
        if (begins(signature) || begins(container))
            codecs::readJXL(job);
        else
            codecs::readHEIF(job);
    } catch (const Refused&) {
        return std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
    fuzz::require(answered.has_value());
    return answered;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    file = fuzz::bytesOf(data, size);
    const auto inspected = read(false);
    const auto decoded = read(true);
    if (!decoded)
        return 0;
    fuzz::require(rowBytes == 4 * static_cast<std::size_t>(decoded->width * decoded->height));
    fuzz::require(inspected && inspected->width == decoded->width && inspected->height == decoded->height);
    return 0;
}
