#pragma once

#include "Host/FileLoader.hpp"
#include "Host/ImageFiles.hpp"
#include "Host/Outputs.hpp"
#include "Host/PictureProof.hpp"
#include "Host/Seams.hpp"
#include "Velmorant/Alignment/AlignerCache.hpp"
#include "Velmorant/Rendering/CoreImageRenderer.hpp"
#include "Velmorant/Store/StitchingStore.hpp"

#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace host {

/// What became of one group.
struct StitchedGroup {
    velmorant::Group group;
    std::optional<velmorant::Alignment> alignment;
    std::optional<std::string> error; ///< for people; there is no picture then
    std::optional<std::filesystem::path> output;
    std::vector<std::filesystem::path> outputs; ///< of a picture that may be split: all its files, `output` first
    velmorant::PixelSize pictureSize; ///< of the output, or what it would be
    velmorant::RowRange shown;        ///< the rows of the whole picture that the output shows
    std::optional<PictureProof> proof;
    std::int64_t memory = 0; ///< bytes that the group takes at most, about; of a dry run

    /// The items that have no place in the picture; none where nothing was aligned at all.
    std::vector<velmorant::StitchableItem> leftOut() const;
};

/// How pictures are made.
struct PictureOptions {
    enum class Renderer { blend, overlay };

    Renderer renderer = Renderer::blend;
    std::optional<std::int64_t> width;        ///< pixels; the height follows
    std::optional<velmorant::PixelSize> size; ///< fitted to the width, cut off at the height
    std::int64_t cutTop = 0, cutBottom = 0;   ///< rows of the finished picture that are cut off
    bool dropBars = false;                    ///< those at its two ends are cut off, too
    bool verify = false;                      ///< pictures are read back and held to their screenshots
    bool strict = false;                      ///< a group that leaves a screenshot out fails
    bool dryRun = false;                      ///< nothing is drawn
    bool quiet = false;                       ///< no progress is told
    std::size_t jobs = 1;                     ///< groups worked on at a time, and threads
};

/// Takes the groups of a store to their pictures as the store publishes them: analyses, draws, writes. A group whose
/// file proves bad is given up: the store publishes it anew, without the file. On the main thread, whose queue it
/// drains.
class StitchRun final : public velmorant::StitchingStoreDelegate, public std::enable_shared_from_this<StitchRun> {
public:
    static std::shared_ptr<StitchRun> make(std::shared_ptr<velmorant::StitchingStore> store,
                                           std::shared_ptr<ImageFiles> files, std::shared_ptr<FileLoader> loader,
                                           std::shared_ptr<velmorant::AlignerCache> cache,
                                           std::shared_ptr<const Seams> seams, Outputs outputs,
                                           const PictureOptions& options);

    /// Until all groups are done, or a while after Ctrl-C: what was begun then leaves nothing broken.
    void run();

    /// Why nothing was begun, for people: several groups, but room for one picture.
    const std::optional<std::string>& refusal() const { return refusal_; }

    /// As the store lists them; without those that Ctrl-C kept from being finished.
    std::vector<StitchedGroup> groups() const;

    void didUpdateGroups(const std::optional<velmorant::Change>& change) override;

private:
    StitchRun(std::shared_ptr<velmorant::StitchingStore> store, std::shared_ptr<ImageFiles> files,
              std::shared_ptr<FileLoader> loader, std::shared_ptr<velmorant::AlignerCache> cache,
              std::shared_ptr<const Seams> seams, Outputs outputs, const PictureOptions& options);

    bool isDone() const;
    void tellProgress() const;
    void beginMore();
    struct Written {
        std::vector<std::filesystem::path> paths;
        std::optional<PictureProof> proof;
    };

    void analysed(const velmorant::Group& group);
    void draw(StitchedGroup group);
    void write(StitchedGroup group, const platform::UIImage& picture, const OutputFile& output);
    std::expected<Written, std::string>
    writtenAndProved(const StitchedGroup& group, const platform::UIImage& picture, const OutputFile& output) const;
    void written(StitchedGroup group, const OutputFile& output,
                 const std::expected<Written, std::string>& written);
    void end(StitchedGroup group);

    bool isGivenUp(const velmorant::Group& group) const;
    const velmorant::StitchableItem& earliest(const velmorant::Group& group) const;
    velmorant::PixelSize wholeSize(const velmorant::Alignment& alignment) const;
    velmorant::RowRange rowsShown(const StitchedGroup& group) const;
    std::int64_t memoryFor(const StitchedGroup& group) const;
    std::optional<velmorant::PixelSize> targetSize(const velmorant::Alignment& alignment) const;

    const std::shared_ptr<velmorant::StitchingStore> store_;
    const std::shared_ptr<ImageFiles> files_;
    const std::shared_ptr<FileLoader> loader_;
    const std::shared_ptr<velmorant::AlignerCache> cache_;
    const std::shared_ptr<const Seams> seams_;
    const velmorant::CoreImageRenderer blend_; ///< of whole pictures, which the store never holds
    const platform::DispatchQueue writingQueue_;
    Outputs outputs_;
    const PictureOptions options_;

    bool isPublished_ = false;
    std::optional<std::string> refusal_;
    std::size_t next_ = 0;   ///< of the store's groups, the first that may not have been begun
    std::size_t active_ = 0; ///< groups begun and not ended
    std::unordered_set<velmorant::Group> begun_;
    std::unordered_map<velmorant::Group, StitchedGroup> ended_;
};

} // namespace host
