#pragma once

#include "Codecs/Channel.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// A format each: decoders `answer` what the file at standard input is and send its rows where they are wanted;
/// encoders answer, too, and send the file in pieces. Whatever fails is `refuse`d.
namespace codecs {

/// A picture to encode. Its rows are still to be received: from top to bottom, RGBA8, not premultiplied.
struct Picture {
    Request request;
    std::vector<std::byte> profile; ///< empty: sRGB
    std::vector<std::byte> exif;    ///< begins with the TIFF header; may be empty
    std::string software;
    std::vector<std::int64_t> pages; ///< of PDF: the rows of each, from the top

    /// All rows at once.
    std::vector<std::uint8_t> receivePixels() const;
};

void readHEIF(const Job& job); ///< and AVIF
void readJXL(const Job& job);

void writeAVIF(const Picture& picture);
void writeJXL(const Picture& picture);
void writePDF(const Picture& picture);

/// The block behind the four bytes in which HEIF and JPEG XL say how much of it comes before the TIFF header.
std::vector<std::byte> exifBlock(std::vector<std::byte> item);

} // namespace codecs
