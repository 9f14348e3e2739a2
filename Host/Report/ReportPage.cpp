#include "Host/Report/ReportPage.hpp"

#include "Host/Console.hpp"
#include "Host/ImageErrorMessage.hpp"
#include "Host/Interrupt.hpp"
#include "Host/Message.hpp"
#include "Host/Report/HTMLWriter.hpp"
#include "Host/Report/PageAssets.hpp"
#include "Host/Report/PagePictures.hpp"
#include "Platform/Foundation/AtomicFile.hpp"
#include "Platform/Foundation/Calendar.hpp"
#include "Platform/Foundation/UUID.hpp"
#include "Velmorant/Rendering/CoreImageRenderer.hpp"
#include "Velmorant/Rendering/ImageHelpers.hpp"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace host {

namespace fs = std::filesystem;
using platform::ImageError;
using velmorant::StitchableItem;

namespace {

/// Screenshots and pictures are this wide, less where there are so many that they had more pixels together.
constexpr std::int64_t widest = 400, narrowest = 100;
constexpr double mostPixels = 128e6;
constexpr std::int64_t mapHeight = 1600;
constexpr std::size_t openGroups = 3; ///< those of a longer list are shown closed

std::string number(std::integral auto value) {
    return std::to_string(value);
}

std::string dateOf(const StitchableItem& item) {
    const auto local = platform::Calendar::current().components(item.date);
    char text[32];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d", local.year, local.month, local.day, local.hour,
                  local.minute, local.second);
    return text;
}

/// The width at which all pictures of the report together stay within what a page may hold.
std::int64_t widthFor(const std::vector<StitchedGroup>& groups) {
    double pixels = 1;
    const auto add = [&](const velmorant::PixelSize& size) {
        const double ratio = std::min(1.0, static_cast<double>(widest) / static_cast<double>(size.width));
        pixels += static_cast<double>(size.width) * static_cast<double>(size.height) * ratio * ratio;
    };
    for (const StitchedGroup& group : groups) {
        for (const StitchableItem& item : group.group.items())
            add(item.size());
        if (group.alignment)
            add(group.alignment->size());
    }
    return std::max(narrowest,
                    std::lround(static_cast<double>(widest) * std::min(1.0, std::sqrt(mostPixels / pixels))));
}

class PageWriter {
public:
    PageWriter(const StitchReport& report, const std::shared_ptr<FileLoader>& loader, platform::ByteSink& sink)
        : report_(report), loader_(loader), renderer_(loader), width_(widthFor(report.groups)), html_(sink) {}

    std::expected<void, std::error_code> write() {
        head();
        html_.begin("body");
        html_.begin("header");
        html_.element("h1", {}, title());
        if (report_.dryRun)
            html_.element("p", {{"class", "faint"}}, message("No picture was written: this was a dry run."));
        if (report_.groups.size() > 1)
            controls();
        html_.end();
        html_.begin("main");
        for (number_ = 1; number_ <= report_.groups.size() && !Interrupt::requested(); ++number_) {
            showStatus(message("report: {} of {} groups", {number(number_), number(report_.groups.size())}));
            const StitchedGroup& stitched = report_.groups[number_ - 1];
            group(stitched);
            loader_->forget(stitched.group.items());
        }
        rest();
        html_.end();
        pairDialog();
        html_.begin("script", {{"nonce", nonce_}}).raw(pageScript).end();
        return html_.finish();
    }

private:
    std::string name(const StitchableItem& item) const { return report_.files->shortName(item); }
    std::string groupId() const { return "group-" + number(number_); }
    std::string shotId(std::size_t i) const { return groupId() + "-shot-" + number(i + 1); }
    std::string seamId(std::size_t i) const { return groupId() + "-seam-" + number(i + 1); }

    std::string title(const StitchedGroup& stitched) const {
        return stitched.output ? shown(stitched.output->filename()) : name(stitched.group.items().front());
    }

    std::string title() const {
        const auto joined = static_cast<std::size_t>(
            std::ranges::count_if(report_.groups, [](const StitchedGroup& group) { return !group.error; }));
        const std::size_t shots = std::accumulate(
            report_.groups.begin(), report_.groups.end(), report_.alone.size(),
            [](std::size_t sum, const StitchedGroup& group) { return sum + group.group.items().size(); });
        return message("{} picture from {} screenshots", "{} pictures from {} screenshots", joined,
                       {number(joined), number(shots)});
    }

