#include "Platform/Foundation/TemporaryFile.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <random>
#include <string>

namespace platform {

namespace fs = std::filesystem;

namespace {

/// Hidden, and short however long the names around it are.
fs::path randomName(const fs::path& folder) {
    thread_local std::random_device random;
    const auto bits = (std::uint64_t{random()} << 32) | random();
    return folder / (".velmorant-" + std::to_string(bits) + ".tmp");
}

/// Calls `attempt` with random names until one is not taken.
template <class Attempt>
std::expected<fs::path, std::error_code> claimName(const fs::path& folder, const Attempt& attempt) {
    for (int count = 0;; ++count) {
        fs::path name = randomName(folder);
        const systemCalls::Result claimed = attempt(name);
        if (claimed)
            return name;
        if (claimed.error() != std::errc::file_exists || count == 100)
            return std::unexpected(claimed.error());
    }
}

} // namespace

std::expected<TemporaryFile, std::error_code> TemporaryFile::create(const fs::path& folder) {
    if (const auto unnamed = systemCalls::openUnnamed(folder))
        return TemporaryFile(FileDescriptor(*unnamed), {});
    FileDescriptor opened;
    auto name = claimName(folder, [&](const fs::path& file) -> systemCalls::Result {
        opened = FileDescriptor(open(file.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
        return opened ? systemCalls::Result() : std::unexpected(systemCalls::lastError());
    });
    if (!name)
        return std::unexpected(name.error());
    return TemporaryFile(std::move(opened), std::move(*name));
}

TemporaryFile::~TemporaryFile() {
    if (descriptor_ && !name_.empty())
        unlink(name_.c_str());
}

systemCalls::Result TemporaryFile::moveTo(const fs::path& destination, systemCalls::Target target) {
    using systemCalls::Target;
    if (name_.empty() && target == Target::keep)
        return systemCalls::name(descriptor(), destination);
    if (name_.empty()) { // a link replaces nothing, a rename does
        auto name = claimName(destination.parent_path(),
                              [&](const fs::path& file) { return systemCalls::name(descriptor(), file); });
        if (!name)
            return std::unexpected(name.error());
        name_ = std::move(*name);
    }
    const systemCalls::Result renamed = systemCalls::rename(name_, destination, target);
    if (renamed)
        name_.clear();
    return renamed;
}

} // namespace platform
