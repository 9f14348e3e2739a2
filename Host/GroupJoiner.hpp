#pragma once

#include "Host/FileLoader.hpp"
#include "Host/FileSource.hpp"
#include "Host/OutputFile.hpp"
#include "Velmorant/Alignment/OpenCVAligner.hpp"
#include "Velmorant/Model/Group.hpp"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace host {

/// What became of one group.
struct JoinedGroup {
    velmorant::Group group; ///< without the files that proved bad
    std::optional<velmorant::Alignment> alignment;
    velmorant::OpenCVAligner::Pairs pairs; ///< how every two consecutive items match
    std::optional<std::string> error;      ///< for people; there is no picture then
    std::optional<std::filesystem::path> output;

    /// The items that have no place in the picture; none where there is no picture at all.
    std::vector<velmorant::StitchableItem> leftOut() const;
};

/// Takes a group from its files to its picture: matches, aligns, draws and writes. A file that proves bad on the way is
/// dropped and the others are joined as if it were not there.
class GroupJoiner {
public:
    GroupJoiner(std::shared_ptr<const FileSource> files, std::shared_ptr<velmorant::LogStore> logger);

    /// On the main thread, whose queue it drains. After Ctrl-C it returns soon, with neither picture nor error.
    JoinedGroup join(std::vector<velmorant::StitchableItem> items, const OutputFile& output);

    /// The files that proved bad while they were read.
    std::vector<BadFile> bad() const;

private:
    std::optional<velmorant::Aligner::Result> align(JoinedGroup& joined) const;
    std::expected<void, platform::ImageError> draw(const JoinedGroup& joined, const OutputFile& output) const;

    const std::shared_ptr<const FileSource> files_;
    const std::shared_ptr<FileLoader> loader_;
    const std::shared_ptr<velmorant::LogStore> logger_;
};

} // namespace host