    void head() {
        html_.begin("html", {{"lang", message("en")}}).begin("head");
        html_.empty("meta", {{"charset", "utf-8"}});
        html_.empty("meta", {{"http-equiv", "Content-Security-Policy"},
                             {"content", "default-src 'none'; img-src data:; base-uri 'none'; form-action 'none'; "
                                         "style-src 'nonce-" +
                                             nonce_ + "'; script-src 'nonce-" + nonce_ + "'"}});
        html_.empty("meta", {{"name", "viewport"}, {"content", "width=device-width, initial-scale=1"}});
        html_.empty("meta", {{"name", "generator"}, {"content", "velmorant"}});
        html_.element("title", {}, "Velmorant: " + title());
        html_.begin("style", {{"nonce", nonce_}}).raw(pageStyle).end();
        html_.end();
    }

    /// For the script, which shows them.
    void controls() {
        html_.begin("div", {{"class", "controls"}, {"hidden", ""}});
        html_.element("button", {{"type", "button"}, {"id", "open"}}, message("Open all"));
        html_.element("button", {{"type", "button"}, {"id", "shut"}}, message("Close all"));
        html_.begin("label").empty("input", {{"type", "checkbox"}, {"id", "filter"}});
        html_.text(message("Only groups with something left out")).end();
        html_.end();
    }

    void group(const StitchedGroup& stitched) {
        const std::vector<Seam> seams = report_.seams->of(stitched.group);
        const std::size_t leftOut = stitched.leftOut().size(), count = stitched.group.items().size();
        const char* kind = stitched.error ? "group bad" : leftOut > 0 ? "group part" : "group good";
        HTMLWriter& html = html_;
        if (report_.groups.size() <= openGroups)
            html.begin("details", {{"class", kind}, {"id", groupId()}, {"open", ""}});
        else
            html.begin("details", {{"class", kind}, {"id", groupId()}});
        html.begin("summary").begin("h2");
        html.element("bdi", {}, title(stitched)).end();
        html.element("span", {{"class", "state"}},
                     stitched.error ? message("not joined")
                     : leftOut > 0  ? message("joined, {} left out", {number(leftOut)})
                                    : message("joined"));
        html.element("span", {{"class", "faint"}}, message("{} screenshots", {number(count)}));
        if (stitched.alignment)
            html.element("span", {{"class", "faint"}},
                         message("{} x {} pixels", {number(stitched.alignment->size().width),
                                                    number(stitched.alignment->size().height)}));
        html.end().begin("div", {{"class", "inside"}});
        if (stitched.error)
            html.element("p", {{"class", "state"}}, *stitched.error);
        shots(stitched);
        html.begin("div", {{"class", "columns"}});
        if (stitched.alignment)
            picture(stitched, seams);
        html.begin("div");
        seamList(stitched, seams);
        html.end().end().end().end();
    }

    void shots(const StitchedGroup& stitched) {
        html_.element("h3", {}, message("Screenshots, in order"));
        html_.begin("ol", {{"class", "shots"},
                           {"tabindex", "0"},
                           {"aria-label", message("Screenshots of {}, in order", {title(stitched)})}});
        const auto& items = stitched.group.items();
        for (std::size_t i = 0; i < items.size(); ++i) {
            const auto* position = stitched.alignment ? stitched.alignment->position(items[i]) : nullptr;
            html_.begin("li", {{"class", stitched.alignment && !position ? "out" : "in"}});
            shot(items[i], shotId(i));
            html_.begin("span", {{"class", "name"}}).element("bdi", {}, name(items[i])).end();
            html_.element("span", {{"class", "faint"}}, dateOf(items[i]));
            if (stitched.alignment)
                html_.element("span", {{"class", "place"}},
                              position ? message("from row {} on", {number(position->offset)}) : message("left out"));
            html_.end();
        }
        html_.end();
    }

    void shot(const StitchableItem& item, const std::string& id) {
        std::optional<platform::UIImage> image;
        loader_->loadImage(item, true, [&](std::optional<platform::UIImage> loaded) { image = std::move(loaded); });
        const auto picture = image ? pagePicture(velmorant::ksv_cgImage(*image), width_)
                                   : std::unexpected(ImageError{ImageError::Code::readFailed, {}});
        const std::string width = number(item.size().width), height = number(item.size().height);
        if (!picture)
            html_.element("div", {{"class", "none"}, {"id", id}, {"data-width", width}, {"data-height", height}},
                          message("cannot be shown"));
        else
            html_.empty("img", {{"id", id},
                                {"src", picture->uri},
                                {"width", number(picture->width)},
                                {"height", number(picture->height)},
                                {"data-width", width},
                                {"data-height", height},
                                {"decoding", "async"},
                                {"alt", message("Screenshot {}", {name(item)})}});
    }

