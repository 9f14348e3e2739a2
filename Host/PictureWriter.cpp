#include "Host/PictureWriter.hpp"

#include "Host/Interrupt.hpp"
#include "Host/Message.hpp"
#include "Platform/CoreImage/ImageExport.hpp"
#include "Platform/CoreImage/QuietRows.hpp"
#include "Platform/Foundation/Device.hpp"

#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace host {

namespace fs = std::filesystem;
using platform::AtomicFile;
using platform::ByteSink;
using platform::ImageError;
using platform::ImageFormat;
using Written = std::expected<void, ImageError>;

namespace {

class StandardOutput final : public ByteSink {
public:
    std::expected<void, std::error_code> write(std::span<const std::byte> bytes) override {
        while (!bytes.empty()) {
            const ssize_t count = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
            if (count >= 0)
                bytes = bytes.subspan(static_cast<std::size_t>(count));
            else if (errno != EINTR)
                return std::unexpected(std::error_code(errno, std::generic_category()));
        }
        return {};
    }
};

std::unexpected<ImageError> writeError(const std::error_code& error) {
    return std::unexpected(ImageError{ImageError::Code::writeFailed, error.message()});
}

/// The picture as it lies on pages, where it goes into a document that has some.
std::expected<platform::PDFPages, ImageError> pagesOf(const platform::CIImage& recipe, const platform::CGRect& extent,
                                                      const Page& page) {
    platform::PDFPages pages{.rows = {}, .width = page.width, .height = page.height};
    const std::int64_t mostRows = page.mostRows(static_cast<std::int64_t>(extent.size.width));
    if (mostRows == 0)
        return pages;
    auto heights = platform::heightsOfParts(recipe, extent, mostRows);
    if (!heights)
        return std::unexpected(heights.error());
    pages.rows = std::move(*heights);
    return pages;
}

Written draw(const platform::CIImage& recipe, const platform::CGRect& extent, const OutputFile& output,
             const platform::Date& captureDate, ByteSink& sink) {
    platform::EncodeOptions options{.quality = output.quality, .effort = output.effort};
    if (output.format == ImageFormat::pdf) {
        auto pages = pagesOf(recipe, extent, output.page);
        if (!pages)
            return std::unexpected(pages.error());
        options.pages = std::move(*pages);
    }
    return platform::writeImage(recipe, extent, output.format, options, captureDate, sink, Interrupt::requested);
}

std::string nameOf(ImageFormat format) {
    switch (format) {
    case ImageFormat::png:
        return "PNG";
    case ImageFormat::jpeg:
        return "JPEG";
    case ImageFormat::webp:
        return "WebP";
    case ImageFormat::heif:
        return "HEIF";
    case ImageFormat::avif:
        return "AVIF";
    case ImageFormat::jxl:
        return "JPEG XL";
    case ImageFormat::pdf:
        return "PDF";
    }
    return {};
}

/// The path of a part: "out.png" becomes "out-1.png".
fs::path numbered(const fs::path& path, std::size_t number) {
    return path.parent_path() / (path.stem().native() + "-" + std::to_string(number) + path.extension().native());
}

} // namespace

std::optional<std::string> refusalOf(const OutputFile& output, std::int64_t width, std::int64_t height) {
    using platform::CGImageDestination;
    const std::int64_t rows = output.mostRows > 0 ? std::min(output.mostRows, height) : height;
    const std::int64_t mostRows = CGImageDestination::maxHeight(output.format);
    const std::string name = nameOf(output.format);
    if (width > mostRows)
        return message("it is {} pixels wide, {} holds {}; choose another --format, or a smaller --width",
                       {std::to_string(width), name, std::to_string(mostRows)});
    if (rows > mostRows)
        return message("it has {} rows, {} holds {}; choose another --format, or --split {}",
                       {std::to_string(rows), name, std::to_string(mostRows), std::to_string(mostRows)});
    const std::int64_t allowed = platform::Device::current().imageLimits.maxMemory;
    const std::int64_t aRow = std::max<std::int64_t>(CGImageDestination::memoryFor(output.format, width, 1), 1);
    if (aRow * rows <= allowed || aRow * rows <= 1'000'000)
        return std::nullopt;
    return message("{} takes the whole picture at once, about {} MB of memory, and {} are allowed; choose another "
                   "--format, --split {}, or allow more with --memory",
                   {name, std::to_string(aRow * rows / 1'000'000), std::to_string(allowed / 1'000'000),
                    std::to_string(std::max<std::int64_t>(allowed / aRow, 1))});
}

std::expected<std::vector<fs::path>, ImageError> writePicture(const platform::CIImage& recipe,
                                                              const platform::CGRect& extent, const OutputFile& output,
                                                              const platform::Date& captureDate) {
    if (output.path.empty()) {
        StandardOutput sink;
        if (const auto drawn = draw(recipe, extent, output, captureDate, sink); !drawn)
            return std::unexpected(drawn.error());
        return std::vector<fs::path>{"-"};
    }
    std::vector<std::int64_t> heights = {static_cast<std::int64_t>(extent.size.height)};
    if (output.mostRows > 0) {
        auto parts = platform::heightsOfParts(recipe, extent, output.mostRows);
        if (!parts)
            return std::unexpected(parts.error());
        heights = std::move(*parts);
    }
    std::vector<fs::path> paths;
    for (std::size_t part = 0; part < heights.size(); ++part) {
        paths.push_back(heights.size() == 1 ? output.path : numbered(output.path, part + 1));
        std::error_code unknown;
        if (output.existing == AtomicFile::Existing::keep && fs::exists(fs::symlink_status(paths.back(), unknown)))
            return writeError(std::make_error_code(std::errc::file_exists));
    }

    std::vector<AtomicFile> files; // none gets its name before all are whole
    std::int64_t top = 0;
    for (std::size_t part = 0; part < heights.size(); top += heights[part++]) {
        auto file = AtomicFile::create(paths[part], output.existing);
        if (!file)
            return writeError(file.error());
        const auto drawn = draw(recipe, platform::rowsOf(extent, top, heights[part]), output, captureDate, *file);
        if (!drawn)
            return std::unexpected(drawn.error());
        files.push_back(std::move(*file));
    }
    for (AtomicFile& file : files)
        if (const auto committed = file.commit(); !committed)
            return writeError(committed.error());
    return paths;
}

} // namespace host
