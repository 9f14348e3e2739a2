#pragma once

#include "Platform/ImageIO/ImageLimits.hpp"

#include <compare>
#include <filesystem>
#include <memory>
#include <string>
#include <typeindex>
#include <vector>

namespace platform {

/// Where a device keeps its files. An empty path: it has no such folder. The folders need not exist; whoever writes
/// makes them first.
struct DeviceFolders {
    std::filesystem::path home;         ///< what lies inside it belongs to the device
    std::filesystem::path documents;    ///< what the user decided
    std::filesystem::path caches;       ///< may be deleted at any time
    std::filesystem::path defaults;     ///< user defaults
    std::filesystem::path photoLibrary; ///< catalogue and photos

    /// All of them inside `home`: a photo library's, a test's.
    static DeviceFolders inside(const std::filesystem::path& home);

    /// The user's own by the XDG rules, in subfolders named `application`: XDG_DATA_HOME (else ~/.local/share) and
    /// XDG_CACHE_HOME (else ~/.cache). Without a home folder, and without a photo library.
    static DeviceFolders ofUser(const std::string& application);
};

struct OperatingSystemVersion {
    int major = 0;
    int minor = 0;

    friend auto operator<=>(const OperatingSystemVersion&, const OperatingSystemVersion&) = default;
};

/// What the whole process shares hangs off the device: set once by the host at its start, and by a test around itself;
/// without one the default settings hold, which name no folder. One at a time; made and ended on the main thread while
/// no other thread asks.
class Device {
public:
    struct Settings {
        DeviceFolders folders = {};
        std::string timeZone = {}; ///< as in "Europe/Berlin"; empty: the system's
        double screenScale = 1;    ///< pixels per point
        OperatingSystemVersion operatingSystem = {14, 0};
        std::string hostIdentifier = "com.velmorant.host"; ///< reverse-DNS; queue labels and cache paths begin with it
        std::string softwareMark = {};     ///< goes into the metadata of pictures that the device writes
        ImageLimits imageLimits = {};      ///< of pictures for which nothing else is said
        std::filesystem::path codecs = {}; ///< the helper for further formats; empty: it is looked for
    };

    explicit Device(Settings settings);
    /// Drops the shared objects, and with them all handlers and observers; the last made goes first.
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    static const Settings& current();

    /// The device's one `T`, made when it is first asked for. Any thread. Not to be kept: an object that is still held
    /// when the device ends outlives it.
    template <class T>
    static std::shared_ptr<T> shared() {
        return std::static_pointer_cast<T>(
            shared(typeid(T), [] { return std::shared_ptr<void>(std::make_shared<T>()); }));
    }

private:
    struct State;

    static State& currentState();
    static std::shared_ptr<void> shared(std::type_index type, std::shared_ptr<void> (*make)());

    const std::unique_ptr<State> state_;
};

} // namespace platform
