#pragma once

#include <string>

namespace platform {

/// What the whole process shares: set once by the host at its start, and by a test around itself; without one the
/// defaults below hold. One at a time, on the main thread, before any other thread asks.
class Device {
public:
    struct Settings {
        std::string timeZone; ///< as in "Europe/Berlin"; empty: the system's
    };

    explicit Device(Settings settings);
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    static const Settings& current();

private:
    const Settings settings_;
};

} // namespace platform
