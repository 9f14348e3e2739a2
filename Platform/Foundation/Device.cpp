#include "Platform/Foundation/Device.hpp"

#include "Platform/Dispatch/Mutex.hpp"

#include <atomic>
#include <cassert>
#include <cstdlib>
#include <optional>
#include <utility>

namespace platform {

namespace fs = std::filesystem;

struct Device::State {
    explicit State(Settings given) : settings(std::move(given)) {}

    const Settings settings;

    Mutex mutex;
    std::vector<std::pair<std::type_index, std::shared_ptr<void>>> shared VELMORANT_GUARDED_BY(mutex);

    std::shared_ptr<void> find(std::type_index type) VELMORANT_REQUIRES(mutex) {
        for (const auto& [its, object] : shared)
            if (its == type)
                return object;
        return nullptr;
    }

    std::shared_ptr<void> takeLast() {
        const MutexLock lock(mutex);
        if (shared.empty())
            return nullptr;
        auto last = std::move(shared.back().second);
        shared.pop_back();
        return last;
    }
};

namespace {

std::atomic<Device*> currentDevice = nullptr;

/// The folder that an XDG variable names; relative ones count as not set.
fs::path userFolder(const char* variable, const char* belowHome) {
    if (const char* folder = std::getenv(variable); folder && fs::path(folder).is_absolute())
        return folder;
    const char* home = std::getenv("HOME");
    return home && fs::path(home).is_absolute() ? fs::path(home) / belowHome : fs::path();
}

} // namespace

DeviceFolders DeviceFolders::inside(const fs::path& home) {
    return {home, home / "Documents", home / "Caches", home / "Defaults", home / "Photos"};
}

DeviceFolders DeviceFolders::ofUser(const std::string& application) {
    DeviceFolders folders;
    if (const fs::path data = userFolder("XDG_DATA_HOME", ".local/share"); !data.empty())
        folders.documents = folders.defaults = data / application;
    if (const fs::path caches = userFolder("XDG_CACHE_HOME", ".cache"); !caches.empty())
        folders.caches = caches / application;
    return folders;
}

Device::Device(Settings settings) : state_(std::make_unique<State>(std::move(settings))) {
    [[maybe_unused]] const Device* former = currentDevice.exchange(this);
    assert(!former && "one device at a time");
}

Device::~Device() {
    while (state_->takeLast()) { // may ask for others while it goes
    }
    currentDevice = nullptr;
}

Device::State& Device::currentState() {
    if (const Device* device = currentDevice)
        return *device->state_;
    static State& withoutDevice = *new State(Settings()); // never destroyed: threads may ask to the very end
    return withoutDevice;
}

const Device::Settings& Device::current() {
    return currentState().settings;
}

std::shared_ptr<void> Device::shared(std::type_index type, std::shared_ptr<void> (*make)()) {
    State& state = currentState();
    {
        const MutexLock lock(state.mutex);
        if (auto object = state.find(type))
            return object;
    }
    auto made = make(); // unlocked, for it may ask for others; of two made at once the first to arrive stays
    const MutexLock lock(state.mutex);
    if (auto object = state.find(type))
        return object;
    state.shared.emplace_back(type, made);
    return made;
}

} // namespace platform
