#pragma once

#include <filesystem>
#include <string>

namespace platform {

/// Why a photo library could not be read or changed. A code and the facts; sentences for people are the host's.
struct PhotoLibraryError {
    enum class Code {
        denied,       ///< the user does not grant access
        damaged,      ///< the catalogue contradicts itself, or is no catalogue
        newerVersion, ///< the catalogue was written by a later version of this program
        readFailed,   ///< the system could not read it
        writeFailed,  ///< the system could not write it
        busy,         ///< another process changes it, and the caller waits no longer
        badImage,     ///< an image to be added cannot be read or drawn
    };

    Code code = Code::readFailed;
    std::filesystem::path file; ///< the one that the error is about
    std::string detail = {};    ///< the system's own words, in English; may be empty
};

} // namespace platform
