#include "Platform/Foundation/NotificationCenter.hpp"

#include "Platform/Foundation/Device.hpp"

namespace platform {

std::shared_ptr<NotificationCenter> NotificationCenter::defaultCenter() {
    return Device::shared<NotificationCenter>();
}

void NotificationCenter::addObserver(std::string name, std::function<void()> block) {
    const MutexLock lock(mutex_);
    observers_.emplace_back(std::move(name), std::move(block));
}

void NotificationCenter::post(const std::string& name) const {
    std::vector<std::function<void()>> called;
    {
        const MutexLock lock(mutex_);
        for (const auto& [observed, block] : observers_)
            if (observed == name)
                called.push_back(block);
    }
    for (const auto& block : called)
        block();
}

} // namespace platform
