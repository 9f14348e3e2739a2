#pragma once

#include "Platform/Foundation/ByteSink.hpp"

#include <filesystem>
#include <memory>

namespace platform {

/// A file that is there whole or not at all, whenever the process is killed: bytes go to a temporary file in the same
/// folder; `commit` flushes it, gives it its name and flushes the folder. Without a commit nothing is left behind, not
/// even by a process that is killed, where the file system knows files without a name (ext4, XFS, Btrfs, tmpfs);
/// elsewhere, and for the moment of replacing, the temporary file is named ".velmorant-….tmp" and a kill may leave it.
/// So whoever stops on a signal unwinds if it can and just ends if it cannot.
///
/// A file that is replaced hands on its permissions; a new one has those of any new file. Through a symbolic link the
/// file behind it is replaced; a link that leads nowhere is replaced itself.
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

    /// Once only. Fails where a write has failed. After an error the destination is as it was before; where only the
    /// last step failed, flushing the folder, it may be there already, whole.
    [[nodiscard]] std::expected<void, std::error_code> commit();
    /// The same under a name that shows only now, on the same file system; the permissions stay those of `create`.
    [[nodiscard]] std::expected<void, std::error_code> commitAs(const std::filesystem::path& destination);

private:
    struct State;
    explicit AtomicFile(std::unique_ptr<State> state);
    std::unique_ptr<State> state_;
};

} // namespace platform
