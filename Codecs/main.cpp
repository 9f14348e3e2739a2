#include "Codecs/Formats.hpp"
#include "Codecs/Sandbox.hpp"

#include <libheif/heif.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string_view>

namespace {

using namespace codecs;

std::vector<std::byte> receiveBytes(std::uint32_t count) {
    std::vector<std::byte> bytes(count);
    receive(bytes);
    return bytes;
}

Picture receivePicture(const Job& job) {
    Picture picture;
    Request& request = picture.request;
    receiveAs(request);
    if (request.magic != platform::codecs::magic)
        refuse(Status::damaged, "the programs are of different versions");
    checkSize(request.width, request.height, job);
    picture.profile = receiveBytes(request.profileBytes);
    picture.exif = receiveBytes(request.exifBytes);
    picture.software.resize(request.softwareBytes);
    receive(std::as_writable_bytes(std::span(picture.software)));
    picture.pages.resize(request.pageCount);
    receive(std::as_writable_bytes(std::span(picture.pages)));
    std::int64_t rows = 0;
    for (const std::int64_t count : picture.pages)
        rows += std::max<std::int64_t>(count, 0);
    if (rows != request.height)
        refuse(Status::damaged, "the pages are not the picture");
    return picture;
}

void read(std::string_view format, const Job& job) {
    if (format == "jxl")
        readJXL(job);
    else
        readHEIF(job);
}

void write(std::string_view format, const Picture& picture) {
    if (format == "avif")
        writeAVIF(picture);
    else if (format == "jxl")
        writeJXL(picture);
    else
        writePDF(picture);
    sendEnd();
}

} // namespace

/// Not for people: see Platform/ImageIO/CodecsProtocol.hpp.
int main(int count, char** words) {
    if (count != 6)
        return 2;
    const std::string_view operation = words[1], format = words[2];
    const Job job{.maxPixels = std::atoll(words[3]), .wantsRows = operation == "decode"};
    heif_init(nullptr);
    enterSandbox(std::atoll(words[4]), static_cast<unsigned>(std::atoi(words[5])));
    try {
        endWithTheProgram();
        if (operation == "encode")
            write(format, receivePicture(job));
        else
            read(format, job);
    } catch (const std::bad_alloc&) {
        refuse(Status::outOfMemory, "");
    }
    _exit(0);
}
