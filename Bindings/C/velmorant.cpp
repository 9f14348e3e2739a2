#include "Bindings/C/velmorant.h"

#include "Platform/CoreGraphics/Premultiplication.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"

#include "Bindings/C/Run.hpp"

#include <cstring>
#include <exception>
#include <new>

struct velmorant_run {
    bindings::Run run;
    std::string error;
};

namespace {

using platform::Bitmap;

velmorant_status failed(velmorant_run& run, bindings::Error error) noexcept {
    run.error = std::move(error.text);
    return error.status;
}

/// What stands between C++ and C: `body` answers `Run::Done`; no exception goes further.
template <class Body>
velmorant_status call(velmorant_run* run, Body body) noexcept {
    if (!run)
        return VELMORANT_WRONG_CALL;
    try {
        const bindings::Run::Done done = body(run->run);
        return done ? VELMORANT_OK : failed(*run, done.error());
    } catch (const std::bad_alloc&) {
        run->error.clear();
        return VELMORANT_NO_MEMORY;
    } catch (const std::exception& exception) {
        try {
            return failed(*run, {VELMORANT_FAILED, exception.what()});
        } catch (...) {
            return VELMORANT_NO_MEMORY;
        }
    }
}

std::unexpected<bindings::Error> wrong(const char* text) {
    return std::unexpected(bindings::Error{VELMORANT_WRONG_CALL, text});
}

bindings::Run::Progress progressOf(velmorant_progress progress, void* context) {
    if (!progress)
        return nullptr;
    return [=](std::int64_t done, std::int64_t total) { return progress(context, done, total) == 0; };
}

/// A pixel of RGBA from one of `kind` bytes.
void spread(const std::uint8_t* from, std::uint8_t* to, std::int64_t width, velmorant_pixels kind) {
    if (kind == VELMORANT_RGBA8) {
        std::memcpy(to, from, 4 * static_cast<std::size_t>(width));
        return;
    }
    const std::size_t step = kind == VELMORANT_RGB8 ? 1 : 0;
    for (std::int64_t x = 0; x < width; ++x, from += kind, to += 4) {
        to[0] = from[0];
        to[1] = from[step];
        to[2] = from[2 * step];
        to[3] = 255;
    }
}

platform::CGImage imageOf(velmorant_pixels kind, const std::uint8_t* pixels, std::size_t stride, std::int64_t width,
                          std::int64_t height) {
    Bitmap bitmap(width, height);
    bool opaque = true;
    for (std::int64_t y = 0; y < height; ++y) {
        std::uint8_t* row = bitmap.row(y);
        spread(pixels + stride * static_cast<std::size_t>(y), row, width, kind);
        if (kind == VELMORANT_RGBA8) {
            for (std::int64_t x = 0; x < width; ++x)
                opaque &= row[4 * x + 3] == 255;
            platform::premultiply(row, static_cast<std::size_t>(width));
        }
    }
    return platform::CGImage(std::move(bitmap), opaque);
}

/// Rows as the caller wants them: colours not multiplied by alpha, or without alpha.
class Delivery {
public:
    Delivery(velmorant_pixels kind, bool isOpaque, std::int64_t width)
        : kind_(kind), passesOn_(kind == VELMORANT_RGBA8 && isOpaque), width_(static_cast<std::size_t>(width)) {}

    bool hand(velmorant_band band, void* context, const std::uint8_t* rows, std::size_t stride, std::int64_t row,
              std::int64_t count) {
        if (passesOn_)
            return band(context, rows, stride, row, count) == 0;
        const std::size_t length = width_ * static_cast<std::size_t>(kind_);
        converted_.resize(length * static_cast<std::size_t>(count));
        std::uint8_t* to = converted_.data();
        for (std::int64_t y = 0; y < count; ++y, rows += stride, to += length)
            convert(rows, to);
        return band(context, converted_.data(), length, row, count) == 0;
    }

private:
    void convert(const std::uint8_t* row, std::uint8_t* to) const {
        if (kind_ == VELMORANT_RGBA8)
            return platform::unpremultiply(row, to, width_);
        for (std::size_t x = 0; x < width_; ++x, row += 4, to += 3)
            std::memcpy(to, row, 3);
    }

    const velmorant_pixels kind_;
    const bool passesOn_;
    const std::size_t width_; ///< pixels
    std::vector<std::uint8_t> converted_;
};

constexpr const char* notAligned = "the run has no alignment; align it first";
constexpr std::int64_t mostPixels = platform::ImageLimits().maxPixels;

} // namespace

#define VELMORANT_TEXT_(x) #x
#define VELMORANT_TEXT(x) VELMORANT_TEXT_(x)

const char* velmorant_version(void) {
    return VELMORANT_TEXT(VELMORANT_VERSION_MAJOR) "." VELMORANT_TEXT(VELMORANT_VERSION_MINOR) "." VELMORANT_TEXT(
        VELMORANT_VERSION_PATCH);
}

velmorant_run* velmorant_run_new(void) {
    try {
        return new velmorant_run;
    } catch (...) {
        return nullptr;
    }
}

