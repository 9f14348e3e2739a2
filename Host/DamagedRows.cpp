#include "Host/DamagedRows.hpp"

#include <algorithm>

namespace host {

std::optional<platform::ImageError> damageIn(const platform::CGImageSource& source) {
    const platform::CGImage image = source.image();
    auto reader = image.reader();
    if (!reader)
        return reader.error();
    platform::Bitmap rows(image.width(), std::min<std::int64_t>(image.height(), 64));
    for (std::int64_t row = 0; row < image.height(); row += rows.height()) {
        const std::int64_t count = std::min(rows.height(), image.height() - row);
        if (auto read = (*reader)->read(rows.row(0), rows.stride(), count); !read)
            return read.error();
    }
    return std::nullopt;
}

} // namespace host
