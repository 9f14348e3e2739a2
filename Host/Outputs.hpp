#pragma once

#include "Platform/Foundation/AtomicFile.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"

#include <expected>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace host {

/// Where a picture goes, and how.
struct OutputFile {
    std::filesystem::path path; ///< empty: standard output
    platform::ImageFormat format = platform::ImageFormat::png;
    int quality = 92; ///< of lossy formats, 1 to 100
    platform::AtomicFile::Existing existing = platform::AtomicFile::Existing::keep;
};

/// Where a call wants its pictures.
struct OutputOptions {
    std::filesystem::path named; ///< a file, a folder, "-" for standard output; empty: beside each first screenshot
    bool force = false;          ///< a file that exists is replaced
    std::optional<platform::ImageFormat> format; ///< nothing: by the ending, else PNG
    int quality = 92;
};

/// The places of a call's pictures.
class Outputs {
public:
    /// Refused, with a message for people: an ending that names no format or another one than asked for, a folder that
    /// is not there (one that is named with a "/" at its end is made), a file that is one of the `inputs` under any
    /// name, and without `force` a file that exists.
    static std::expected<Outputs, std::string> of(const OutputOptions& options,
                                                  const std::vector<std::filesystem::path>& inputs);

    /// Whether there is room for more than one picture.
    bool takeSeveral() const { return !single_; }

    /// Whether the pictures' format keeps every pixel.
    bool areLossless() const { return (single_ ? *single_ : pattern_).format == platform::ImageFormat::png; }

    /// The place of the picture whose earliest screenshot is `firstShot`: where only a folder is known, a name that
    /// overwrites nothing and that no other picture of the call has. One thread at a time.
    OutputFile next(const std::filesystem::path& firstShot);

    /// There is no picture there after all.
    void giveBack(const OutputFile& output) { given_.erase(output.path); }

private:
    std::optional<OutputFile> single_;
    std::filesystem::path folder_; ///< empty: the first screenshot's
    OutputFile pattern_;           ///< of files in folders
    std::set<std::filesystem::path> given_;
};

} // namespace host
