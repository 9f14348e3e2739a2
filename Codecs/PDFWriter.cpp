#include "Codecs/Formats.hpp"

#include <hpdf.h>
#include <hpdf_doc.h>

#include <algorithm>
#include <memory>

namespace codecs {

namespace {

constexpr double longestSide = 14'400; ///< of a page, in points
constexpr double shortestSide = 3;
constexpr std::int64_t stripRows = 1'024; ///< viewers decode a strip at a time

struct Document {
    void operator()(HPDF_Doc document) const { HPDF_Free(document); }
};

void check(HPDF_STATUS status) {
    if (status != HPDF_OK)
        refuse(status == HPDF_FAILD_TO_ALLOC_MEM ? Status::outOfMemory : Status::damaged,
               "libhpdf's error " + std::to_string(status));
}

void whenFailed(HPDF_STATUS status, HPDF_STATUS, void*) {
    check(status);
}

/// The colour space of an ICC profile, which libhpdf has for whole documents only, not for images.
HPDF_Array colourSpace(HPDF_Doc document, const std::vector<std::byte>& profile) {
    if (profile.empty())
        return nullptr;
    auto* const bytes = HPDF_MemStream_New(document->mmgr, 4096);
    check(HPDF_Stream_Write(bytes, reinterpret_cast<const HPDF_BYTE*>(profile.data()),
                            static_cast<HPDF_UINT>(profile.size())));
    auto* const icc = HPDF_ICC_LoadIccFromMem(document, document->mmgr, bytes, document->xref, 3);
    HPDF_Stream_Free(bytes);
    auto* const space = HPDF_Array_New(document->mmgr);
    check(HPDF_Array_AddName(space, "ICCBased"));
    check(HPDF_Array_Add(space, icc));
    return space;
}

/// The next rows, on white, three bytes a pixel.
class Rows {
public:
    explicit Rows(std::int64_t width) : row_(4 * static_cast<std::size_t>(width)) {}

    void append(std::vector<HPDF_BYTE>& to) {
        receive(std::as_writable_bytes(std::span(row_)));
        for (std::size_t x = 0; x < row_.size(); x += 4)
            for (std::size_t channel = 0; channel < 3; ++channel) {
                const int alpha = row_[x + 3];
                to.push_back(static_cast<HPDF_BYTE>((row_[x + channel] * alpha + 255 * (255 - alpha) + 127) / 255));
            }
    }

private:
    std::vector<std::uint8_t> row_;
};

/// Draws a page, made of strips from the top down. Each begins with the last row of the one above: where they only
/// touched, viewers would show the paper between them.
void drawPage(HPDF_Doc document, const Request& request, std::int64_t rowCount, double scale, HPDF_Array space,
              Rows& rows) {
    const HPDF_Page page = HPDF_AddPage(document);
    const double height =
        request.pageHeight > 0 ? request.pageHeight : std::max(scale * static_cast<double>(rowCount), shortestSide);
    check(HPDF_Page_SetWidth(
        page, static_cast<HPDF_REAL>(std::max(scale * static_cast<double>(request.width), shortestSide))));
    check(HPDF_Page_SetHeight(page, static_cast<HPDF_REAL>(height)));
    const auto rowBytes = 3 * static_cast<std::size_t>(request.width);
    std::vector<HPDF_BYTE> strip;
    for (std::int64_t end = 0; end < rowCount;) {
        if (!strip.empty())
            strip.erase(strip.begin(), strip.end() - static_cast<std::ptrdiff_t>(rowBytes));
        const std::int64_t top = strip.empty() ? 0 : end - 1;
        for (const std::int64_t next = std::min(end + stripRows, rowCount); end < next; ++end)
            rows.append(strip);
        const HPDF_Image image = HPDF_LoadRawImageFromMem(document, strip.data(), static_cast<HPDF_UINT>(request.width),
                                                          static_cast<HPDF_UINT>(end - top), HPDF_CS_DEVICE_RGB, 8);
        if (space)
            check(HPDF_Dict_Add(image, "ColorSpace", space));
        check(HPDF_Page_DrawImage(page, image, 0, static_cast<HPDF_REAL>(height - scale * static_cast<double>(end)),
                                  static_cast<HPDF_REAL>(scale * static_cast<double>(request.width)),
                                  static_cast<HPDF_REAL>(scale * static_cast<double>(end - top))));
    }
}

void describe(HPDF_Doc document, const Picture& picture) {
    const Request& request = picture.request;
    if (!picture.software.empty())
        check(HPDF_SetInfoAttr(document, HPDF_INFO_CREATOR, picture.software.c_str()));
    if (request.year > 0)
        check(HPDF_SetInfoDateAttr(
            document, HPDF_INFO_CREATION_DATE,
            {request.year, request.month, request.day, request.hour, request.minute, request.second, ' ', 0, 0}));
}

void sendFile(HPDF_Doc document) {
    check(HPDF_SaveToStream(document));
    answer({});
    std::vector<HPDF_BYTE> piece(std::size_t{1} << 18);
    for (;;) {
        auto count = static_cast<HPDF_UINT32>(piece.size());
        const HPDF_STATUS status = HPDF_ReadFromStream(document, piece.data(), &count);
        if (count > 0)
            sendPiece(std::as_bytes(std::span(piece).first(count)));
        if (status != HPDF_OK || count == 0)
            return;
    }
}

} // namespace

void writePDF(const Picture& picture) {
    const Request& request = picture.request;
    const std::unique_ptr<_HPDF_Doc_Rec, Document> document(HPDF_New(whenFailed, nullptr));
    if (!document)
        refuse(Status::outOfMemory, "");
    check(HPDF_SetCompressionMode(document.get(), HPDF_COMP_ALL));
    describe(document.get(), picture);
    auto* const space = colourSpace(document.get(), picture.profile);
    const auto width = static_cast<double>(request.width);
    const auto tallest = static_cast<double>(std::ranges::max(picture.pages));
    const double scale =
        request.pageWidth > 0 ? request.pageWidth / width : std::min(1.0, longestSide / std::max(tallest, width));
    Rows rows(request.width);
    for (const std::int64_t count : picture.pages)
        drawPage(document.get(), request, count, scale, space, rows);
    sendFile(document.get());
}

} // namespace codecs