    void picture(const StitchedGroup& stitched, const std::vector<Seam>& seams) {
        const auto& alignment = *stitched.alignment;
        html_.begin("div").element("h3", {}, message("The picture"));
        const velmorant::RowRange& kept = stitched.shown;
        if (kept.lower > 0 || (kept.upper > 0 && kept.upper < alignment.size().height))
            html_.element("p", {{"class", "faint"}},
                          message("the picture shows rows {} to {} of this; the others were cut off",
                                  {number(kept.lower), number(kept.upper)}));
        html_.begin("div", {{"class", "view"}});
        html_.begin("div", {{"class", "strip"},
                            {"tabindex", "0"},
                            {"role", "region"},
                            {"aria-label", message("The picture {}, with its seams", {title(stitched)})}});
        html_.begin("div", {{"class", "sheet"}, {"data-height", number(alignment.size().height)}});
        const auto map =
            drawTiles(velmorant::ksv_ciImage(renderer_.render(alignment, false)), width_, mapHeight,
                      [this](const PagePicture& tile) {
                          html_.empty("img", {{"src", tile.uri},
                                              {"width", number(tile.width)},
                                              {"height", number(tile.height)},
                                              {"decoding", "async"},
                                              {"alt", message("Rows {} to {}", {number(tile.firstRow),
                                                                                number(tile.firstRow + tile.rows)})}});
                      });
        for (std::size_t i = 0; map && i < seams.size(); ++i)
            if (const auto row = rowOf(seams[i], alignment))
                html_
                    .begin("button", {{"type", "button"},
                                      {"class", "mark"},
                                      {"data-row", number(*row)},
                                      {"data-seam", seamId(i)},
                                      {"aria-label", message("Seam {}: compare both screenshots", {number(i + 1)})}})
                    .element("span", {}, number(i + 1))
                    .end();
        if (!map)
            html_.element("p", {{"class", "none"}}, imageErrorMessage(message("the picture"), map.error()));
        html_.end().end();
        html_.begin("div", {{"class", "map"}, {"aria-hidden", "true"}});
        if (map)
            html_
                .empty("img",
                       {{"src", map->uri}, {"width", number(map->width)}, {"height", number(map->height)}, {"alt", ""}})
                .element("span", {{"class", "window"}}, "");
        html_.end().end();
        html_.end();
    }

    /// The canvas row at which the lower screenshot fades in; nothing for a seam that is not in the picture.
    static std::optional<std::int64_t> rowOf(const Seam& seam, const velmorant::Alignment& alignment) {
        const auto *upper = alignment.position(seam.upper), *lower = alignment.position(seam.lower);
        if (!seam.valid() || !upper || !lower)
            return std::nullopt;
        return lower->offset + lower->localOverlap.lower;
    }

    void seamList(const StitchedGroup& stitched, const std::vector<Seam>& seams) {
        if (seams.empty())
            return;
        html_.element("h3", {}, message("Seams"));
        html_.begin("ol",
                    {{"class", "seams"}, {"tabindex", "0"}, {"aria-label", message("Seams of {}", {title(stitched)})}});
        for (std::size_t i = 0; i < seams.size(); ++i)
            seam(stitched, seams[i], i);
        html_.end();
    }

    void seam(const StitchedGroup& stitched, const Seam& seam, std::size_t i) {
        const auto& items = stitched.group.items();
        const auto idOf = [&](const StitchableItem& item) {
            return shotId(static_cast<std::size_t>(std::ranges::find(items, item) - items.begin()));
        };
        const orbelquist::KSVVerdict& verdict = seam.verdict;
        // A seam that failed is shown at the likeliest place, where there is one.
        std::int64_t offset = seam.valid() ? seam.offset : verdict.offset;
        const bool isPlaced = seam.valid() || verdict.offset != 0;
        const std::string upper = idOf(offset < 0 ? seam.lower : seam.upper);
        const std::string lower = idOf(offset < 0 ? seam.upper : seam.lower);
        const auto* position = stitched.alignment ? stitched.alignment->position(seam.lower) : nullptr;
        const bool hasBand = position && rowOf(seam, *stitched.alignment);

        html_.begin("li", {{"id", seamId(i)},
                           {"class", seam.valid() ? "seam good" : "seam bad"},
                           {"data-upper", upper},
                           {"data-lower", lower},
                           {"data-offset", isPlaced ? number(std::abs(offset)) : ""},
                           {"data-band", hasBand ? number(position->localOverlap.lower) : ""},
                           {"data-top", number(verdict.topBar)},
                           {"data-bottom", number(verdict.bottomBar)}});
        html_.begin("button", {{"type", "button"}, {"data-seam", seamId(i)}});
        html_.text(message("Seam {}: ", {number(i + 1)}));
        html_.element("span", {{"class", "verdict"}},
                      seam.byHand ? message("placed by hand")
                      : seam.valid()
                          ? message("joined, confidence {} %", {number(std::lround(verdict.confidence() * 100))})
                          : message("not joined"));
        html_.end();
        html_.begin("p").element("bdi", {}, name(items[i])).text(", ").element("bdi", {}, name(items[i + 1])).end();
        html_.element("p", {}, seam.reason());
        if (verdict.topBar + verdict.bottomBar > 0)
            html_.element("p", {{"class", "faint"}},
                          message("bars that stand still: {} rows at the top, {} at the bottom",
                                  {number(verdict.topBar), number(verdict.bottomBar)}));
        html_.end();
    }

