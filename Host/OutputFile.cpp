#include "Host/OutputFile.hpp"

#include "Host/Message.hpp"

#include <algorithm>
#include <optional>

namespace host {

namespace fs = std::filesystem;
using platform::ImageFormat;

namespace {

std::optional<ImageFormat> formatOf(const fs::path& file) {
    std::string ending = file.extension().native();
    std::ranges::transform(ending, ending.begin(), [](unsigned char c) { return std::tolower(c); });
    if (ending == ".png")
        return ImageFormat::png;
    if (ending == ".jpg" || ending == ".jpeg")
        return ImageFormat::jpeg;
    if (ending == ".webp")
        return ImageFormat::webp;
    return std::nullopt;
}

/// "SHOT-stitched.png" in `folder`, numbered where that is taken.
fs::path freeName(const fs::path& folder, const fs::path& firstShot) {
    const std::string stem = firstShot.stem().native() + "-stitched";
    for (int number = 1;; ++number) {
        const fs::path file = folder / (stem + (number > 1 ? "-" + std::to_string(number) : "") + ".png");
        if (std::error_code unknown; !fs::exists(fs::symlink_status(file, unknown)))
            return file;
    }
}

} // namespace

std::expected<OutputFile, std::string>
OutputFile::choose(const fs::path& named, bool force, const std::vector<fs::path>& inputs, const fs::path& firstShot) {
    OutputFile output;
    std::error_code unknown;
    if (named.empty()) {
        output.path = freeName(firstShot.parent_path(), firstShot);
        return output;
    }
    if (fs::is_directory(named, unknown)) {
        output.path = freeName(named, firstShot);
        return output;
    }

    output.path = named;
    const auto format = formatOf(named);
    if (!format)
        return std::unexpected(
            message("{}: the ending names no picture format; use .png, .jpg or .webp", {shown(named)}));
    output.format = *format;
    if (const fs::path folder = named.parent_path(); !folder.empty() && !fs::is_directory(folder, unknown))
        return std::unexpected(message("{}: there is no folder {}; make it first", {shown(named), shown(folder)}));
    for (const fs::path& input : inputs)
        if (fs::equivalent(input, named, unknown))
            return std::unexpected(
                message("{}: this is one of the screenshots; choose another name for the picture", {shown(named)}));
    if (force)
        output.existing = platform::AtomicFile::Existing::replace;
    else if (fs::exists(fs::symlink_status(named, unknown)))
        return std::unexpected(message("{}: the file exists; use --force to replace it", {shown(named)}));
    return output;
}

} // namespace host
