#include "Platform/Foundation/ContentHash.hpp"

#include "Platform/Foundation/RegularFile.hpp"

#include <xxhash.h>

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

std::expected<void, std::error_code> ContentHash::addFile(const std::filesystem::path& path) {
    const auto file = RegularFile::open(path);
    if (!file)
        return std::unexpected(file.error());
    std::vector<std::byte> block(std::size_t{1} << 17);
    for (;;) {
        const auto count = file->read(block);
        if (!count)
            return std::unexpected(count.error());
        if (*count == 0)
            return {};
        add(block.data(), *count);
    }
}

} // namespace platform
