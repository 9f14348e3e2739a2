#include "Platform/Foundation/ContentHash.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <xxhash.h>

#include <cerrno>
#include <new>
#include <vector>

namespace platform {

struct ContentHash::State {
    std::unique_ptr<XXH3_state_t, decltype([](XXH3_state_t* state) { XXH3_freeState(state); })> hash{
        XXH3_createState()};
};

ContentHash::ContentHash() : state_(std::make_unique<State>()) {
    if (!state_->hash)
        throw std::bad_alloc();
    XXH3_128bits_reset(state_->hash.get());
}

ContentHash::ContentHash(ContentHash&&) noexcept = default;
ContentHash::~ContentHash() = default;

void ContentHash::add(const void* bytes, std::size_t size) {
    XXH3_128bits_update(state_->hash.get(), bytes, size);
}

std::string ContentHash::hex() const {
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, XXH3_128bits_digest(state_->hash.get()));
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (const unsigned char byte : canonical.digest)
        text.append({digits[byte >> 4], digits[byte & 15]});
    return text;
}

std::expected<void, std::error_code> ContentHash::addFile(const std::filesystem::path& file) {
    const auto lastError = [] { return std::unexpected(std::error_code(errno, std::generic_category())); };
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0)
        return lastError();
    const std::unique_ptr<const int, decltype([](const int* d) { close(*d); })> owner(&descriptor);

    struct stat status = {};
    if (fstat(descriptor, &status) != 0)
        return lastError();
    if (!S_ISREG(status.st_mode))
        return std::unexpected(std::make_error_code(std::errc::invalid_argument));

    std::vector<char> block(std::size_t{1} << 17);
    for (;;) {
        const ssize_t count = read(descriptor, block.data(), block.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return lastError();
        if (count == 0)
            return {};
        add(block.data(), static_cast<std::size_t>(count));
    }
}

} // namespace platform
