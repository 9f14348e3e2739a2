#include "Host/Commands/Stitch.hpp"

#include "Host/Console.hpp"
#include "Host/ConsoleLog.hpp"
#include "Host/GroupJoiner.hpp"
#include "Host/ImageErrorMessage.hpp"
#include "Host/Interrupt.hpp"
#include "Host/Message.hpp"
#include "Host/StitchReport.hpp"

#include <algorithm>

namespace host {

namespace fs = std::filesystem;

namespace {

/// The earliest screenshot; where none can be read, whatever was named first.
fs::path firstShot(const FileSource& files, const StitchOptions& options) {
    const auto date = [](const FileItem& file) { return file.item.date; };
    const auto first = std::ranges::min_element(files.items(), {}, date);
    return first == files.items().end() ? options.inputs.front() : first->path;
}

void tellProblems(const StitchReport& report) {
    for (const BadFile& file : report.failed)
        complain(imageErrorMessage(file.path, file.error));
    for (const RepeatedFile& file : report.files->repeated())
        complain(message("{}: the same screenshot as {}; it counts once", {shown(file.path), shown(file.sameAs)}));
}

} // namespace

ExitStatus stitch(const StitchOptions& options) {
    const InputFiles named = InputFiles::of(options.inputs);
    const auto files = std::make_shared<const FileSource>(named.paths);
    const auto output = OutputFile::choose(options.output, options.force, named.paths, firstShot(*files, options));
    if (!output) {
        complain(output.error());
        return ExitStatus::wrongCall;
    }

    StitchReport report{.files = files, .groups = {}, .failed = named.bad};
    std::ranges::copy(files->bad(), std::back_inserter(report.failed));
    if (!files->items().empty()) {
        const auto least = options.verbose ? velmorant::LogStoreType::debug : velmorant::LogStoreType::fault;
        GroupJoiner joiner(files, std::make_shared<ConsoleLog>(least));
        std::vector<velmorant::StitchableItem> items;
        std::ranges::transform(files->items(), std::back_inserter(items), &FileItem::item);
        report.groups.push_back(joiner.join(std::move(items), *output));
        std::ranges::copy(joiner.bad(), std::back_inserter(report.failed));
    }
    if (Interrupt::requested()) {
        complain(message("interrupted; no picture was written"));
        return ExitStatus::interrupted;
    }

    tellProblems(report);
    if (!print(options.json ? report.json() : report.summary())) {
        complain(message("standard output could not be written"));
        return ExitStatus::incomplete;
    }
    return report.status();
}

} // namespace host
