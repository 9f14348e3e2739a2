#include "Host/CommandLine.hpp"

#include "Host/Commands/Stitch.hpp"
#include "Host/Console.hpp"
#include "Host/Message.hpp"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace host {

namespace {

constexpr const char* examples = R"(Examples:
  velmorant stitch --together Screenshots/ -o chat.png
      joins all screenshots of a folder into one picture
  velmorant --together 1.png 2.png 3.png
      the word stitch may be left out; the picture lies beside 1.png
  velmorant stitch --together --json -o out.png *.png
      tells programs where every screenshot lies

Exit status: 0 every screenshot found its place; 1 a group was refused, a screenshot left out, or a file
could not be read or written; 2 the call was wrong; 130 interrupted.)";

/// CLI11 wants the arguments last first.
std::vector<std::string> argumentsFor(CLI::App& app, int count, const char* const* arguments) {
    std::vector<std::string> words(arguments + 1, arguments + count);
    std::vector<std::string> known{"-h", "--help", "--version"};
    for (const CLI::App* command : app.get_subcommands(nullptr))
        known.push_back(command->get_name());
    const bool named = words.empty() || std::ranges::find(known, words.front()) != known.end();
    if (!named)
        words.insert(words.begin(), "stitch");
    std::ranges::reverse(words);
    return words;
}

} // namespace

ExitStatus runCommandLine(int argumentCount, const char* const* arguments) {
    CLI::App app{"Velmorant joins overlapping screenshots into one tall picture, exact to the row.", "velmorant"};
    app.set_version_flag("--version", "velmorant " VELMORANT_VERSION);
    app.footer(examples);
    app.require_subcommand(1);

    StitchOptions options;
    bool together = false, noCache = false;
    CLI::App* command = app.add_subcommand("stitch", "join screenshots into one picture");
    command->add_option("files", options.inputs, "screenshots, or folders of them")
        ->required()
        ->type_name("FILE|FOLDER");
    command->add_flag("--together", together, "make one group of all files, in the order given");
    command
        ->add_option("-o,--output", options.output,
                     "the picture (.png, .jpg, .webp) or a folder for it; default: beside the first screenshot")
        ->type_name("FILE|FOLDER");
    command->add_flag("--force", options.force, "replace an existing picture");
    command->add_flag("--json", options.json, "tell the result as JSON on standard output");
    command->add_flag("--no-cache", noCache, "match anew, whatever was learnt before");
    command->add_flag("--verbose", options.verbose, "the library's log messages on standard error");
    command->footer(examples);

    try {
        app.parse(argumentsFor(app, argumentCount, arguments));
    } catch (const CLI::CallForHelp&) {
        return print(app.help()) ? ExitStatus::success : ExitStatus::incomplete;
    } catch (const CLI::CallForVersion& version) {
        return print(std::string(version.what()) + "\n") ? ExitStatus::success : ExitStatus::incomplete;
    } catch (const CLI::ParseError& error) {
        complain(error.what());
        complain(message("see velmorant --help"));
        return ExitStatus::wrongCall;
    }
    if (!together) {
        complain(message("grouping by time is not there yet; use --together to join all files named"));
        return ExitStatus::wrongCall;
    }
    return stitch(options);
}

} // namespace host
