#pragma once

#include "Platform/Foundation/ByteSink.hpp"
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

    /// Writes what `produce` hands to the sink, and flushes the file and its folder. Content that is there already is
    /// not kept twice. The caller holds the library's lock.
    [[nodiscard]] static std::expected<OriginalFile, PhotoLibraryError>
    write(const std::filesystem::path& originals, const std::string& ending,
          const std::function<std::expected<void, PhotoLibraryError>(ByteSink&)>& produce);
};

/// False where either cannot be read.
bool haveSameBytes(const std::filesystem::path& a, const std::filesystem::path& b);

/// Whether `name` is of the kind that `write` gives. A catalogue may come from anyone: what it names otherwise, such as
/// "../../letter.txt", is no original, and is neither read nor removed.
bool isOriginalName(std::string_view name);

/// The names of all that lies below `originals`.
std::vector<std::string> originalNames(const std::filesystem::path& originals);

} // namespace platform
