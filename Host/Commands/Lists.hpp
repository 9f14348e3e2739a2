#pragma once

#include "Host/ExitStatus.hpp"

namespace host {

// What is in the library. Nothing is matched, and nothing is written.

/// `velmorant items`.
ExitStatus listItems(bool json);

struct GroupListOptions {
    bool ignored = false; ///< those that the user ignores
    bool json = false;
};

/// `velmorant groups`.
ExitStatus listGroups(const GroupListOptions& options);

/// `velmorant albums`.
ExitStatus listAlbums(bool json);

} // namespace host
