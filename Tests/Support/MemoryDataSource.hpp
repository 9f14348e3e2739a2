#pragma once

#include "Velmorant/DataSources/StitchableDataSource.hpp"

#include <utility>
#include <vector>

namespace velmorant {

/// Items in memory. Its fetches answer later, on the queue that is asked for.
class MemoryDataSource final : public StitchableDataSource {
public:
    explicit MemoryDataSource(std::vector<StitchableItem> items = {}) : items_(std::move(items)) {}

    /// On the main thread.
    void setItems(std::vector<StitchableItem> items) {
        items_ = std::move(items);
        notify();
    }
    /// Lets go of whoever watches: a store and its source hold each other.
    void endWatching() { handlers_.clear(); }
    void notify() {
        for (const ChangeHandler& handler : handlers_)
            handler();
    }

    StitchableDataSourcePermissionStatus permissionStatus() const override {
        return StitchableDataSourcePermissionStatus::allowed;
    }
    void promptForPermission(std::function<void()>) override {}
    void promptForLimitedSelection(const platform::UIViewController&, std::function<void()>) override {}
    void fetchItems(const platform::DispatchQueue& queue,
                    std::function<void(std::vector<StitchableItem>)> completion) override {
        queue.async([items = items_, completion = std::move(completion)]() mutable { completion(std::move(items)); });
    }
    void save(const platform::UIImage&, const Group&, bool, std::function<void(StitchableItem)>) override {}
    void deleteItems(const std::vector<StitchableItem>&, std::function<void(bool)>) override {}
    void watchForChanges(ChangeHandler changeHandler) override {
        handlers_.push_back(std::move(changeHandler));
        handlers_.back()();
    }
    void performWithoutNotifiyingChanges(const SilentChange& change) override { change({}); }

private:
    std::vector<StitchableItem> items_;
    std::vector<ChangeHandler> handlers_;
};

} // namespace velmorant
