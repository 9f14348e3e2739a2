#pragma once

#include "Platform/Foundation/ByteSink.hpp"

#include <filesystem>
#include <memory>

namespace platform {

/// A file that is there whole or not at all, whenever the process is killed: bytes go to a temporary file in the same
/// folder; `commit` flushes it, renames it and flushes the folder. Without a commit nothing is left behind.
class AtomicFile final : public ByteSink {
public:
    enum class Existing {
        replace, ///< a file of that name is replaced
        keep,    ///< `commit` fails with `std::errc::file_exists`, without a race
    };

    [[nodiscard]] static std::expected<AtomicFile, std::error_code> create(const std::filesystem::path& destination,
                                                                           Existing existing);

    AtomicFile(AtomicFile&&) noexcept;
    AtomicFile& operator=(AtomicFile&&) noexcept;
    ~AtomicFile() override;

    [[nodiscard]] std::expected<void, std::error_code> write(std::span<const std::byte> bytes) override;

    /// Once only. After an error the destination is as it was before; where only the last step failed, flushing the
    /// folder, it may be there already, whole.
    [[nodiscard]] std::expected<void, std::error_code> commit();

private:
    struct State;
    explicit AtomicFile(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

} // namespace platform
