#pragma once

#include <expected>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>

namespace platform {

/// 128 bits that tell contents apart (XXH3), as 32 hexadecimal digits. Not safe against those who forge files on
/// purpose: where that matters, compare the bytes.
class ContentHash {
public:
    ContentHash();
    ContentHash(ContentHash&&) noexcept;
    ~ContentHash();

    void add(const void* bytes, std::size_t size);
    std::string hex() const;

    /// Adds all bytes of a regular file.
    [[nodiscard]] std::expected<void, std::error_code> addFile(const std::filesystem::path& file);

private:
    struct State;
    std::unique_ptr<State> state_;
};

} // namespace platform
