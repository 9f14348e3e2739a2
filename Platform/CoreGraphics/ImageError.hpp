#pragma once

#include <string>

namespace platform {

/// Why an image could not be opened, decoded or encoded. A code and the facts; sentences for people are the host's.
struct ImageError {
    enum class Code {
        missing,        ///< no such file
        noPermission,   ///< it may not be read or written
        notRegularFile, ///< a folder, pipe, socket or device
        notAnImage,     ///< no format that we read
        unsupported,    ///< a known format, but a kind of it that we do not read or write
        truncated,      ///< the file ends too early
        damaged,        ///< its content contradicts itself
        tooLarge,       ///< more pixels than are allowed, or than the format holds; `detail` names the limit
        overloaded,     ///< more metadata or scans than any picture needs; `detail` names which
        changed,        ///< not the file any more that was opened
        readFailed,     ///< the system could not read it
        writeFailed,    ///< the system could not write it
        outOfMemory,
        overMemory, ///< it would take more memory at once than allowed; nothing was decoded or encoded
        cancelled,
    };

    Code code = Code::damaged;
    std::string detail; ///< the codec's or the system's own words, in English; may be empty

    friend bool operator==(const ImageError&, const ImageError&) = default;
};

} // namespace platform
