#pragma once

#include "Platform/ImageIO/CodecsProtocol.hpp"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

/// The helper's two ways to the outside: the picture file, which is standard input, and the program that started it,
/// behind the socket that is standard output. Where either is gone nobody waits for this process, so it ends.
namespace codecs {

using platform::codecs::Alpha;
using platform::codecs::Answer;
using platform::codecs::Request;
using platform::codecs::Status;

/// What may be read of the file and how.
struct Job {
    std::int64_t maxPixels = 0;
    bool wantsRows = false; ///< else the header is enough, with profile and Exif block
};

std::int64_t fileSize();
/// Fewer than `into.size()` bytes only at the file's end.
std::size_t readFile(std::int64_t offset, std::span<std::byte> into);
std::vector<std::byte> wholeFile();

void receive(std::span<std::byte> into);
void send(std::span<const std::byte> bytes);

template <class T>
void receiveAs(T& value) {
    receive(std::as_writable_bytes(std::span(&value, 1)));
}

/// Says what the picture is. Not before the last call of `refuse`.
void answer(Answer answer, std::span<const std::byte> profile = {}, std::span<const std::byte> exif = {});

/// Says why there is no picture, and ends the process.
[[noreturn]] void refuse(Status status, std::string_view detail);

/// `refuse`s a size that is not within the limits.
void checkSize(std::int64_t width, std::int64_t height, const Job& job);

/// Hands on a piece of an encoded file; `sendEnd` ends it.
void sendPiece(std::span<const std::byte> bytes);
void sendEnd();

/// Ends the process as soon as the program at the other end has ended.
void endWithTheProgram();

} // namespace codecs
