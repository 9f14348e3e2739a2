#include "Codecs/Formats.hpp"

#include <libheif/heif.h>

#include <algorithm>
#include <memory>

namespace codecs {

namespace {

using Context = std::unique_ptr<heif_context, decltype([](heif_context* c) { heif_context_free(c); })>;
using Encoder = std::unique_ptr<heif_encoder, decltype([](heif_encoder* e) { heif_encoder_release(e); })>;
using Handle = std::unique_ptr<heif_image_handle, decltype([](heif_image_handle* h) { heif_image_handle_release(h); })>;
using Image = std::unique_ptr<heif_image, decltype([](heif_image* i) { heif_image_release(i); })>;
using Options =
    std::unique_ptr<heif_encoding_options, decltype([](heif_encoding_options* o) { heif_encoding_options_free(o); })>;
using Colours = std::unique_ptr<heif_color_profile_nclx,
                                decltype([](heif_color_profile_nclx* c) { heif_nclx_color_profile_free(c); })>;

void check(const heif_error& error) {
    if (error.code == heif_error_Memory_allocation_error)
        refuse(Status::outOfMemory, "");
    if (error.code != heif_error_Ok)
        refuse(Status::damaged, error.message ? error.message : "");
}

Image imageOf(const Picture& picture) {
    const Request& request = picture.request;
    const int width = static_cast<int>(request.width), height = static_cast<int>(request.height);
    heif_image* made = nullptr;
    check(heif_image_create(width, height, heif_colorspace_RGB,
                            request.opaque ? heif_chroma_interleaved_RGB : heif_chroma_interleaved_RGBA, &made));
    Image image(made);
    check(heif_image_add_plane(made, heif_channel_interleaved, width, height, 8));
    int stride = 0;
    std::uint8_t* row = heif_image_get_plane(made, heif_channel_interleaved, &stride);
    const std::ptrdiff_t channels = request.opaque ? 3 : 4;
    std::vector<std::uint8_t> pixels(4 * static_cast<std::size_t>(width));
    for (int y = 0; y < height; ++y, row += stride) {
        receive(std::as_writable_bytes(std::span(pixels)));
        for (std::ptrdiff_t x = 0; x < width; ++x)
            std::copy_n(pixels.data() + 4 * x, channels, row + channels * x);
    }
    if (!picture.profile.empty())
        check(heif_image_set_raw_color_profile(made, "prof", picture.profile.data(), picture.profile.size()));
    return image;
}

} // namespace

void writeAVIF(const Picture& picture) {
    const Context context(heif_context_alloc());
    heif_encoder* made = nullptr;
    check(heif_context_get_encoder_for_format(context.get(), heif_compression_AV1, &made));
    const Encoder encoder(made);
    check(heif_encoder_set_lossy_quality(made, static_cast<int>(picture.request.quality)));
    check(heif_encoder_set_parameter_string(made, "chroma", "444")); // coloured text stays sharp
    check(heif_encoder_set_parameter_integer(made, "speed", 8));

    const Options options(heif_encoding_options_alloc());
    const Colours colours(heif_nclx_color_profile_alloc());
    colours->full_range_flag = 1;
    colours->matrix_coefficients = heif_matrix_coefficients_ITU_R_BT_601_6;
    if (picture.profile.empty()) {
        colours->color_primaries = heif_color_primaries_ITU_R_BT_709_5;
        colours->transfer_characteristics = heif_transfer_characteristic_IEC_61966_2_1;
    }
    options->output_nclx_profile = colours.get();
    options->save_two_colr_boxes_when_ICC_and_nclx_available = 1; // the matrix is in the second

    const Image image = imageOf(picture);
    heif_image_handle* encoded = nullptr;
    check(heif_context_encode_image(context.get(), image.get(), made, options.get(), &encoded));
    const Handle handle(encoded);
    if (!picture.exif.empty())
        check(heif_context_add_exif_metadata(context.get(), encoded, picture.exif.data(),
                                             static_cast<int>(picture.exif.size())));
    answer({});
    heif_writer writer{.writer_api_version = 1, .write = [](heif_context*, const void* bytes, size_t count, void*) {
                           sendPiece({static_cast<const std::byte*>(bytes), count});
                           return heif_error{heif_error_Ok, heif_suberror_Unspecified, ""};
                       }};
    if (heif_context_write(context.get(), &writer, nullptr).code != heif_error_Ok)
        _Exit(1); // without its end the file is none
}

} // namespace codecs
