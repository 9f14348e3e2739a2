#pragma once

#include "Host/ExitStatus.hpp"

#include <filesystem>
#include <string>
#include <vector>

namespace host {

// The user's decisions. Each is on the disk before it is told. Items and groups are named by prefixes of their ids.

struct NamedOptions {
    std::vector<std::string> names;
    bool all = false; ///< all of them, instead of names
    bool yes = false; ///< do not ask
    bool json = false;
};

ExitStatus ignoreGroup(const NamedOptions& groups);    ///< `velmorant ignore`
ExitStatus unignoreGroups(const NamedOptions& groups); ///< `velmorant unignore`
ExitStatus combineItems(const NamedOptions& items);    ///< `velmorant combine`
ExitStatus separateGroup(const NamedOptions& groups);  ///< `velmorant separate`
ExitStatus deleteItems(const NamedOptions& items);     ///< `velmorant delete`: into the trash
ExitStatus restoreItems(const NamedOptions& items);    ///< `velmorant restore`: out of the trash
ExitStatus emptyTrash(const NamedOptions& options);    ///< `velmorant trash empty`
ExitStatus listTrash(bool json);                       ///< `velmorant trash`

/// `velmorant permission`: `verb` is "", "grant", "limit", "deny" or "ask".
ExitStatus permission(const std::string& verb, const NamedOptions& items);

/// `velmorant capture-note`: tells that a screenshot of the application was taken just now.
ExitStatus noteCapture();

} // namespace host
