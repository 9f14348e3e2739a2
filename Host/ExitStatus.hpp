#pragma once

namespace host {

/// What the program tells its caller.
enum class ExitStatus : int {
    success = 0,    ///< every screenshot found its place
    incomplete = 1, ///< a group was refused, a screenshot left out of its run, or a file could not be read or written
    wrongCall = 2,  ///< the call itself cannot be carried out; nothing was done
    interrupted = 130, ///< Ctrl-C
};

} // namespace host
