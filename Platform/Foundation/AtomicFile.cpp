#include "Platform/Foundation/AtomicFile.hpp"

#include "Platform/Foundation/SystemCalls.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace platform {

namespace fs = std::filesystem;

struct AtomicFile::State {
    static constexpr std::size_t bufferSize = std::size_t{1} << 18;

    fs::path destination;
    Existing existing;
    fs::path temporary; ///< empty once it is no more
    int descriptor = -1;
    std::vector<std::byte> buffer;

    ~State() {
        if (descriptor >= 0)
            close(descriptor);
        if (!temporary.empty())
            unlink(temporary.c_str());
    }

    systemCalls::Result writeBuffer() {
        const auto written = systemCalls::writeAll(descriptor, buffer);
        buffer.clear();
        return written;
    }
};

namespace {

/// The file that a link leads to, so that the link stays and its file is replaced.
fs::path behindLinks(const fs::path& file) {
    std::error_code unknown;
    const fs::path target = fs::is_symlink(file, unknown) ? fs::canonical(file, unknown) : file;
    return unknown ? file : target;
}

/// Hidden, in the destination's folder, short whatever the destination's name.
fs::path temporaryName(const fs::path& destination) {
    static thread_local std::random_device random;
    const auto bits = (std::uint64_t{random()} << 32) | random();
    return destination.parent_path() / (".velmorant-" + std::to_string(bits) + ".tmp");
}

} // namespace

AtomicFile::AtomicFile(std::unique_ptr<State> state) : state_(std::move(state)) {}
AtomicFile::AtomicFile(AtomicFile&&) noexcept = default;
AtomicFile& AtomicFile::operator=(AtomicFile&&) noexcept = default;
AtomicFile::~AtomicFile() = default;

std::expected<AtomicFile, std::error_code> AtomicFile::create(const fs::path& destination, Existing existing) {
    auto state = std::make_unique<State>();
    state->destination = existing == Existing::replace ? behindLinks(destination) : destination;
    state->existing = existing;
    for (int attempt = 0; state->descriptor < 0; ++attempt) {
        const fs::path name = temporaryName(state->destination);
        state->descriptor = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (state->descriptor >= 0)
            state->temporary = name;
        else if (errno != EEXIST || attempt == 100)
            return std::unexpected(std::error_code(errno, std::generic_category()));
    }
    if (struct stat former = {}; existing == Existing::replace && stat(state->destination.c_str(), &former) == 0)
        std::ignore = fchmod(state->descriptor, former.st_mode & 07777); // not to be had everywhere
    state->buffer.reserve(State::bufferSize);
    return AtomicFile(std::move(state));
}

std::expected<void, std::error_code> AtomicFile::write(std::span<const std::byte> bytes) {
    if (state_->buffer.size() + bytes.size() > State::bufferSize)
        if (auto written = state_->writeBuffer(); !written)
            return written;
    if (bytes.size() >= State::bufferSize)
        return systemCalls::writeAll(state_->descriptor, bytes);
    state_->buffer.insert(state_->buffer.end(), bytes.begin(), bytes.end());
    return {};
}

std::expected<void, std::error_code> AtomicFile::commit() {
    State& state = *state_;
    if (auto written = state.writeBuffer(); !written)
        return written;
    if (auto flushed = systemCalls::flush(state.descriptor); !flushed)
        return flushed;
    if (auto renamed = systemCalls::rename(state.temporary, state.destination, state.existing == Existing::replace);
        !renamed)
        return renamed;
    state.temporary.clear();
    return systemCalls::flushFolder(state.destination.parent_path());
}

} // namespace platform