void velmorant_run_free(velmorant_run* run) {
    delete run;
}

const char* velmorant_run_error(const velmorant_run* run) {
    return run ? run->error.c_str() : "there is no run";
}

velmorant_status velmorant_run_add_file(velmorant_run* run, const char* path) {
    return call(run, [&](bindings::Run& to) -> bindings::Run::Done {
        return path ? to.addFile(path) : wrong("there is no path");
    });
}

velmorant_status velmorant_run_add_pixels(velmorant_run* run, velmorant_pixels kind, const uint8_t* pixels,
                                          size_t stride, int64_t width, int64_t height) {
    return call(run, [&](bindings::Run& to) -> bindings::Run::Done {
        if (kind != VELMORANT_GRAY8 && kind != VELMORANT_RGB8 && kind != VELMORANT_RGBA8)
            return wrong("there is no such kind of pixels; use one of velmorant_pixels");
        if (!pixels || width < 1 || height < 1)
            return wrong("the screenshot has no pixels");
        if (width > mostPixels || height > mostPixels / width)
            return wrong("the screenshot is too large");
        if (stride < static_cast<std::size_t>(width) * static_cast<std::size_t>(kind))
            return wrong("the stride is shorter than a row; it counts bytes");
        to.addPixels(imageOf(kind, pixels, stride, width, height));
        return {};
    });
}

size_t velmorant_run_count(const velmorant_run* run) {
    return run ? run->run.screenshots().items().size() : 0;
}

velmorant_status velmorant_run_align(velmorant_run* run, velmorant_progress progress, void* context) {
    return call(run, [&](bindings::Run& of) { return of.align(progressOf(progress, context)); });
}

velmorant_status velmorant_run_seam(velmorant_run* run, size_t index, velmorant_seam* seam) {
    return call(run, [&](const bindings::Run& of) -> bindings::Run::Done {
        if (!seam || index >= of.seams().size())
            return wrong("there is no such seam; a run that was aligned has one less than screenshots");
        const auto& [verdict, reason] = of.seams()[index];
        *seam = {verdict.valid() ? 1 : 0, verdict.valid() ? verdict.offset : 0, verdict.confidence(), verdict.name(),
                 reason.c_str()};
        return {};
    });
}

velmorant_status velmorant_run_size(velmorant_run* run, int64_t* width, int64_t* height) {
    return call(run, [&](const bindings::Run& of) -> bindings::Run::Done {
        if (!of.alignment() || !width || !height)
            return wrong(of.alignment() ? "there is no place for the size" : notAligned);
        *width = of.format().width;
        *height = of.format().height;
        return {};
    });
}

size_t velmorant_run_placed(const velmorant_run* run) {
    return run && run->run.alignment() ? run->run.alignment()->positions().size() : 0;
}

velmorant_status velmorant_run_position(velmorant_run* run, size_t index, velmorant_position* position) {
    return call(run, [&](const bindings::Run& of) -> bindings::Run::Done {
        if (!of.alignment())
            return wrong(notAligned);
        if (!position || index >= of.alignment()->positions().size())
            return wrong("there is no such position");
        const auto& [item, at] = of.alignment()->positions()[index];
        *position = {of.screenshots().indexOf(item), at.offset, at.localOverlap.lower, at.localOverlap.upper};
        return {};
    });
}

velmorant_status velmorant_run_format(velmorant_run* run, int* opaque, const uint8_t** profile, size_t* profile_size) {
    return call(run, [&](const bindings::Run& of) -> bindings::Run::Done {
        if (!of.alignment())
            return wrong(notAligned);
        const auto bytes = of.format().colorSpace.profile();
        if (opaque)
            *opaque = of.format().opaque ? 1 : 0;
        if (profile)
            *profile = bytes.empty() ? nullptr : reinterpret_cast<const uint8_t*>(bytes.data());
        if (profile_size)
            *profile_size = bytes.size();
        return {};
    });
}

velmorant_status velmorant_run_render(velmorant_run* run, velmorant_pixels kind, velmorant_band band, void* context) {
    return call(run, [&](bindings::Run& of) -> bindings::Run::Done {
        if (!band || (kind != VELMORANT_RGB8 && kind != VELMORANT_RGBA8))
            return wrong(band ? "pictures are drawn as RGB8 or RGBA8" : "there is no one who takes the rows");
        if (kind == VELMORANT_RGB8 && of.alignment() && !of.format().opaque)
            return wrong("the picture is not opaque; draw it as RGBA8");
        Delivery delivery(kind, of.format().opaque, of.format().width);
        return of.render([&](const std::uint8_t* rows, std::size_t stride, std::int64_t row, std::int64_t count) {
            return delivery.hand(band, context, rows, stride, row, count);
        });
    });
}

velmorant_status velmorant_run_write(velmorant_run* run, const char* path, int quality, velmorant_progress progress,
                                     void* context) {
    return call(run, [&](bindings::Run& of) -> bindings::Run::Done {
        return path ? of.write(path, quality, progressOf(progress, context)) : wrong("there is no path");
    });
}

void velmorant_run_cancel(velmorant_run* run) {
    if (run)
        run->run.cancel();
}
