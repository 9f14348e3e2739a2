#pragma once

#include "Platform/Foundation/AtomicFile.hpp"
#include "Platform/ImageIO/CGImageDestination.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"

#include <algorithm>
#include <expected>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace host {

/// The pages of a document.
struct Page {
    int width = 0;         ///< in points; 0: as its part of the picture
    int height = 0;        ///< in points
    std::int64_t rows = 0; ///< of the picture on a page, at most; 0: as its height says, or all of them

    /// At most so many rows of a picture of this width go on a page; 0: all.
    std::int64_t mostRows(std::int64_t pictureWidth) const {
        return width > 0 ? std::max<std::int64_t>(pictureWidth * height / width, 1) : rows;
    }
};

/// Where a picture goes, and how.
struct OutputFile {
    std::filesystem::path path; ///< empty: standard output
    platform::ImageFormat format = platform::ImageFormat::png;
    int quality = 92;                                              ///< of lossy formats, 1 to 100
    platform::EncodeEffort effort = platform::EncodeEffort::usual; ///< of PNG
    platform::AtomicFile::Existing existing = platform::AtomicFile::Existing::keep;
    std::int64_t mostRows = 0; ///< of one file: a taller picture is split; 0: it never is
    Page page = {};            ///< of PDF
};

/// Where a call wants its pictures.
struct OutputOptions {
    std::filesystem::path named; ///< a file, a folder, "-" for standard output; empty: beside each first screenshot
    bool force = false;          ///< a file that exists is replaced
    std::optional<platform::ImageFormat> format; ///< nothing: by the ending, else PNG
    int quality = 92;
    platform::EncodeEffort effort = platform::EncodeEffort::usual;
    std::int64_t mostRows = 0; ///< of one file; 0: any number
    std::optional<Page> page;  ///< of PDF only
};

/// Why no file can be written there, for people: there is no such folder, it is one of the `inputs` under any name, or
/// it exists and may not be replaced.
std::optional<std::string> refusalToWrite(const std::filesystem::path& file, bool force,
                                          const std::vector<std::filesystem::path>& inputs);

/// The places of a call's pictures.
class Outputs {
public:
    /// Refused, with a message for people: an ending that names no format that is written or another one than asked
    /// for, pages for another format than PDF, parts on standard output, a folder that
    /// is not there (one that is named with a "/" at its end is made), a file that is one of the `inputs` under any
    /// name, and without `force` a file that exists.
    static std::expected<Outputs, std::string> of(const OutputOptions& options,
                                                  const std::vector<std::filesystem::path>& inputs);

    /// Whether there is room for more than one picture.
    bool takeSeveral() const { return !single_; }

    /// How all pictures of the call are written; the place is another for each.
    const OutputFile& form() const { return single_ ? *single_ : pattern_; }

    /// Whether the pictures' format keeps every pixel.
    bool areLossless() const { return form().format == platform::ImageFormat::png; }

    /// The place of the picture of so many rows whose earliest screenshot is `firstShot`: where only a folder is known,
    /// a name that overwrites nothing and that no other picture of the call has. One thread at a time.
    OutputFile next(const std::filesystem::path& firstShot, std::int64_t rows);

    /// There is no picture there after all.
    void giveBack(const OutputFile& output) { given_.erase(output.path); }

private:
    static std::expected<Outputs, std::string> placesOf(const OutputOptions& options,
                                                        const std::vector<std::filesystem::path>& inputs);

    std::optional<OutputFile> single_;
    std::filesystem::path folder_; ///< empty: the first screenshot's
    OutputFile pattern_;           ///< of files in folders
    bool isFormatFree_ = false;    ///< nobody asked for the pattern's
    std::set<std::filesystem::path> given_;
};

} // namespace host
