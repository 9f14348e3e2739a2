#pragma once

#include "Host/InputFiles.hpp"
#include "Host/Library.hpp"
#include "Velmorant/Alignment/AlignerDiskCache.hpp"

#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace host {

/// What became of a group that was to be filed.
struct Filed {
    std::optional<velmorant::StitchableItem> picture; ///< read back from the library
    std::optional<std::string> error;                 ///< for people; there is no picture then
    bool mayPass = false;                             ///< the error; so it is worth another try
    bool wasThere = false;                            ///< another process has filed the group meanwhile
    std::size_t joined = 0;                           ///< screenshots in the picture
    std::vector<velmorant::StitchableItem> leftOut;
    std::vector<BadFile> bad; ///< screenshots that could not be read
};

/// Stitches groups of the library and files their pictures in the album of stitched images. The library is locked only
/// while a finished picture is filed. On the main thread.
class Filing {
public:
    Filing();
    ~Filing();

    /// Matches, draws and files. A picture filed for a part of this group is replaced: it goes into the trash.
    Filed file(const velmorant::Group& group);

    /// The ids of all groups that were filed as they are, be their pictures in the trash by now.
    static std::unordered_set<std::string> filedGroups();

private:
    const std::shared_ptr<velmorant::AlignerDiskCache> cache_;
};

} // namespace host
