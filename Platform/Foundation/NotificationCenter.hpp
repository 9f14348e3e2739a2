#pragma once

#include "Platform/Dispatch/Mutex.hpp"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace platform {

/// Tells whoever listens that something happened. Any thread.
class NotificationCenter {
public:
    /// The device's own.
    static std::shared_ptr<NotificationCenter> defaultCenter();

    /// `block` is called at each `post` of `name`, on the posting thread, for as long as the device lasts.
    void addObserver(std::string name, std::function<void()> block);

    /// Calls the observers of `name` in the order of their registration. Those that are added meanwhile hear of the
    /// next one only.
    void post(const std::string& name) const;

private:
    mutable Mutex mutex_;
    std::vector<std::pair<std::string, std::function<void()>>> observers_ VELMORANT_GUARDED_BY(mutex_);
};

} // namespace platform
