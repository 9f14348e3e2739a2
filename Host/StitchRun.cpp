#include "Host/StitchRun.hpp"

#include "Host/Console.hpp"
#include "Host/ImageErrorMessage.hpp"
#include "Host/Interrupt.hpp"
#include "Host/Message.hpp"
#include "Host/PictureWriter.hpp"
#include "Platform/Dispatch/MainLoop.hpp"
#include "Platform/Foundation/Device.hpp"
#include "Platform/ImageIO/CGImageDestination.hpp"
#include "Velmorant/Rendering/ImageHelpers.hpp"

#include <algorithm>
#include <chrono>
#include <cmath>

namespace host {

namespace fs = std::filesystem;
using platform::DispatchQueue;
using platform::UIImage;
using velmorant::Alignment;
using velmorant::Group;
using velmorant::PixelSize;
using velmorant::StitchableItem;
using namespace std::chrono_literals;

namespace {

/// Ctrl-C is looked for, and the progress told, this often.
constexpr auto tick = 50ms;

/// Pictures that are being written when Ctrl-C comes stop at their next band.
constexpr auto longestStop = 800ms;

fs::path pathOf(const OutputFile& output) {
    return output.path.empty() ? "-" : output.path;
}

} // namespace

std::vector<StitchableItem> StitchedGroup::leftOut() const {
    std::vector<StitchableItem> items;
    if (alignment)
        std::ranges::copy_if(group.items(), std::back_inserter(items),
                             [&](const StitchableItem& item) { return !alignment->position(item); });
    return items;
}

std::shared_ptr<StitchRun> StitchRun::make(std::shared_ptr<velmorant::StitchingStore> store,
                                           std::shared_ptr<ImageFiles> files, std::shared_ptr<FileLoader> loader,
                                           std::shared_ptr<velmorant::AlignerCache> cache,
                                           std::shared_ptr<const Seams> seams, Outputs outputs,
                                           const PictureOptions& options) {
    const std::shared_ptr<StitchRun> run(new StitchRun(std::move(store), std::move(files), std::move(loader),
                                                       std::move(cache), std::move(seams), std::move(outputs),
                                                       options));
    run->store_->setDelegate(run);
    return run;
}

StitchRun::StitchRun(std::shared_ptr<velmorant::StitchingStore> store, std::shared_ptr<ImageFiles> files,
                     std::shared_ptr<FileLoader> loader, std::shared_ptr<velmorant::AlignerCache> cache,
                     std::shared_ptr<const Seams> seams, Outputs outputs, const PictureOptions& options)
    : store_(std::move(store)), files_(std::move(files)), loader_(std::move(loader)), cache_(std::move(cache)),
      seams_(std::move(seams)), blend_(loader_),
      writingQueue_(DispatchQueue::concurrent(platform::Device::current().hostIdentifier + ".writing")),
      outputs_(std::move(outputs)), options_(options) {}

void StitchRun::run() {
    while (!Interrupt::requested()) {
        if (platform::MainLoop::runUntil([this] { return isDone(); }, tick))
            break;
        if (!options_.quiet)
            tellProgress();
    }
    if (Interrupt::requested())
        platform::MainLoop::runUntil([this] { return active_ == 0; }, longestStop);
    showStatus({});
}

bool StitchRun::isDone() const {
    const auto& groups = store_->groups();
    return refusal_ || (isPublished_ && active_ == 0 && next_ == groups.size() &&
                        std::ranges::none_of(groups, [this](const Group& group) { return isGivenUp(group); }));
}

void StitchRun::tellProgress() const {
    if (!isPublished_)
        showStatus(message("reading {} of {} files",
                           {std::to_string(files_->openedCount()), std::to_string(files_->fileCount())}));
    else
        showStatus(message("joining: {} of {} groups are done",
                           {std::to_string(ended_.size()), std::to_string(store_->groups().size())}));
}

void StitchRun::didUpdateGroups(const std::optional<velmorant::Change>&) {
    isPublished_ = true;
    next_ = 0;
    if (const std::size_t count = store_->groups().size(); count > 1 && !outputs_.takeSeveral() && !options_.dryRun)
        refusal_ = message("{} groups of screenshots were found, but one picture is named; name a folder, or join all "
                           "with --together",
                           {std::to_string(count)});
    else
        beginMore();
}

void StitchRun::beginMore() {
    const auto& groups = store_->groups();
    for (; next_ < groups.size() && active_ < options_.jobs && !Interrupt::requested(); ++next_) {
        const Group& group = groups[next_];
        if (!begun_.insert(group).second)
            continue;
        ++active_;
        store_->requestAnalysis(group, [self = shared_from_this(), group] { self->analysed(group); });
    }
}

void StitchRun::analysed(const Group& group) {
    StitchedGroup stitched{.group = group, .alignment = {}, .error = {}, .output = {}};
    const auto result = *store_->result(group);
    if (result)
        stitched.alignment = *result;
    else
        stitched.error = message("no two neighbours show the same rows");
    if (result && options_.strict && !stitched.leftOut().empty())
        stitched.error = message("a screenshot would be left out");
    if (result) {
        stitched.pictureSize = wholeSize(*result);
        stitched.shown = rowsShown(stitched);
        if (stitched.shown.lower >= stitched.shown.upper)
            stitched.error = message("nothing is left of a picture of {} rows when so many are cut off",
                                     {std::to_string(stitched.pictureSize.height)});
        stitched.pictureSize.height = stitched.shown.upper - stitched.shown.lower;
    }
    if (result && !stitched.error)
        stitched.error = refusalOf(outputs_.form(), stitched.pictureSize.width, stitched.pictureSize.height);
    if (result && options_.dryRun)
        stitched.memory = memoryFor(stitched);
    if (stitched.error || options_.dryRun || isGivenUp(group) || Interrupt::requested())
        end(std::move(stitched));
    else
        draw(std::move(stitched));
}

void StitchRun::draw(StitchedGroup group) {
    const OutputFile output = outputs_.next(files_->path(earliest(group.group)), group.pictureSize.height);
    const auto target = targetSize(*group.alignment);
    if (!target) {
        const UIImage recipe = blend_.render(*group.alignment, false);
        write(std::move(group), recipe, output);
        return;
    }
    const Alignment alignment = *group.alignment;
    store_->requestRender(
        alignment, *target,
        [self = shared_from_this(), group = std::move(group), output](const std::optional<UIImage>& image) mutable {
            if (image->size().width > 0 && !self->isGivenUp(group.group))
                return self->write(std::move(group), *image, output);
            group.error = message("a picture of that size cannot be drawn");
            self->outputs_.giveBack(output);
            self->end(std::move(group));
        });
}

/// Nothing for a whole picture that is drawn straight into its file.
std::optional<PixelSize> StitchRun::targetSize(const Alignment& alignment) const {
    if (options_.size)
        return options_.size;
    const PixelSize whole = alignment.size();
    if (!options_.width)
        return options_.renderer == PictureOptions::Renderer::blend ? std::nullopt : std::optional(whole);
    const double ratio = static_cast<double>(*options_.width) / static_cast<double>(whole.width);
    return PixelSize{*options_.width,
                     static_cast<std::int64_t>(std::ceil(static_cast<double>(whole.height) * ratio)) + 1, 1};
}

PixelSize StitchRun::wholeSize(const Alignment& alignment) const {
    const PixelSize whole = alignment.size();
    const PixelSize target = targetSize(alignment).value_or(whole);
    const double ratio = static_cast<double>(target.width) / static_cast<double>(whole.width);
    const auto height = static_cast<std::int64_t>(static_cast<double>(whole.height) * ratio);
    return {target.width, std::min(target.height, height), 1};
}

/// Of the picture in its size, without what is cut off.
velmorant::RowRange StitchRun::rowsShown(const StitchedGroup& group) const {
    velmorant::RowRange rows{options_.cutTop, group.pictureSize.height - options_.cutBottom};
    if (options_.dropBars) {
        const double ratio =
            static_cast<double>(group.pictureSize.width) / static_cast<double>(group.alignment->size().width);
        const auto [top, bottom] = seams_->barsOf(group.group, *group.alignment);
        rows.lower += std::llround(static_cast<double>(top) * ratio);
        rows.upper -= std::llround(static_cast<double>(bottom) * ratio);
    }
    return rows;
}

/// The decoded screenshots that are kept, the frames that are compared, a picture that is not drawn straight into its
/// file, one that is encoded whole, and the program itself.
std::int64_t StitchRun::memoryFor(const StitchedGroup& group) const {
    constexpr std::int64_t program = 15'000'000, bytesPerPixel = 4;
    constexpr std::int64_t bytesPerFramePixel = 1, bytesPerFrameRow = 456; // luma; signature, mask and totals
    std::int64_t pixels = 0, frame = 0;
    for (const StitchableItem& item : group.group.items()) {
        const std::int64_t area = item.size().width * item.size().height;
        pixels += area;
        frame = std::max(frame, area * bytesPerFramePixel + item.size().height * bytesPerFrameRow);
    }
    const auto frames =
        std::min<std::int64_t>(std::ssize(group.group.items()), static_cast<std::int64_t>(options_.jobs) + 2);
    const std::int64_t drawn = targetSize(*group.alignment) ? group.pictureSize.width * group.pictureSize.height : 0;
    const OutputFile& form = outputs_.form();
    const std::int64_t height = group.pictureSize.height;
    const std::int64_t encoder = platform::CGImageDestination::memoryFor(
        form.format, group.pictureSize.width, form.mostRows > 0 ? std::min(form.mostRows, height) : height);
    return program + std::min(platform::DecodedImages::budget(), pixels * bytesPerPixel) + frames * frame +
           drawn * bytesPerPixel + encoder;
}

void StitchRun::write(StitchedGroup group, const UIImage& picture, const OutputFile& output) {
    writingQueue_.async([self = shared_from_this(), group = std::move(group), picture, output] {
        const auto done = self->writtenAndProved(group, picture, output);
        DispatchQueue::main().async([=] { self->written(group, output, done); });
    });
}

std::expected<StitchRun::Written, std::string>
StitchRun::writtenAndProved(const StitchedGroup& group, const UIImage& picture, const OutputFile& output) const {
    const platform::CIImage recipe = velmorant::ksv_ciImage(picture);
    platform::CGRect extent = recipe.extent(); // y points up
    extent.origin.y = extent.maxY() - static_cast<double>(group.shown.upper);
    extent.size.height = static_cast<double>(group.shown.upper - group.shown.lower);
    auto paths = writePicture(recipe, extent, output, earliest(group.group).date);
    if (!paths)
        return std::unexpected(imageErrorMessage(pathOf(output), paths.error()));
    Written written{.paths = std::move(*paths), .proof = {}};
    if (!options_.verify)
        return written;
    const auto proof = provePicture(output.path, *group.alignment, group.shown, *loader_);
    if (!proof)
        return std::unexpected(proof.error());
    written.proof = *proof;
    return written;
}

void StitchRun::written(StitchedGroup group, const OutputFile& output,
                        const std::expected<Written, std::string>& written) {
    if (written) {
        group.output = written->paths.front();
        if (output.mostRows > 0)
            group.outputs = written->paths;
        group.proof = written->proof;
    } else {
        group.error = written.error();
        outputs_.giveBack(output);
    }
    store_->setCache({});
    end(std::move(group));
}

void StitchRun::end(StitchedGroup group) {
    loader_->forget(group.group.items());
    if (isGivenUp(group.group)) // else the next call would not read the bad file, and not tell of it
        cache_->setAlignment(group.group.id(), std::nullopt);
    ended_.insert_or_assign(group.group, std::move(group));
    --active_;
    beginMore();
}

bool StitchRun::isGivenUp(const Group& group) const {
    return std::ranges::any_of(group.items(), [this](const StitchableItem& item) { return files_->isDropped(item); });
}

const StitchableItem& StitchRun::earliest(const Group& group) const {
    return *std::ranges::min_element(group.items(), {}, &StitchableItem::date);
}

std::vector<StitchedGroup> StitchRun::groups() const {
    std::vector<StitchedGroup> groups;
    for (const Group& group : store_->groups())
        if (const auto found = ended_.find(group); found != ended_.end() && !isGivenUp(group))
            groups.push_back(found->second);
    return groups;
}

} // namespace host
