#include "Host/Commands/Stitch.hpp"

#include "Host/Console.hpp"
#include "Host/ConsoleLog.hpp"
#include "Host/ImageErrorMessage.hpp"
#include "Host/Interrupt.hpp"
#include "Host/Message.hpp"
#include "Host/NoCache.hpp"
#include "Host/RowsJSON.hpp"
#include "Host/StitchReport.hpp"
#include "Orbelquist/AlignerVersion.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Velmorant/Alignment/AlignerDiskCache.hpp"
#include "Velmorant/Alignment/OpenCVAligner.hpp"
#include "Velmorant/Pipeline/Steps/AddPrestitchedStep.hpp"
#include "Velmorant/Pipeline/Steps/Grouper.hpp"
#include "Velmorant/Pipeline/Steps/IgnoreEmptyOrSingleStep.hpp"
#include "Velmorant/Pipeline/Steps/SortGroupsStep.hpp"
#include "Velmorant/Rendering/CoreGraphicsRenderer.hpp"

#include <algorithm>
#include <unordered_set>

namespace host {

namespace fs = std::filesystem;

namespace {

velmorant::Pipeline pipelineFor(const StitchOptions& options, std::shared_ptr<FileSource> files,
                                const std::shared_ptr<velmorant::LogStore>& logger) {
    velmorant::Pipeline pipeline(std::move(files), logger);
    if (!options.together)
        pipeline.add(velmorant::Grouper(options.interval, logger));
    pipeline.add(velmorant::AddPrestitchedStep());
    pipeline.add(velmorant::IgnoreEmptyOrSingleStep());
    pipeline.add(velmorant::SortGroupsStep());
    return pipeline;
}

std::shared_ptr<velmorant::Renderer> rendererFor(const StitchOptions& options, std::shared_ptr<FileLoader> loader) {
    if (options.picture.renderer == PictureOptions::Renderer::overlay)
        return std::make_shared<velmorant::CoreGraphicsRenderer>(std::move(loader));
    return std::make_shared<velmorant::CoreImageRenderer>(std::move(loader));
}

/// What became of the files that are in no group.
void addFiles(const InputFiles& named, const FileSource& files, StitchReport& report) {
    report.failed = named.bad;
    std::ranges::copy(files.bad(), std::back_inserter(report.failed));
    report.repeated = files.repeated();
    report.ownPictures = files.ownPictures();
    std::unordered_set<std::string> grouped;
    for (const StitchedGroup& group : report.groups)
        for (const velmorant::StitchableItem& item : group.group.items())
            grouped.insert(item.id);
    for (const FileItem& file : files.items())
        if (!grouped.contains(file.item.id) && !files.isDropped(file.item))
            report.alone.push_back(file.item);
}

ExitStatus tell(const StitchReport& report, const StitchOptions& options) {
    for (const BadFile& file : report.failed)
        complain(imageErrorMessage(file.path, file.error));
    if (!options.picture.quiet)
        for (const RepeatedFile& file : report.repeated)
            complain(message("{}: the same screenshot as {}; it counts once", {shown(file.path), shown(file.sameAs)}));

    const bool isPicturePrinted = options.output.named == "-" && !options.picture.dryRun;
    if (isPicturePrinted || (options.picture.quiet && !options.json)) {
        for (const std::string& line : report.refusals())
            complain(line);
    } else if (!print(options.json ? report.json() : report.summary())) {
        complain(message("standard output could not be written"));
        return ExitStatus::incomplete;
    }
    return report.status();
}

/// What is wrong with the options beside these outputs, for people.
std::optional<std::string> contradictionWith(const Outputs& outputs, const StitchOptions& options) {
    if (!options.rows.empty())
        if (auto refusal = refusalToWrite(options.rows, options.output.force, {}))
            return refusal;
    if (options.picture.verify && !outputs.areLossless())
        return message("--verify holds every pixel to the screenshots, which only a png keeps");
    if (options.picture.verify && options.output.mostRows > 0)
        return message("--verify reads one file back; leave --split out");
    return std::nullopt;
}

bool writeRows(const StitchReport& report, const fs::path& path) {
    const auto written = platform::FileManager::write(path, rowsJSON(report.groups, *report.files));
    if (!written)
        complain(message("{}: the rows could not be written ({})", {shown(path), written.error().message()}));
    return written.has_value();
}

} // namespace

ExitStatus stitch(const StitchOptions& options) {
    const auto named = InputFiles::of(options.input);
    const auto outputs = named ? Outputs::of(options.output, named->paths) : std::unexpected(named.error());
    if (!outputs) {
        complain(outputs.error());
        return ExitStatus::wrongCall;
    }

    if (const auto refusal = refusalOfReport(options.report, named->paths)) {
        complain(*refusal);
        return ExitStatus::wrongCall;
    }
    for (const Place& place : options.places)
        if (std::ranges::none_of(named->paths, [&](const auto& path) {
                std::error_code unknown;
                return std::filesystem::equivalent(place.path, path, unknown);
            })) {
            complain(message("--at: {} is none of the screenshots named", {shown(place.path)}));
            return ExitStatus::wrongCall;
        }

    const auto order = options.together ? FileSource::Order::asNamed : FileSource::Order::byDate;
    const auto files = FileSource::make(named->paths, order);
    const auto logger = loggerFor(options);
    return stitchGroups(options, pipelineFor(options, files, logger), files, *outputs,
                        [&](StitchReport& report) { addFiles(*named, *files, report); });
}

std::shared_ptr<velmorant::LogStore> loggerFor(const StitchOptions& options) {
    using velmorant::LogStoreType;
    return std::make_shared<ConsoleLog>(options.verbose ? LogStoreType::debug : LogStoreType::fault);
}

ExitStatus stitchGroups(const StitchOptions& options, const velmorant::Pipeline& pipeline,
                        const std::shared_ptr<ImageFiles>& files, const Outputs& outputs,
                        const std::function<void(StitchReport&)>& addRest) {
    if (const auto contradiction = contradictionWith(outputs, options)) {
        complain(*contradiction);
        return ExitStatus::wrongCall;
    }
    const auto loader = std::make_shared<FileLoader>(files);
    const auto diskCache = options.cache && options.places.empty() // what is placed by hand is no finding
                               ? velmorant::AlignerDiskCache::make(orbelquist::alignerVersion)
                               : nullptr;
    std::shared_ptr<velmorant::AlignerCache> cache = diskCache;
    if (diskCache)
        diskCache->waitUntilLoaded();
    else
        cache = std::make_shared<NoCache>();
    if (diskCache && (options.explain || options.picture.dropBars))
        cache = std::make_shared<KeepingCache>(diskCache);

    const auto seams = std::make_shared<Seams>(files, options.places);
    const auto aligner = std::make_shared<velmorant::OpenCVAligner>(
        loader, cache, loggerFor(options),
        [seams](const velmorant::Group& group, velmorant::OpenCVAligner::Pairs& pairs) { seams->take(group, pairs); });
    const auto run = StitchRun::make(velmorant::StitchingStore::make(pipeline, aligner, rendererFor(options, loader)),
                                     files, loader, cache, seams, outputs, options.picture);
    run->run();

    if (Interrupt::requested()) {
        const auto groups = run->groups();
        const auto written = std::ranges::count_if(groups, [](const StitchedGroup& g) { return g.output.has_value(); });
        complain(message("interrupted; {} picture was written", "interrupted; {} pictures were written",
                         static_cast<std::size_t>(written), {std::to_string(written)}));
        return ExitStatus::interrupted;
    }
    if (run->refusal()) {
        complain(*run->refusal());
        return ExitStatus::wrongCall;
    }
    if (diskCache)
        diskCache->waitUntilSaved();
    StitchReport report{.files = files,
                        .seams = seams,
                        .groups = run->groups(),
                        .alone = {},
                        .failed = {},
                        .repeated = {},
                        .ownPictures = {},
                        .dryRun = options.picture.dryRun,
                        .together = options.together,
                        .strict = options.picture.strict};
    addRest(report);
    const bool areRowsTold = options.rows.empty() || options.picture.dryRun || writeRows(report, options.rows);
    const ExitStatus status = tell(report, options);
    if (!options.report.file.empty())
        if (const auto failure = writeReport(report, loader, options.report)) {
            complain(*failure);
            return Interrupt::requested() ? ExitStatus::interrupted : ExitStatus::incomplete;
        }
    return areRowsTold ? status : ExitStatus::incomplete;
}

} // namespace host
