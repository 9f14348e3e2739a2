#include "Codecs/Channel.hpp"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>
#include <thread>

namespace codecs {

namespace {

[[noreturn]] void giveUp() {
    _exit(1);
}

} // namespace

std::int64_t fileSize() {
    struct stat status = {};
    if (fstat(STDIN_FILENO, &status) != 0)
        giveUp();
    return status.st_size;
}

std::size_t readFile(std::int64_t offset, std::span<std::byte> into) {
    std::size_t done = 0;
    while (done < into.size()) {
        const ssize_t count =
            pread(STDIN_FILENO, into.data() + done, into.size() - done, offset + static_cast<std::int64_t>(done));
        if (count == 0)
            break;
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            giveUp();
    }
    return done;
}

std::vector<std::byte> wholeFile() {
    std::vector<std::byte> bytes(static_cast<std::size_t>(fileSize()));
    bytes.resize(readFile(0, bytes));
    return bytes;
}

void receive(std::span<std::byte> into) {
    while (!into.empty()) {
        const ssize_t count = recv(STDOUT_FILENO, into.data(), into.size(), 0);
        if (count > 0)
            into = into.subspan(static_cast<std::size_t>(count));
        else if (count == 0 || errno != EINTR)
            giveUp();
    }
}

void send(std::span<const std::byte> bytes) {
    while (!bytes.empty()) {
        const ssize_t count = ::send(STDOUT_FILENO, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count >= 0)
            bytes = bytes.subspan(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            giveUp();
    }
}

void answer(Answer answer, std::span<const std::byte> profile, std::span<const std::byte> exif) {
    answer.profileBytes = static_cast<std::uint32_t>(profile.size());
    answer.exifBytes = static_cast<std::uint32_t>(exif.size());
    send(std::as_bytes(std::span(&answer, 1)));
    send(profile);
    send(exif);
}

void refuse(Status status, std::string_view detail) {
    Answer no{.status = status};
    detail.copy(no.detail, sizeof no.detail - 1);
    answer(no);
    _exit(0);
}

void checkSize(std::int64_t width, std::int64_t height, const Job& job) {
    if (width <= 0 || height <= 0)
        refuse(Status::damaged, "no pixels");
    if (width > job.maxPixels / height)
        refuse(Status::tooLarge, std::to_string(width) + " x " + std::to_string(height) + " pixels, " +
                                     std::to_string(job.maxPixels) + " at most");
}

void sendPiece(std::span<const std::byte> bytes) {
    constexpr std::size_t longest = 1 << 20;
    while (!bytes.empty()) {
        const auto piece = bytes.first(std::min(bytes.size(), longest));
        const auto length = static_cast<std::uint32_t>(piece.size());
        send(std::as_bytes(std::span(&length, 1)));
        send(piece);
        bytes = bytes.subspan(piece.size());
    }
}

void sendEnd() {
    const std::uint32_t none = 0;
    send(std::as_bytes(std::span(&none, 1)));
}

void endWithTheProgram() {
    std::thread([] {
        pollfd socket{.fd = STDOUT_FILENO, .events = 0, .revents = 0}; // a hang-up is told in any case
        while (poll(&socket, 1, -1) < 0 && errno == EINTR) {
        }
        giveUp();
    }).detach();
}

} // namespace codecs
