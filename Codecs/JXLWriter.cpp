#include "Codecs/Formats.hpp"

#include <jxl/encode.h>
#include <jxl/thread_parallel_runner.h>

#include <cstring>
#include <memory>

namespace codecs {

namespace {

using Encoder = std::unique_ptr<JxlEncoder, decltype([](JxlEncoder* e) { JxlEncoderDestroy(e); })>;
using Runner = std::unique_ptr<void, decltype([](void* r) { JxlThreadParallelRunnerDestroy(r); })>;

void check(JxlEncoderStatus status) {
    if (status != JXL_ENC_SUCCESS)
        refuse(Status::damaged, "libjxl could not encode the picture");
}

void setColours(JxlEncoder* encoder, const std::vector<std::byte>& profile) {
    if (!profile.empty())
        return check(
            JxlEncoderSetICCProfile(encoder, reinterpret_cast<const std::uint8_t*>(profile.data()), profile.size()));
    JxlColorEncoding colours;
    JxlColorEncodingSetToSRGB(&colours, JXL_FALSE);
    check(JxlEncoderSetColorEncoding(encoder, &colours));
}

void addExif(JxlEncoder* encoder, const std::vector<std::byte>& exif) {
    if (exif.empty())
        return;
    std::vector<std::uint8_t> item(4); // nothing stands before the TIFF header
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(exif.data());
    item.insert(item.end(), bytes, bytes + exif.size());
    check(JxlEncoderUseBoxes(encoder));
    check(JxlEncoderAddBox(encoder, "Exif", item.data(), item.size(), JXL_FALSE));
    JxlEncoderCloseBoxes(encoder);
}

} // namespace

void writeJXL(const Picture& picture) {
    const Request& request = picture.request;
    const bool isLossless = request.quality >= 100;
    const Encoder encoder(JxlEncoderCreate(nullptr));
    const Runner runner(JxlThreadParallelRunnerCreate(nullptr, JxlThreadParallelRunnerDefaultNumWorkerThreads()));
    check(JxlEncoderSetParallelRunner(encoder.get(), JxlThreadParallelRunner, runner.get()));

    JxlBasicInfo info;
    JxlEncoderInitBasicInfo(&info);
    info.xsize = static_cast<std::uint32_t>(request.width);
    info.ysize = static_cast<std::uint32_t>(request.height);
    info.bits_per_sample = 8;
    info.alpha_bits = request.opaque ? 0 : 8;
    info.num_extra_channels = request.opaque ? 0 : 1;
    info.uses_original_profile = isLossless;
    check(JxlEncoderSetBasicInfo(encoder.get(), &info));
    setColours(encoder.get(), picture.profile);
    addExif(encoder.get(), picture.exif);

    JxlEncoderFrameSettings* frame = JxlEncoderFrameSettingsCreate(encoder.get(), nullptr);
    check(JxlEncoderFrameSettingsSetOption(frame, JXL_ENC_FRAME_SETTING_EFFORT, 3));
    if (isLossless)
        check(JxlEncoderSetFrameLossless(frame, JXL_TRUE));
    else // libjxl's own scale of quality, see its cjxl
        check(JxlEncoderSetFrameDistance(frame, 0.1F + 0.09F * static_cast<float>(100 - request.quality)));

    std::vector<std::uint8_t> pixels = picture.receivePixels();
    if (request.opaque) { // without their fourth byte
        for (std::size_t i = 0; i < pixels.size() / 4; ++i)
            std::memmove(pixels.data() + 3 * i, pixels.data() + 4 * i, 3);
        pixels.resize(pixels.size() / 4 * 3);
    }
    const JxlPixelFormat format{request.opaque ? 3u : 4u, JXL_TYPE_UINT8, JXL_NATIVE_ENDIAN, 0};
    check(JxlEncoderAddImageFrame(frame, &format, pixels.data(), pixels.size()));
    JxlEncoderCloseInput(encoder.get());

    std::vector<std::uint8_t> piece(std::size_t{1} << 20);
    bool isFirst = true;
    for (auto status = JXL_ENC_NEED_MORE_OUTPUT; status == JXL_ENC_NEED_MORE_OUTPUT;) {
        std::uint8_t* next = piece.data();
        std::size_t left = piece.size();
        status = JxlEncoderProcessOutput(encoder.get(), &next, &left);
        if (status == JXL_ENC_ERROR && isFirst)
            check(status);
        if (status == JXL_ENC_ERROR)
            _Exit(1);
        if (isFirst)
            answer({});
        isFirst = false;
        sendPiece(std::as_bytes(std::span(piece.data(), next)));
    }
}

} // namespace codecs
