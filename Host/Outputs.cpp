#include "Host/Outputs.hpp"

#include "Host/Message.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/ImageIO/FileEnding.hpp"

namespace host {

namespace fs = std::filesystem;
using platform::ImageFormat;
using Refusal = std::unexpected<std::string>;

namespace {

constexpr int lossless = 100; // quality of WebP

} // namespace

std::optional<std::string> refusalToWrite(const fs::path& file, bool force, const std::vector<fs::path>& inputs) {
    std::error_code unknown;
    if (const fs::path folder = file.parent_path(); !folder.empty() && !fs::is_directory(folder, unknown))
        return message("{}: there is no folder {}; make it first", {shown(file), shown(folder)});
    if (!fs::exists(fs::symlink_status(file, unknown)))
        return std::nullopt;
    for (const fs::path& input : inputs)
        if (fs::equivalent(input, file, unknown))
            return message("{}: this is one of the screenshots; choose another name", {shown(file)});
    if (!force)
        return message("{}: the file exists; use --force to replace it", {shown(file)});
    return std::nullopt;
}

std::expected<Outputs, std::string> Outputs::of(const OutputOptions& options, const std::vector<fs::path>& inputs) {
    auto outputs = placesOf(options, inputs);
    if (outputs && options.page && outputs->form().format != ImageFormat::pdf)
        return Refusal(message("--page is for PDF; use --format pdf, or name a file that ends in .pdf"));
    if (outputs && options.mostRows > 0 && options.named == "-")
        return Refusal(message("--split makes several files, and -o - is one; name a file or a folder"));
    return outputs;
}

std::expected<Outputs, std::string> Outputs::placesOf(const OutputOptions& options,
                                                      const std::vector<fs::path>& inputs) {
    Outputs outputs;
    outputs.pattern_ = {.format = options.format.value_or(ImageFormat::png),
                        .quality = options.quality,
                        .effort = options.effort,
                        .mostRows = options.mostRows,
                        .page = options.page.value_or(Page())};
    outputs.isFormatFree_ = !options.format;
    const fs::path& named = options.named;
    std::error_code unknown;
    if (named.empty())
        return outputs;
    if (named == "-") {
        outputs.single_ = outputs.pattern_;
        return outputs;
    }
    if (!named.has_filename() && !platform::FileManager::createDirectory(named.parent_path()))
        return Refusal(message("{}: the folder could not be made; name another one", {shown(named)}));
    if (fs::is_directory(named, unknown)) {
        outputs.folder_ = named;
        return outputs;
    }

    const auto byEnding = platform::formatByEnding(named);
    if (!byEnding && !options.format)
        return Refusal(message("{}: the ending names no format that is written; use .png, .jpg, .webp, .avif, .jxl or .pdf", {shown(named)}));
    if (byEnding && options.format && *byEnding != *options.format)
        return Refusal(message("{}: the ending names another format than --format", {shown(named)}));
    if (auto refusal = refusalToWrite(named, options.force, inputs))
        return Refusal(std::move(*refusal));
    outputs.single_ = outputs.pattern_;
    outputs.single_->path = named;
    outputs.single_->format = options.format ? *options.format : *byEnding;
    if (options.force)
        outputs.single_->existing = platform::AtomicFile::Existing::replace;
    return outputs;
}

OutputFile Outputs::next(const fs::path& firstShot, std::int64_t rows) {
    if (single_)
        return *single_;
    OutputFile output = pattern_;
    if (output.effort == platform::EncodeEffort::small && isFormatFree_ && output.mostRows == 0 &&
        rows <= platform::CGImageDestination::maxHeight(ImageFormat::webp)) { // smaller than any PNG
        output.format = ImageFormat::webp;
        output.quality = lossless;
    }
    const fs::path folder = folder_.empty() ? firstShot.parent_path() : folder_;
    const std::string stem = firstShot.stem().native() + "-stitched";
    for (int number = 1;; ++number) {
        const std::string suffix = number > 1 ? "-" + std::to_string(number) : "";
        output.path = folder / (stem + suffix + platform::fileEnding(output.format));
        std::error_code unknown;
        if (!fs::exists(fs::symlink_status(output.path, unknown)) && given_.insert(output.path).second)
            return output;
    }
}

} // namespace host
