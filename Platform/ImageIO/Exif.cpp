#include "Platform/ImageIO/Exif.hpp"

#include <libexif/exif-data.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace platform::exif {

namespace {

using Data = std::unique_ptr<ExifData, decltype([](ExifData* data) { exif_data_unref(data); })>;

std::string text(ExifData& data, ExifIfd ifd, ExifTag tag) {
    const ExifEntry* entry = exif_content_get_entry(data.ifd[ifd], tag);
    if (!entry || !entry->data || entry->format != EXIF_FORMAT_ASCII)
        return {};
    const char* characters = reinterpret_cast<const char*>(entry->data);
    return {characters, strnlen(characters, entry->size)};
}

/// "+01:00" in seconds.
std::optional<int> offset(const std::string& text) {
    char sign = 0;
    int hours = 0, minutes = 0;
    if (std::sscanf(text.c_str(), "%c%2d:%2d", &sign, &hours, &minutes) != 3 || (sign != '+' && sign != '-') ||
        hours > 15 || minutes > 59 || hours < 0 || minutes < 0)
        return std::nullopt;
    return (sign == '-' ? -1 : 1) * (hours * 3600 + minutes * 60);
}

/// "2026:03:01 10:11:12" with its fraction of a second, as in "123" for 0.123, and its offset.
std::optional<DateComponents> date(const std::string& text, const std::string& fraction, const std::string& zone) {
    DateComponents c;
    if (std::sscanf(text.c_str(), "%4d%*1[:-]%2d%*1[:-]%2d%*1[ T]%2d:%2d:%2d", &c.year, &c.month, &c.day, &c.hour,
                    &c.minute, &c.second) != 6)
        return std::nullopt;
    if (c.year < 1900 || c.month < 1 || c.month > 12 || c.day < 1 || c.day > 31 || c.hour < 0 || c.hour > 23 ||
        c.minute < 0 || c.minute > 59 || c.second < 0 || c.second > 59)
        return std::nullopt;
    int unit = 100'000'000;
    for (const char digit : fraction) {
        if (digit < '0' || digit > '9')
            break;
        c.nanosecond += (digit - '0') * unit;
        unit /= 10;
    }
    c.secondsFromGMT = offset(zone);
    return c;
}

// libexif 0.6.24 has the tags of Exif 2.31 under these numbers, though not all versions of it have names for them.
constexpr auto offsetTime = static_cast<ExifTag>(0x9010);
constexpr auto offsetTimeOriginal = static_cast<ExifTag>(0x9011);
constexpr auto offsetTimeDigitized = static_cast<ExifTag>(0x9012);

std::optional<DateComponents> captureDate(ExifData& data) {
    struct Kind {
        ExifIfd ifd;
        ExifTag date, fraction, zone;
    };
    constexpr Kind kinds[] = {
        {EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_ORIGINAL, EXIF_TAG_SUB_SEC_TIME_ORIGINAL, offsetTimeOriginal},
        {EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_DIGITIZED, EXIF_TAG_SUB_SEC_TIME_DIGITIZED, offsetTimeDigitized},
        {EXIF_IFD_0, EXIF_TAG_DATE_TIME, EXIF_TAG_SUB_SEC_TIME, offsetTime},
    };
    for (const Kind& kind : kinds)
        if (auto found = date(text(data, kind.ifd, kind.date), text(data, EXIF_IFD_EXIF, kind.fraction),
                              text(data, EXIF_IFD_EXIF, kind.zone)))
            return found;
    return std::nullopt;
}

void add(ExifData& data, ExifIfd ifd, ExifTag tag, const std::string& text) {
    ExifEntry* entry = exif_entry_new();
    entry->tag = tag;
    entry->format = EXIF_FORMAT_ASCII;
    entry->components = text.size() + 1;
    entry->size = static_cast<unsigned>(text.size() + 1);
    entry->data = static_cast<unsigned char*>(std::malloc(entry->size)); // the entry frees it
    std::memcpy(entry->data, text.c_str(), entry->size);
    exif_content_add_entry(data.ifd[ifd], entry);
    exif_entry_unref(entry);
}

} // namespace

void read(std::span<const std::byte> block, ImageProperties& properties) {
    std::vector<std::byte> prefixed;
    if (block.size() < sizeof prefix || std::memcmp(block.data(), prefix, sizeof prefix) != 0) {
        prefixed.assign(std::as_bytes(std::span(prefix)).begin(), std::as_bytes(std::span(prefix)).end());
        prefixed.insert(prefixed.end(), block.begin(), block.end());
        block = prefixed;
    }
    const Data data(exif_data_new_from_data(reinterpret_cast<const unsigned char*>(block.data()),
                                            static_cast<unsigned>(block.size())));
    if (!data)
        return;
    const ExifEntry* turned = exif_content_get_entry(data->ifd[EXIF_IFD_0], EXIF_TAG_ORIENTATION);
    if (turned && turned->data && turned->format == EXIF_FORMAT_SHORT && turned->size >= 2) {
        const int value = exif_get_short(turned->data, exif_data_get_byte_order(data.get()));
        if (value >= 1 && value <= 8)
            properties.orientation = static_cast<ImageOrientation>(value);
    }
    properties.captureDate = captureDate(*data);
    properties.software = text(*data, EXIF_IFD_0, EXIF_TAG_SOFTWARE);
    properties.fromCamera = exif_content_get_entry(data->ifd[EXIF_IFD_EXIF], EXIF_TAG_EXPOSURE_TIME) != nullptr;
}

std::vector<std::byte> block(const ImageHeader& header) {
    const Data data(exif_data_new());
    if (!data)
        return {};
    exif_data_set_byte_order(data.get(), EXIF_BYTE_ORDER_INTEL);
    if (!header.software.empty())
        add(*data, EXIF_IFD_0, EXIF_TAG_SOFTWARE, header.software);
    if (header.captureDate) {
        const DateComponents& c = *header.captureDate;
        char written[64];
        std::snprintf(written, sizeof written, "%04d:%02d:%02d %02d:%02d:%02d", c.year, c.month, c.day, c.hour,
                      c.minute, c.second);
        add(*data, EXIF_IFD_EXIF, EXIF_TAG_DATE_TIME_ORIGINAL, written);
        if (c.nanosecond > 0) {
            std::snprintf(written, sizeof written, "%06d", c.nanosecond / 1000);
            add(*data, EXIF_IFD_EXIF, EXIF_TAG_SUB_SEC_TIME_ORIGINAL, written);
        }
        if (c.secondsFromGMT) {
            const int minutes = std::abs(*c.secondsFromGMT) / 60;
            std::snprintf(written, sizeof written, "%c%02d:%02d", *c.secondsFromGMT < 0 ? '-' : '+', minutes / 60,
                          minutes % 60);
            add(*data, EXIF_IFD_EXIF, offsetTimeOriginal, written);
        }
    }
    unsigned char* bytes = nullptr;
    unsigned size = 0;
    exif_data_save_data(data.get(), &bytes, &size);
    const std::unique_ptr<unsigned char, decltype([](unsigned char* b) { std::free(b); })> owner(bytes);
    const auto* first = reinterpret_cast<const std::byte*>(bytes);
    return {first, first + size};
}

} // namespace platform::exif
