#include "Platform/Foundation/Device.hpp"

#include <atomic>
#include <cassert>

namespace platform {

namespace {

std::atomic<const Device::Settings*> currentSettings = nullptr;

} // namespace

Device::Device(Settings settings) : settings_(std::move(settings)) {
    [[maybe_unused]] const auto* former = currentSettings.exchange(&settings_);
    assert(!former && "one device at a time");
}

Device::~Device() {
    currentSettings = nullptr;
}

const Device::Settings& Device::current() {
    static const Settings defaults;
    const Settings* settings = currentSettings;
    return settings ? *settings : defaults;
}

} // namespace platform
