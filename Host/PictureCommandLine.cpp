#include "Host/PictureCommandLine.hpp"

#include "Host/Message.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <charconv>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

namespace host {

using platform::ImageFormat;

namespace {

/// The numbers before and behind the separator, from `least` to `most`; nothing where the text is anything else.
std::optional<std::pair<std::int64_t, std::int64_t>> numbersIn(const std::string& text, char separator,
                                                               std::int64_t least, std::int64_t most) {
    const char *end = text.data() + text.size(), *middle = std::find(text.data(), end, separator);
    const auto reads = [&](const char* from, const char* to, std::int64_t& number) {
        const auto read = std::from_chars(from, to, number);
        return read.ec == std::errc() && read.ptr == to && number >= least && number <= most;
    };
    std::pair<std::int64_t, std::int64_t> numbers;
    if (middle == end || !reads(text.data(), middle, numbers.first) || !reads(middle + 1, end, numbers.second))
        return std::nullopt;
    return numbers;
}

velmorant::PixelSize sizeFrom(const std::string& text) {
    const auto size = numbersIn(text, 'x', 1, 1'000'000);
    if (!size)
        throw CLI::ValidationError("--size", message("write width and height in pixels, as in 390x844"));
    return {size->first, size->second, 1};
}

void readCut(const std::string& text, PictureOptions& options) {
    const auto rows = numbersIn(text, ',', 0, 1'000'000'000);
    if (!rows)
        throw CLI::ValidationError("--crop", message("write the rows to cut off at top and bottom, as in 132,90"));
    std::tie(options.cutTop, options.cutBottom) = *rows;
}

Page pageFrom(const std::string& text) {
    if (text == "a4")
        return {.width = 595, .height = 842}; // points
    if (text == "letter")
        return {.width = 612, .height = 792};
    Page page;
    const char* end = text.data() + text.size();
    const auto read = std::from_chars(text.data(), end, page.rows);
    if (read.ec != std::errc() || read.ptr != end || page.rows < 1)
        throw CLI::ValidationError("--page", message("write a4, letter or a number of rows"));
    return page;
}

} // namespace

void addPictureOptions(CLI::App& command, StitchOptions& options) {
    command
        .add_option(
            "-o,--output", options.output.named,
            message("a file, a folder, or - for standard output; default: beside the first screenshot of each run"))
        ->type_name("FILE|FOLDER|-");
    command.add_flag("--force", options.output.force, message("replace a file that exists"));
    command
        .add_option(
            "--format", options.output.format,
            message("of the pictures: png, jpg, webp, avif, jxl or pdf; default: by the file's ending, else png"))
        ->type_name("FORMAT")
        ->transform(CLI::CheckedTransformer(std::map<std::string, ImageFormat>{{"png", ImageFormat::png},
                                                                               {"jpg", ImageFormat::jpeg},
                                                                               {"jpeg", ImageFormat::jpeg},
                                                                               {"webp", ImageFormat::webp},
                                                                               {"avif", ImageFormat::avif},
                                                                               {"jxl", ImageFormat::jxl},
                                                                               {"pdf", ImageFormat::pdf}},
                                            CLI::ignore_case)
                        .description(""));
    command
        .add_option("--quality", options.output.quality,
                    message("of jpg, webp, avif and jxl, 1 to 100; webp and jxl lose nothing at 100"))
        ->type_name("NUMBER")
        ->check(CLI::Range(1, 100).description(""))
        ->capture_default_str();
    using Effort = platform::EncodeEffort;
    const auto spends = [&options](Effort effort) { return [&options, effort] { options.output.effort = effort; }; };
    auto* fast = command.add_flag_callback("--fast", spends(Effort::fast),
                                           message("write a png in half the time, a little larger"));
    command
        .add_flag_callback("--small", spends(Effort::small),
                           message("write as small a file as can be, without any loss, and take time for it: png, or "
                                   "webp where the picture fits and no format is asked for"))
        ->excludes(fast);
    command
        .add_option(
            "--split", options.output.mostRows,
            message("into files of at most so many rows, cut between lines, with -1, -2 … at the end of their names"))
        ->type_name("ROWS")
        ->check(CLI::Range(1, 1'000'000'000).description(""));
    command
        .add_option_function<std::string>(
            "--page", [&options](const std::string& text) { options.output.page = pageFrom(text); },
            message("of pdf: a4, letter, or the most rows on one, cut between lines; default: one page, as tall as the "
                    "picture"))
        ->type_name("SIZE");
    auto* width = command.add_option("--width", options.picture.width, message("scale pictures to this width"))
                      ->type_name("PIXELS")
                      ->check(CLI::Range(1, 1'000'000).description(""));
    auto* size = command
                     .add_option_function<std::string>(
                         "--size", [&options](const std::string& text) { options.picture.size = sizeFrom(text); },
                         message("scale pictures to a width and cut them off at a height"))
                     ->type_name("WxH")
                     ->excludes(width);
    command
        .add_option_function<std::string>(
            "--crop", [&options](const std::string& text) { readCut(text, options.picture); },
            message("cut so many rows of the finished pictures off at the top and at the bottom"))
        ->type_name("TOP,BOTTOM");
    auto* bars =
        command
            .add_option("--bars", options.picture.dropBars,
                        message("keep, or drop the bars at the two ends of a picture, where they stand still while "
                                "the page moves"))
            ->type_name("keep|drop")
            ->transform(
                CLI::CheckedTransformer(std::map<std::string, bool>{{"keep", false}, {"drop", true}}).description(""));
    bars->excludes(size);
    using Renderer = PictureOptions::Renderer;
    auto* renderer =
        command
            .add_option("--renderer", options.picture.renderer,
                        message("blend, or overlay to show where screenshots overlap"))
            ->type_name("NAME")
            ->transform(CLI::CheckedTransformer(
                            std::map<std::string, Renderer>{{"blend", Renderer::blend}, {"overlay", Renderer::overlay}})
                            .description(""));
    auto* verify =
        command.add_flag("--verify", options.picture.verify,
                         message("read each picture back and hold every row that is not blended to its screenshot"));
    auto* rows =
        command
            .add_option("--rows-json", options.rows,
                        message("write a file that tells which screenshot's rows each row of the pictures shows"))
            ->type_name("FILE");
    for (auto* proof : {verify, rows}) // of screenshots as they are
        proof->excludes(width)->excludes(size)->excludes(renderer);
}

} // namespace host
