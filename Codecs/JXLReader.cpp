#include "Codecs/Formats.hpp"

#include <jxl/decode.h>

#include <array>
#include <cstring>
#include <memory>
#include <string_view>

namespace codecs {

namespace {

constexpr JxlPixelFormat rgba8{4, JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 0};

/// One pass through a file.
class Reading {
public:
    explicit Reading(const Job& job) : job_(job), decoder_(JxlDecoderCreate(nullptr)) {
        const int wanted = job.wantsRows ? JXL_DEC_FULL_IMAGE : JXL_DEC_BOX;
        if (!decoder_ ||
            JxlDecoderSubscribeEvents(get(), JXL_DEC_BASIC_INFO | JXL_DEC_COLOR_ENCODING | wanted) != JXL_DEC_SUCCESS)
            refuse(Status::outOfMemory, "");
        JxlDecoderSetDecompressBoxes(get(), JXL_TRUE);
    }

    /// Until the file's end, or until all is known that is wanted of it.
    void run() {
        for (bool isOver = false; !isOver;) {
            switch (JxlDecoderProcessInput(get())) {
            case JXL_DEC_NEED_MORE_INPUT:
                isOver = !feed();
                break;
            case JXL_DEC_BASIC_INFO:
                takeHeader();
                break;
            case JXL_DEC_COLOR_ENCODING:
                takeProfile();
                break;
            case JXL_DEC_BOX:
                endBox();
                beginBox();
                break;
            case JXL_DEC_BOX_NEED_MORE_OUTPUT:
                growBox();
                break;
            case JXL_DEC_NEED_IMAGE_OUT_BUFFER:
                pixels_.resize(4 * static_cast<std::size_t>(header_.width * header_.height));
                JxlDecoderSetImageOutBuffer(get(), &rgba8, pixels_.data(), pixels_.size());
                break;
            case JXL_DEC_FULL_IMAGE:
                isWhole_ = true;
                break;
            case JXL_DEC_SUCCESS:
                isOver = true;
                break;
            default:
                refuse(Status::damaged, "");
            }
        }
        endBox();
    }

    void tell() {
        if (header_.width == 0 || (job_.wantsRows && !isWhole_))
            refuse(Status::truncated, "");
        if (job_.wantsRows) {
            answer(header_);
            send(std::as_bytes(std::span(pixels_)));
        } else {
            answer(header_, profile_, exifBlock(std::move(exif_)));
        }
    }

private:
    JxlDecoder* get() const { return decoder_.get(); }

    /// False at the file's end.
    bool feed() {
        offset_ -= static_cast<std::int64_t>(JxlDecoderReleaseInput(get()));
        const std::size_t count = readFile(offset_, piece_);
        const bool isNew = offset_ + static_cast<std::int64_t>(count) > end_;
        offset_ += static_cast<std::int64_t>(count);
        end_ = offset_;
        return isNew && JxlDecoderSetInput(get(), reinterpret_cast<const std::uint8_t*>(piece_.data()), count) ==
                            JXL_DEC_SUCCESS;
    }

    void takeHeader() {
        JxlBasicInfo info;
        JxlDecoderGetBasicInfo(get(), &info);
        if (info.have_animation)
            refuse(Status::unsupported, "an animation");
        const bool isTurned = info.orientation >= JXL_ORIENT_TRANSPOSE;
        header_.width = isTurned ? info.ysize : info.xsize;
        header_.height = isTurned ? info.xsize : info.ysize;
        checkSize(header_.width, header_.height, job_);
        if (info.alpha_bits > 0)
            header_.alpha = info.alpha_premultiplied ? Alpha::premultiplied : Alpha::straight;
    }

    /// Lossy pictures come in whichever colours are asked for: in those that they were made from, where those have a
    /// name, so that none are cut off.
    void takeProfile() {
        JxlColorEncoding named;
        if (JxlDecoderGetColorAsEncodedProfile(get(), &rgba8, JXL_COLOR_PROFILE_TARGET_ORIGINAL, &named) ==
            JXL_DEC_SUCCESS) {
            JxlDecoderSetPreferredColorProfile(get(), &named);
            const bool isSRGB = named.primaries == JXL_PRIMARIES_SRGB && named.white_point == JXL_WHITE_POINT_D65 &&
                                named.transfer_function == JXL_TRANSFER_FUNCTION_SRGB;
            if (isSRGB)
                return;
        }
        std::size_t size = 0;
        constexpr auto target = JXL_COLOR_PROFILE_TARGET_DATA;
        if (JxlDecoderGetICCProfileSize(get(), &rgba8, target, &size) != JXL_DEC_SUCCESS)
            return;
        profile_.resize(size);
        if (JxlDecoderGetColorAsICCProfile(get(), &rgba8, target, reinterpret_cast<std::uint8_t*>(profile_.data()),
                                           size) != JXL_DEC_SUCCESS)
            profile_.clear();
    }

    void beginBox() {
        JxlBoxType type;
        if (!exif_.empty() || JxlDecoderGetBoxType(get(), type, JXL_TRUE) != JXL_DEC_SUCCESS ||
            std::memcmp(type, "Exif", 4) != 0)
            return;
        isInBox_ = true;
        growBox();
    }

    void growBox() {
        constexpr std::size_t step = 1 << 16, most = 32 << 20;
        const std::size_t filled = exif_.empty() ? 0 : exif_.size() - JxlDecoderReleaseBoxBuffer(get());
        if (filled >= most)
            refuse(Status::overloaded, "its Exif block");
        exif_.resize(filled + step);
        JxlDecoderSetBoxBuffer(get(), reinterpret_cast<std::uint8_t*>(exif_.data()) + filled, step);
    }

    void endBox() {
        if (isInBox_)
            exif_.resize(exif_.size() - JxlDecoderReleaseBoxBuffer(get()));
        isInBox_ = false;
    }

    const Job job_;
    const std::unique_ptr<JxlDecoder, decltype([](JxlDecoder* d) { JxlDecoderDestroy(d); })> decoder_;
    std::vector<std::byte> piece_ = std::vector<std::byte>(std::size_t{1} << 20);
    std::int64_t offset_ = 0; ///< of the file, behind the piece
    std::int64_t end_ = 0;    ///< as far as it was ever read
    Answer header_;
    std::vector<std::byte> profile_, exif_;
    bool isInBox_ = false;
    std::vector<std::uint8_t> pixels_;
    bool isWhole_ = false;
};

} // namespace

void readJXL(const Job& job) {
    Reading reading(job);
    reading.run();
    reading.tell();
}

} // namespace codecs
