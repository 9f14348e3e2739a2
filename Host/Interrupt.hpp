#pragma once

namespace host {

/// Ctrl-C and its kin (SIGINT, SIGTERM, SIGHUP) ask the work to stop; whoever does long work asks in turn. A second
/// Ctrl-C ends the process at once.
class Interrupt {
public:
    static void watch();
    static bool requested();
};

} // namespace host
