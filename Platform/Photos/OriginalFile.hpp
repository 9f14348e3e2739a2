#pragma once

#include "Platform/Foundation/AtomicFile.hpp"
#include "Platform/Photos/PhotoLibraryError.hpp"

#include <expected>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// A file below a library's "Originals", named by its content: "ab/abcdef….png".
struct OriginalFile {
    std::string name; ///< below the folder
    std::string contentHash;
    bool isNew = false; ///< its content was not there before
};

/// One that is to go there. It has no name yet, and leaves no trace where it is not kept.
class OriginalDraft {
public:
    /// Writes what `produce` hands to the sink. Needs no lock.
    [[nodiscard]] static std::expected<OriginalDraft, PhotoLibraryError>
    write(const std::filesystem::path& originals, const std::string& ending,
          const std::function<std::expected<void, PhotoLibraryError>(ByteSink&)>& produce);

    /// Flushes it and its folder and gives it its name. Content that is there already is not kept twice. Once only; the
    /// caller holds the library's lock.
    [[nodiscard]] std::expected<OriginalFile, PhotoLibraryError> keep();

private:
    OriginalDraft(std::filesystem::path originals, std::string ending, AtomicFile file)
        : originals_(std::move(originals)), ending_(std::move(ending)), file_(std::move(file)) {}

    std::filesystem::path originals_;
    std::string ending_;
    AtomicFile file_;
    std::string contentHash_;
};

/// False where either cannot be read.
bool haveSameBytes(const std::filesystem::path& a, const std::filesystem::path& b);

/// Whether `name` is of the kind that `write` gives. A catalogue may come from anyone: what it names otherwise, such as
/// "../../letter.txt", is no original, and is neither read nor removed.
bool isOriginalName(std::string_view name);

/// The names of all that lies below `originals`.
std::vector<std::string> originalNames(const std::filesystem::path& originals);

} // namespace platform
