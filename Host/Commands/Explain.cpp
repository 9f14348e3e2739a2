#include "Host/Commands/Explain.hpp"

#include "Host/Console.hpp"
#include "Host/FileLoader.hpp"
#include "Host/FileSource.hpp"
#include "Host/ImageErrorMessage.hpp"
#include "Host/Message.hpp"
#include "Host/Outputs.hpp"
#include "Host/PairPicture.hpp"
#include "Host/PictureWriter.hpp"
#include "Host/VerdictMessage.hpp"
#include "Orbelquist/KSVPatternMaker.hpp"
#include "Platform/Foundation/JSONWriter.hpp"
#include "Velmorant/Alignment/LoaderLazyImage.hpp"

#include <algorithm>
#include <cmath>
#include <future>

namespace host {

using orbelquist::KSVPatternPair;
using velmorant::LoaderLazyImage;

namespace {

std::vector<KSVPatternPair> match(const std::vector<std::shared_ptr<LoaderLazyImage>>& images) {
    std::promise<std::vector<KSVPatternPair>> answer;
    orbelquist::KSVPatternMaker().patternsForImages(
        {images.begin(), images.end()}, [&](std::vector<KSVPatternPair> pairs) { answer.set_value(std::move(pairs)); });
    return answer.get_future().get();
}

std::string json(const std::vector<FileItem>& items, const std::vector<KSVPatternPair>& pairs) {
    platform::JSONWriter json;
    json.beginObject().key("pairs").beginArray();
    for (std::size_t k = 0; k < pairs.size(); ++k) {
        const orbelquist::KSVVerdict& verdict = pairs[k].verdict;
        json.beginObject().member("first", items[k].path.native()).member("second", items[k + 1].path.native());
        json.key("offset");
        verdict.valid() ? json.value(verdict.offset) : json.null();
        json.member("verdict", verdict.name()).member("confidence", verdict.confidence());
        json.member("reason", verdict.description());
        json.member("rows", verdict.rows).member("agreeing", verdict.agreeing);
        json.member("contradicting", verdict.contradicting).member("runnerUp", verdict.runnerUp);
        json.member("topBar", verdict.topBar).member("bottomBar", verdict.bottomBar).endObject();
    }
    json.endArray().endObject();
    return json.text() + "\n";
}

std::string table(const std::vector<FileItem>& items, const std::vector<KSVPatternPair>& pairs) {
    std::string text;
    for (std::size_t k = 0; k < pairs.size(); ++k) {
        const orbelquist::KSVVerdict& verdict = pairs[k].verdict;
        text += message("{} and {}: {}\n", {shown(items[k].path), shown(items[k + 1].path.filename()),
                                            verdict.valid() ? message("joined") : message("not joined")});
        text += "  " + verdictMessage(verdict) + "\n";
        if (verdict.valid())
            text += message("  confidence {} %\n", {std::to_string(std::lround(verdict.confidence() * 100))});
        if (verdict.runnerUp > 0)
            text += message("  the next best place, {} rows off, has {} % of the evidence\n",
                            {std::to_string(std::abs(verdict.otherOffset - verdict.offset)),
                             std::to_string(verdict.runnerUp * 100 / verdict.agreeing)});
        if (verdict.topBar + verdict.bottomBar > 0)
            text += message("  bars that stand still: {} rows at the top, {} at the bottom\n",
                            {std::to_string(verdict.topBar), std::to_string(verdict.bottomBar)});
    }
    return text;
}

} // namespace

ExitStatus explain(const ExplainOptions& options) {
    const auto named = InputFiles::of(options.input);
    if (!named) {
        complain(named.error());
        return ExitStatus::wrongCall;
    }
    const auto files = FileSource::make(named->paths, FileSource::Order::asNamed);
    std::promise<void> fetched;
    files->fetchItems(platform::DispatchQueue::global(), [&](const auto&) { fetched.set_value(); });
    fetched.get_future().wait();
    for (const BadFile& file : named->bad)
        complain(imageErrorMessage(file.path, file.error));
    for (const BadFile& file : files->bad())
        complain(imageErrorMessage(file.path, file.error));

    const std::vector<FileItem>& items = files->items();
    if (items.size() < 2) {
        complain(message("there is nothing to compare; name two different screenshots or more"));
        return ExitStatus::wrongCall;
    }
    if (!options.image.empty() && items.size() != 2) {
        complain(message("--image draws one pair; name two screenshots"));
        return ExitStatus::wrongCall;
    }
    const auto loader = std::make_shared<FileLoader>(files);
    std::vector<std::shared_ptr<LoaderLazyImage>> images;
    images.reserve(items.size());
    for (const FileItem& file : items)
        images.push_back(std::make_shared<LoaderLazyImage>(file.item, loader));
    const std::vector<KSVPatternPair> pairs = match(images);

    bool complete = named->bad.empty() && files->bad().empty();
    if (!options.image.empty()) {
        const auto outputs = Outputs::of({.named = options.image, .force = options.force, .format = {}}, named->paths);
        if (!outputs || outputs->takeSeveral()) {
            complain(outputs ? message("--image: {} is a folder; name a file", {shown(options.image)})
                             : outputs.error());
            return ExitStatus::wrongCall;
        }
        const OutputFile output = Outputs(*outputs).next(items.front().path, 0);
        if (auto picture = pairPicture(*images[0], *images[1], pairs.front())) {
            const platform::CIImage recipe(std::move(*picture));
            const auto done = writePicture(recipe, recipe.extent(), output, items.front().item.date);
            if (!done)
                complain(imageErrorMessage(output.path, done.error()));
            complete &= done.has_value();
        }
    }
    if (!print(options.json ? json(items, pairs) : table(items, pairs)))
        return ExitStatus::incomplete;
    const bool joined = std::ranges::all_of(pairs, [](const KSVPatternPair& pair) { return pair.verdict.valid(); });
    return complete && joined ? ExitStatus::success : ExitStatus::incomplete;
}

} // namespace host
