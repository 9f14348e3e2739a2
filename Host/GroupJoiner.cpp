#include "Host/GroupJoiner.hpp"

#include "Host/ImageErrorMessage.hpp"
#include "Host/Interrupt.hpp"
#include "Host/Message.hpp"
#include "Host/NoCache.hpp"
#include "Host/PictureWriter.hpp"
#include "Platform/Dispatch/MainLoop.hpp"
#include "Velmorant/Rendering/CoreImageRenderer.hpp"

#include <algorithm>
#include <chrono>

namespace host {

using platform::DispatchQueue;
using velmorant::Aligner;
using velmorant::Group;
using velmorant::OpenCVAligner;
using velmorant::StitchableItem;

std::vector<StitchableItem> JoinedGroup::leftOut() const {
    std::vector<StitchableItem> items;
    if (alignment)
        std::ranges::copy_if(group.items(), std::back_inserter(items),
                             [&](const StitchableItem& item) { return !alignment->position(item); });
    return items;
}

GroupJoiner::GroupJoiner(std::shared_ptr<const FileSource> files, std::shared_ptr<velmorant::LogStore> logger)
    : files_(std::move(files)), loader_(FileLoader::make(files_)), logger_(std::move(logger)) {}

JoinedGroup GroupJoiner::join(std::vector<StitchableItem> items, const OutputFile& output) {
    for (;;) {
        const auto known = loader_->failures();
        std::erase_if(items, [&](const StitchableItem& item) { return known.contains(item.id); });
        const auto moreProvedBad = [&] { return loader_->failures().size() > known.size(); };

        JoinedGroup joined{.group = Group(items), .alignment = {}, .pairs = {}, .error = {}, .output = {}};
        if (items.size() < 2) {
            joined.error = message("a single screenshot cannot be joined; name at least two that can be read");
            return joined;
        }
        auto aligned = align(joined);
        if (!aligned)
            return joined; // Ctrl-C
        if (moreProvedBad())
            continue;
        if (!*aligned) {
            joined.error = message("no two neighbours show the same rows");
            return joined;
        }
        joined.alignment = std::move(**aligned);

        const auto drawn = draw(joined, output);
        if (drawn) {
            joined.output = output.path;
            return joined;
        }
        if (moreProvedBad())
            continue;
        if (drawn.error().code != platform::ImageError::Code::cancelled)
            joined.error = imageErrorMessage(output.path, drawn.error());
        return joined;
    }
}

/// Nothing after Ctrl-C.
std::optional<Aligner::Result> GroupJoiner::align(JoinedGroup& joined) const {
    struct Answer {
        OpenCVAligner::Pairs pairs;
        std::optional<Aligner::Result> result;
    };
    const auto answer = std::make_shared<Answer>(); // outlives this call where it is interrupted

    OpenCVAligner aligner(loader_, std::make_shared<NoCache>(), logger_,
                          [answer](const Group&, const OpenCVAligner::Pairs& pairs) { answer->pairs = pairs; });
    aligner.alignment(joined.group, DispatchQueue::main(), platform::DispatchWorkItemFlags::none,
                      [answer](Aligner::Result result) { answer->result = std::move(result); });

    using namespace std::chrono_literals;
    while (!platform::MainLoop::runUntil([&] { return answer->result.has_value(); }, 50ms))
        if (Interrupt::requested())
            return std::nullopt;
    joined.pairs = std::move(answer->pairs);
    return std::move(answer->result);
}

std::expected<void, platform::ImageError> GroupJoiner::draw(const JoinedGroup& joined, const OutputFile& output) const {
    const velmorant::CoreImageRenderer renderer(loader_);
    const platform::UIImage picture = renderer.render(*joined.alignment, false);
    const auto first = std::ranges::min_element(joined.group.items(), {}, &StitchableItem::date);
    return writePicture(*picture.ciImage(), output, first->date);
}

std::vector<BadFile> GroupJoiner::bad() const {
    std::vector<BadFile> bad;
    const auto failures = loader_->failures();
    for (const FileItem& file : files_->items())
        if (const auto failure = failures.find(file.item.id); failure != failures.end())
            bad.push_back({file.path, failure->second});
    return bad;
}

} // namespace host