    /// What is in no group, and why.
    void rest() {
        const auto list = [this](const std::string& heading, const std::vector<std::string>& lines) {
            if (lines.empty())
                return;
            html_.begin("section").element("h3", {}, heading).begin("ul", {{"class", "rest"}});
            for (const std::string& line : lines)
                html_.begin("li").element("bdi", {}, line).end();
            html_.end().end();
        };
        std::vector<std::string> alone, failed, repeated, own;
        for (const StitchableItem& item : report_.alone)
            alone.push_back(report_.files->name(item));
        for (const BadFile& file : report_.failed)
            failed.push_back(imageErrorMessage(file.path, file.error));
        for (const RepeatedFile& file : report_.repeated)
            repeated.push_back(
                message("{}: the same screenshot as {}; it counts once", {shown(file.path), shown(file.sameAs)}));
        for (const fs::path& path : report_.ownPictures)
            own.push_back(shown(path));
        list(message("They stand alone: no other screenshot of their size was taken at about that time"), alone);
        list(message("They could not be read"), failed);
        list(message("They were named twice"), repeated);
        list(message("They were made by this program, and were skipped"), own);
    }

    void pairDialog() {
        html_.begin("dialog", {{"id", "pair"}, {"aria-labelledby", "pair-title"}});
        html_.begin("div", {{"class", "head"}});
        html_.element("h2", {{"id", "pair-title"}}, message("Seam"));
        html_.element("p", {{"class", "about"}}, "");
        html_.element("button", {{"type", "button"}, {"class", "before"}}, message("Previous seam"));
        html_.element("button", {{"type", "button"}, {"class", "after"}}, message("Next seam"));
        html_.element("button", {{"type", "button"}, {"class", "close"}}, message("Close"));
        html_.begin("p", {{"class", "legend"}});
        for (const auto& [kind, meaning] : {std::pair("overlap", message("both show these rows")),
                                            std::pair("still", message("bars that stand still")),
                                            std::pair("line", message("the lower one is shown from here on"))})
            html_.begin("span").element("i", {{"class", kind}}, "").text(meaning).end();
        html_.end().end();
        html_.begin("div", {{"class", "pair"}});
        html_.element("bdi", {{"class", "name"}}, "").element("bdi", {{"class", "name"}}, "");
        html_.element("figure", {}, "").element("figure", {}, "").end();
        html_.end();
    }

    const StitchReport& report_;
    const std::shared_ptr<FileLoader> loader_;
    const velmorant::CoreImageRenderer renderer_;
    const std::int64_t width_;                                       ///< of screenshots and pictures, in pixels
    const std::string nonce_ = platform::UUID::make().description(); ///< no script or style but these two
    HTMLWriter html_;
    std::size_t number_ = 1; ///< of the group that is being written
};

} // namespace

std::optional<std::string> refusalOfReport(const ReportOptions& options, const std::vector<fs::path>& inputs) {
    const fs::path& file = options.file;
    if (file.empty())
        return std::nullopt;
    if (file.extension() != ".html" && file.extension() != ".htm")
        return message("--report: {} is no name of a page; use .html", {shown(file)});
    return refusalToWrite(file, options.force, inputs);
}

std::optional<std::string> writeReport(const StitchReport& report, const std::shared_ptr<FileLoader>& loader,
                                       const ReportOptions& options) {
    using Existing = platform::AtomicFile::Existing;
    auto file = platform::AtomicFile::create(options.file, options.force ? Existing::replace : Existing::keep);
    std::expected<void, std::error_code> done;
    if (!file)
        done = std::unexpected(file.error());
    else if (done = PageWriter(report, loader, *file).write(); done)
        done = Interrupt::requested() ? std::unexpected(std::make_error_code(std::errc::interrupted)) : file->commit();
    showStatus({});
    if (done)
        return std::nullopt;
    if (Interrupt::requested())
        return message("interrupted; no report was written");
    return message("{}: the report could not be written ({}); make room, or name another place",
                   {shown(options.file), done.error().message()});
}

} // namespace host
