#include "Host/CommandLine.hpp"

#include "Host/CallErrorMessage.hpp"
#include "Host/Commands/Cache.hpp"
#include "Host/Commands/Explain.hpp"
#include "Host/Commands/Stitch.hpp"
#include "Host/Console.hpp"
#include "Host/Language.hpp"
#include "Host/LibraryCommandLine.hpp"
#include "Host/Message.hpp"
#include "Host/PictureCommandLine.hpp"
#include "Host/PictureWriter.hpp"
#include "Platform/Dispatch/ThreadPool.hpp"
#include "Platform/Foundation/Calendar.hpp"
#include "Platform/Foundation/Device.hpp"

#include <CLI/CLI.hpp>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <string>
#include <vector>

namespace host {

namespace fs = std::filesystem;

namespace {

/// The first page of help, in paragraphs, so that a change of one leaves the others translated.
std::string helpPage() {
    std::string page;
    for (
        const char* paragraph : {
            translatable(R"(velmorant joins overlapping screenshots into tall pictures, exact to the row.
)"),
            translatable(R"(Usage: velmorant [stitch] [OPTION…] FILE|FOLDER…
       velmorant explain FILE FILE…
       velmorant cache clear
       velmorant [--library FOLDER] import|items|groups|show|render|save|delete|restore|trash|ignore|unignore|
                 combine|separate|albums|export|permission|capture-note|watch|status …
)"),
            translatable(R"(Examples:
  velmorant Screenshots/                     a picture of every run of screenshots in a folder,
                                             beside the first screenshot of each run
  velmorant --together 1.png 2.png -o a.png  one picture of just these, in this order
  velmorant Screenshots/ -o Pictures/ --dry-run
                                             tells what would be joined and writes nothing
  velmorant Screenshots/ --format pdf --page a4
                                             documents to print
  velmorant explain 1.png 2.png --image why.png
                                             tells and draws why two screenshots match or do not
)"),
            translatable(R"(  velmorant import ~/Pictures/Screenshots && velmorant groups && velmorant save --all
                                             the same in a photo library of its own, which remembers what
                                             you decide; each command has --help
)"),
            translatable(R"(Which screenshots belong together:
  --interval SECONDS    those less than this apart, of one size (20)
  --together            all that are named
  --at FILE=ROWS        place a screenshot by hand
  --strict              no picture where one would be left out
Pictures:
  -o, --output PLACE    a file, a folder, or - for standard output
  --force               replace a file that exists
  --format FORMAT       png, jpg, webp, avif, jxl or pdf; otherwise by the file's ending
  --split ROWS          into files of at most so many rows, cut between lines
  --page a4|letter|ROWS the pages of a pdf; otherwise a single tall one
  --width PIXELS        scale to this width
  --renderer overlay    show the overlaps instead of blending them
Telling:
  --report PAGE.html    a page for a browser: the pictures, their seams, what was left out and why
  --dry-run, --json, --quiet, --verbose
All options: velmorant --help-all
)"),
            translatable(
                R"(Exit status: 0 every screenshot found its place; 1 a run was refused, a screenshot left out of its run, or a
file could not be read or written; 2 the call was wrong; 130 interrupted.
)"),
        })
        page += (page.empty() ? "" : "\n") + message(paragraph);
    return page;
}

/// An eighth of the machine's, and at most 768; in megabytes.
std::int64_t defaultMemory() {
    const std::int64_t pages = sysconf(_SC_PHYS_PAGES), pageBytes = sysconf(_SC_PAGE_SIZE);
    return std::clamp<std::int64_t>(pages * pageBytes / 8 / 1'000'000, 64, 768);
}

struct Call {
    StitchOptions stitch;
    ExplainOptions explain;
    fs::path library;         ///< empty: the user's own
    bool usesLibrary = false; ///< the command is one on a library
    std::string timeZone;
    std::size_t jobs = 0; ///< 0: as many as there are cores
    platform::ImageLimits limits;
    std::int64_t memory = defaultMemory(); ///< megabytes
};

Place placeFrom(const std::string& text) {
    const std::size_t equals = text.rfind('=');
    Place place{.path = text.substr(0, equals)};
    const char* end = text.data() + text.size();
    if (equals == std::string::npos || equals == 0)
        throw CLI::ValidationError("--at", message("write a file and its row, as in 2.png=1240"));
    const auto read = std::from_chars(text.data() + equals + 1, end, place.rows);
    if (read.ec != std::errc() || read.ptr != end || std::abs(place.rows) > 1'000'000)
        throw CLI::ValidationError("--at", message("write a file and its row, as in 2.png=1240"));
    return place;
}

void addStitch(CLI::App& app, Call& call) {
    StitchOptions& options = call.stitch;
    CLI::App& command = *app.add_subcommand("stitch", message("join screenshots; the word may be left out"));
    command.add_option("files", options.input.names, message("screenshots, or folders of them"))
        ->type_name("FILE|FOLDER");

    command.add_flag("--recursive", options.input.recursive, message("look into folders within folders, too"));
    command
        .add_option("--files-from", options.input.list,
                    message("a file (- for standard input) that names more of them, one a line or NUL-separated"))
        ->type_name("FILE");
    auto* interval = command
                         .add_option("--interval", options.interval,
                                     message("screenshots of one size less than this apart are one run"))
                         ->type_name("SECONDS")
                         ->check(CLI::NonNegativeNumber)
                         ->capture_default_str();
    command
        .add_flag("--together", options.together,
                  message("make one run of all files, in the order in which they are named"))
        ->excludes(interval);
    command
        .add_option_function<std::vector<std::string>>(
            "--at",
            [&options](const std::vector<std::string>& places) {
                std::ranges::transform(places, std::back_inserter(options.places), placeFrom);
            },
            message(
                "place a screenshot by hand: its top edge, in rows below that of the one before it (negative: above)"))
        ->type_name("FILE=ROWS")
        ->allow_extra_args(false);
    command.add_flag("--strict", options.picture.strict,
                     message("make no picture where a screenshot would be left out"));
    command
        .add_option("--time-zone", call.timeZone,
                    message("where the screenshots were taken, as in Europe/Berlin; default: the system's"))
        ->type_name("NAME");

    addPictureOptions(command, options);

    command.add_flag("--dry-run", options.picture.dryRun,
                     message("tell what would be joined, how large and with how much memory; write nothing"));
    auto* quiet = command.add_flag("--quiet", options.picture.quiet, message("tell problems only"));
    command.add_flag("--verbose", options.verbose, message("the library's log messages on standard error"))
        ->excludes(quiet);
    command.add_flag("--json", options.json, message("tell the result as JSON on standard output"));
    command
        .add_option("--report", options.report.file,
                    message("a page for a browser: every picture with its seams, and what was left out and why"))
        ->type_name("PAGE.html");

    command.add_flag("!--no-cache", options.cache,
                     message("match anew, whatever was found before, and remember nothing"));
    command
        .add_option("--jobs", call.jobs, message("threads, and runs worked on at a time; default: as many as cores"))
        ->type_name("NUMBER")
        ->check(CLI::Range(1, 1024).description(""));
}

/// What a file may demand; for commands that read pictures.
void addLimits(CLI::App& command, Call& call) {
    command.add_option("--max-pixels", call.limits.maxPixels, message("larger pictures are refused"))
        ->type_name("NUMBER")
        ->check(CLI::Range(std::int64_t{1}, std::int64_t{1'000'000'000'000}).description(""))
        ->capture_default_str();
    command
        .add_option(
            "--memory", call.memory,
            message("what one picture may take that has to be decoded or encoded whole; larger ones are refused "
                    "beforehand; default: an eighth of the machine's, 768 at most"))
        ->type_name("MEGABYTES")
        ->check(CLI::Range(0, 1'000'000).description(""));
}

CLI::App& addExplain(CLI::App& app, ExplainOptions& options) {
    CLI::App& command = *app.add_subcommand("explain", message("tell why screenshots match or do not, pair by pair"));
    command
        .add_option("files", options.input.names, message("screenshots, in the order in which they follow each other"))
        ->type_name("FILE|FOLDER");
    command
        .add_option(
            "--image", options.image,
            message("draw two screenshots beside each other: green agrees, red and purple do not, blue stands still; "
                    "at the right the score of every shift"))
        ->type_name("FILE");
    command.add_flag("--force", options.force, message("replace a file that exists"));
    command.add_flag("--json", options.json, message("tell it as JSON on standard output"));
    command.footer(
        message("Examples:\n  velmorant explain 1.png 2.png\n  velmorant explain 1.png 2.png --image why.png\n"
                "Exit status: 0 all pairs match; 1 one does not; 2 the call was wrong."));
    return command;
}

/// What is wrong with the options as a whole, for people.
std::optional<std::string> contradictionIn(const Call& call) {
    const StitchOptions& options = call.stitch;
    if (!call.timeZone.empty() && !platform::Calendar::knowsTimeZone(call.timeZone))
        return message("--time-zone: there is no zone {}; write one as in Europe/Berlin", {shown(call.timeZone)});
    if (options.output.named != "-")
        return std::nullopt;
    if (options.json)
        return message("-o - and --json both need standard output; name a file or a folder");
    if (isatty(STDOUT_FILENO) == 1 && !options.picture.dryRun)
        return message("-o -: standard output is a terminal; send the picture to a file or to another program");
    return std::nullopt;
}

/// The place of the word that may be a command: behind the option that comes before all commands.
std::size_t firstWord(const std::vector<std::string>& words) {
    const std::size_t place = words[0] == "--library" ? 2 : words[0].starts_with("--library=") ? 1 : 0;
    return std::min(place, words.size() - 1);
}

/// The arguments with the command that may be left out. A first word that names neither a command nor a file is most
/// likely a command that was mistyped.
std::expected<std::vector<std::string>, std::string> wordsOf(int count, const char* const* arguments) {
    std::vector<std::string> words(arguments + 1, arguments + count);
    if (words.empty())
        return std::unexpected(message("no files are named; name screenshots or folders of them"));
    const std::string& first = words[firstWord(words)];
    const auto& onLibrary = LibraryCommandLine::commands();
    if (std::ranges::find(onLibrary, first) != onLibrary.end())
        return words;
    for (const char* known : {"stitch", "explain", "cache", "-h", "--help", "--help-all", "--version"})
        if (first == known)
            return words;
    std::error_code unknown;
    if (first.find_first_of("-./") == std::string::npos && !fs::exists(fs::symlink_status(first, unknown)))
        return std::unexpected(message("{}: there is neither a command nor a file of that name", {shown(first)}));
    words.insert(words.begin(), "stitch");
    return words;
}

/// The words that the help pages of all commands have in common.
void speak(CLI::App& app) {
    app.option_defaults()->group(message("Options"));
    app.set_help_flag("-h,--help", message("print this help and end"));
    const auto formatter = std::make_shared<CLI::Formatter>();
    formatter->label("Usage", message("Usage"));
    formatter->label("OPTIONS", message("OPTIONS"));
    formatter->label("Positionals", message("Positionals"));
    formatter->label("SUBCOMMAND", message("COMMAND"));
    formatter->label("REQUIRED", message("REQUIRED"));
    formatter->label("Excludes", message("Excludes"));
    formatter->label("Needs", message("Needs"));
    app.formatter(formatter);
}

void nameGroups(CLI::App& app) {
    for (CLI::App* command : app.get_subcommands({})) {
        command->group(message("Subcommands"));
        for (CLI::Option* option : command->get_options())
            if (option->get_group() == "Options") // help, made before the command knew the group of its options
                option->group(message("Options"));
        nameGroups(*command);
    }
}

ExitStatus wrongCall(const std::string& reason) {
    complain(reason);
    complain(message("see velmorant --help"));
    return ExitStatus::wrongCall;
}

ExitStatus printed(const std::string& text) {
    return print(text) ? ExitStatus::success : ExitStatus::incomplete;
}

/// A library's folder holds all that belongs to it; without one the user's own folders do.
platform::DeviceFolders foldersFor(const Call& call) {
    platform::DeviceFolders user = platform::DeviceFolders::ofUser("velmorant");
    if (!call.library.empty())
        return platform::DeviceFolders::inside(fs::absolute(call.library));
    return call.usesLibrary && !user.documents.empty() ? platform::DeviceFolders::inside(user.documents / "Library")
                                                       : user;
}

void setUpDevice(const Call& call) {
    platform::ImageLimits limits = call.limits;
    limits.maxMemory = call.memory * 1'000'000;
    // Never ended: after Ctrl-C threads may still be at work that ask for it.
    [[maybe_unused]] static const auto& device = *new platform::Device(
        {.folders = foldersFor(call), .timeZone = call.timeZone, .softwareMark = softwareMark, .imageLimits = limits});
}

ExitStatus stitch(Call call) {
    if (call.jobs > 0)
        platform::ThreadPool::shared().setLimit(call.jobs);
    call.stitch.picture.jobs = platform::ThreadPool::shared().limit();
    call.stitch.report.force = call.stitch.output.force;
    call.stitch.explain = call.stitch.json || !call.stitch.report.file.empty();
    return stitch(call.stitch);
}

} // namespace

std::expected<std::function<ExitStatus()>, ExitStatus> commandOf(int argumentCount, const char* const* arguments) {
    auto words = wordsOf(argumentCount, arguments);
    if (!words)
        return std::unexpected(wrongCall(words.error()));

    Call call;
    CLI::App app{message("velmorant joins overlapping screenshots into tall pictures, exact to the row."), "velmorant"};
    speak(app);
    app.set_version_flag("--version", "velmorant " VELMORANT_VERSION, message("print the version and end"));
    app.set_help_all_flag("--help-all", message("all commands with all their options"));
    app.require_subcommand(1);
    app.add_option("--library", call.library, message("the folder of the photo library; default: the user's own"))
        ->type_name("FOLDER");
    addStitch(app, call);
    LibraryCommandLine library;
    library.addTo(app);
    const CLI::App& explanation = addExplain(app, call.explain);
    CLI::App& cache = *app.add_subcommand("cache", message("what was found earlier"));
    cache.require_subcommand(1);
    cache.add_subcommand("clear", message("forget it"));
    nameGroups(app);
    for (const char* reading : {"stitch", "explain", "import", "groups", "show", "render", "save", "watch"})
        addLimits(*app.get_subcommand(reading), call);

    try {
        std::ranges::reverse(*words); // as CLI11 wants them
        app.parse(std::move(*words));
    } catch (const CLI::CallForHelp&) {
        return std::unexpected(printed(app.get_subcommands().empty() ? helpPage() : app.help()));
    } catch (const CLI::CallForAllHelp&) {
        return std::unexpected(printed(app.help("", CLI::AppFormatMode::All)));
    } catch (const CLI::CallForVersion& version) {
        return std::unexpected(printed(std::string(version.what()) + "\n"));
    } catch (const CLI::ParseError& error) {
        return std::unexpected(wrongCall(callErrorMessage(shown(error.what()))));
    }
    if (const auto contradiction = contradictionIn(call))
        return std::unexpected(wrongCall(*contradiction));
    call.usesLibrary = static_cast<bool>(library.chosen());
    return [call = std::move(call), onLibrary = library.chosen(), explains = explanation.parsed(),
            clears = cache.parsed()] {
        setUpDevice(call);
        if (onLibrary)
            return onLibrary();
        if (explains)
            return explain(call.explain);
        return clears ? clearCache() : stitch(call);
    };
}

ExitStatus runCommandLine(int argumentCount, const char* const* arguments) {
    if (std::none_of(arguments, arguments + argumentCount, [](std::string_view word) { return word == "--json"; }))
        setUpLanguage(); // programs hear English
    const auto command = commandOf(argumentCount, arguments);
    return command ? (*command)() : command.error();
}

} // namespace host
