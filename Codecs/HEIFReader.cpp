#include "Codecs/Formats.hpp"
#include "Codecs/NamedProfile.hpp"

#include <libheif/heif.h>

#include <memory>

namespace codecs {

namespace {

using Context = std::unique_ptr<heif_context, decltype([](heif_context* c) { heif_context_free(c); })>;
using Handle = std::unique_ptr<heif_image_handle, decltype([](heif_image_handle* h) { heif_image_handle_release(h); })>;
using Image = std::unique_ptr<heif_image, decltype([](heif_image* i) { heif_image_release(i); })>;
using Options =
    std::unique_ptr<heif_decoding_options, decltype([](heif_decoding_options* o) { heif_decoding_options_free(o); })>;

void check(const heif_error& error) {
    if (error.code == heif_error_Ok)
        return;
    Status status = Status::damaged;
    if (error.code == heif_error_Memory_allocation_error)
        status = error.subcode == heif_suberror_Security_limit_exceeded ? Status::overloaded : Status::outOfMemory;
    else if (error.code == heif_error_Unsupported_feature || error.code == heif_error_Unsupported_filetype)
        status = Status::unsupported;
    else if (error.subcode == heif_suberror_End_of_data)
        status = Status::truncated;
    refuse(status, error.message ? error.message : "");
}

/// Reads the file for libheif, from wherever it wants.
struct Reader {
    std::int64_t position = 0;
    const std::int64_t size = fileSize();

    static Reader& of(void* self) { return *static_cast<Reader*>(self); }
};

constexpr heif_reader functions = {
    .reader_api_version = 1,
    .get_position = [](void* self) { return Reader::of(self).position; },
    .read =
        [](void* into, std::size_t count, void* self) {
            auto& position = Reader::of(self).position;
            const bool isWhole = readFile(position, {static_cast<std::byte*>(into), count}) == count;
            position += static_cast<std::int64_t>(count);
            return isWhole ? 0 : 1;
        },
    .seek =
        [](std::int64_t to, void* self) {
            Reader::of(self).position = to;
            return 0;
        },
    .wait_for_file_size =
        [](std::int64_t wanted, void* self) {
            return wanted > Reader::of(self).size ? heif_reader_grow_status_size_beyond_eof
                                                  : heif_reader_grow_status_size_reached;
        },
};

std::vector<std::byte> profileOf(const heif_image_handle* handle) {
    std::vector<std::byte> profile(heif_image_handle_get_raw_color_profile_size(handle));
    if (!profile.empty() && heif_image_handle_get_raw_color_profile(handle, profile.data()).code == heif_error_Ok)
        return profile;
    heif_color_profile_nclx* named = nullptr;
    const heif_error error = heif_image_handle_get_nclx_color_profile(handle, &named);
    const std::unique_ptr<heif_color_profile_nclx, decltype([](auto* p) { heif_nclx_color_profile_free(p); })> owner(
        named); // there with numbers that mean nothing, too
    if (error.code != heif_error_Ok)
        return {};
    return namedProfile(static_cast<int>(named->color_primaries), static_cast<int>(named->transfer_characteristics));
}

std::vector<std::byte> exifOf(const heif_image_handle* handle) {
    heif_item_id id = 0;
    if (heif_image_handle_get_list_of_metadata_block_IDs(handle, "Exif", &id, 1) != 1)
        return {};
    std::vector<std::byte> item(heif_image_handle_get_metadata_size(handle, id));
    if (heif_image_handle_get_metadata(handle, id, item.data()).code != heif_error_Ok)
        return {};
    return exifBlock(std::move(item));
}

void sendRows(const heif_image_handle* handle, const Answer& header) {
    const Options options(heif_decoding_options_alloc());
    options->convert_hdr_to_8bit = 1;
    options->strict_decoding = 1;
    heif_image* decoded = nullptr;
    check(heif_decode_image(handle, &decoded, heif_colorspace_RGB, heif_chroma_interleaved_RGBA, options.get()));
    const Image image(decoded);
    if (heif_image_get_width(decoded, heif_channel_interleaved) != header.width ||
        heif_image_get_height(decoded, heif_channel_interleaved) != header.height)
        refuse(Status::damaged, "its size is not the declared one");
    if (heif_image_get_decoding_warnings(decoded, 0, nullptr, 0) > 0)
        refuse(Status::damaged, "parts of the picture are missing");
    int stride = 0;
    const std::uint8_t* rows = heif_image_get_plane_readonly(decoded, heif_channel_interleaved, &stride);
    if (!rows)
        refuse(Status::damaged, "no pixels");
    answer(header);
    for (std::int64_t y = 0; y < header.height; ++y, rows += stride)
        send(std::as_bytes(std::span(rows, 4 * static_cast<std::size_t>(header.width))));
}

} // namespace

void readHEIF(const Job& job) {
    const Context context(heif_context_alloc());
    Reader reader;
    check(heif_context_read_from_reader(context.get(), &functions, &reader, nullptr));
    heif_image_handle* primary = nullptr;
    check(heif_context_get_primary_image_handle(context.get(), &primary));
    const Handle handle(primary);

    Answer header;
    header.width = heif_image_handle_get_width(primary);
    header.height = heif_image_handle_get_height(primary);
    checkSize(header.width, header.height, job);
    checkSize(heif_image_handle_get_ispe_width(primary), heif_image_handle_get_ispe_height(primary), job);
    if (heif_image_handle_has_alpha_channel(primary))
        header.alpha = heif_image_handle_is_premultiplied_alpha(primary) ? Alpha::premultiplied : Alpha::straight;
    if (job.wantsRows)
        sendRows(primary, header);
    else
        answer(header, profileOf(primary), exifOf(primary));
}

} // namespace codecs
