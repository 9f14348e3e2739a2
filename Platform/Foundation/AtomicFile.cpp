#include "Platform/Foundation/AtomicFile.hpp"

#include "Platform/Foundation/TemporaryFile.hpp"
#include "Platform/Foundation/WriteFailure.hpp"

#include <sys/stat.h>

#include <string>
#include <vector>

namespace platform {

namespace fs = std::filesystem;
using systemCalls::Result;

struct AtomicFile::State {
    static constexpr std::size_t bufferSize = std::size_t{1} << 18;

    fs::path destination;
    const Existing existing;
    TemporaryFile temporary;
    std::vector<std::byte> buffer = {};
    std::error_code failure = {}; ///< the first; then nothing succeeds any more

    Result checked(const Result& result) {
        if (!result && !failure)
            failure = result.error();
        if (!result && result.error() != std::errc::file_exists)
            keepWriteFailure(destination, result.error());
        return result;
    }

    Result writeBuffer() {
        const Result written = buffer.empty() ? Result() : writeThrough(buffer);
        buffer.clear();
        return written;
    }

    Result writeThrough(std::span<const std::byte> bytes) {
        return checked(systemCalls::writeAll(temporary.descriptor(), bytes));
    }
};

namespace {

/// The file that a link leads to, so that the link stays and its file is replaced.
fs::path behindLinks(const fs::path& file) {
    std::error_code unknown;
    const fs::path target = fs::is_symlink(file, unknown) ? fs::canonical(file, unknown) : file;
    return unknown ? file : target;
}

} // namespace

AtomicFile::AtomicFile(std::unique_ptr<State> state) : state_(std::move(state)) {}
AtomicFile::AtomicFile(AtomicFile&&) noexcept = default;
AtomicFile& AtomicFile::operator=(AtomicFile&&) noexcept = default;
AtomicFile::~AtomicFile() = default;

std::expected<AtomicFile, std::error_code> AtomicFile::create(const fs::path& destination, Existing existing) {
    const fs::path file = existing == Existing::replace ? behindLinks(destination) : destination;
    auto temporary = TemporaryFile::create(file.parent_path());
    if (!temporary) {
        keepWriteFailure(destination, temporary.error());
        return std::unexpected(temporary.error());
    }
    if (struct stat former = {}; existing == Existing::replace && stat(file.c_str(), &former) == 0)
        std::ignore = fchmod(temporary->descriptor(), former.st_mode & 0777); // not to be had everywhere
    return AtomicFile(std::make_unique<State>(file, existing, std::move(*temporary)));
}

std::expected<void, std::error_code> AtomicFile::write(std::span<const std::byte> bytes) {
    State& state = *state_;
    if (state.failure)
        return std::unexpected(state.failure);
    if (state.buffer.size() + bytes.size() > State::bufferSize)
        if (auto written = state.writeBuffer(); !written)
            return written;
    if (bytes.size() >= State::bufferSize)
        return state.writeThrough(bytes);
    state.buffer.reserve(State::bufferSize);
    state.buffer.insert(state.buffer.end(), bytes.begin(), bytes.end());
    return {};
}

std::expected<void, std::error_code> AtomicFile::commitAs(const fs::path& destination) {
    state_->destination = destination;
    return commit();
}

std::expected<void, std::error_code> AtomicFile::commit() {
    State& state = *state_;
    if (state.failure)
        return std::unexpected(state.failure);
    if (auto written = state.writeBuffer(); !written)
        return written;
    if (auto flushed = state.checked(systemCalls::flush(state.temporary.descriptor())); !flushed)
        return flushed;
    state.failure = std::make_error_code(std::errc::bad_file_descriptor); // of what comes after this commit
    const auto target = state.existing == Existing::replace ? systemCalls::Target::replace : systemCalls::Target::keep;
    if (auto moved = state.checked(state.temporary.moveTo(state.destination, target)); !moved)
        return moved;
    return state.checked(systemCalls::flushFolder(state.destination.parent_path()));
}

} // namespace platform
