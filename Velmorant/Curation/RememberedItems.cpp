#include "Velmorant/Curation/RememberedItems.hpp"

#include <algorithm>
#include <iterator>

namespace velmorant {

using platform::MutexLock;
using platform::UserDefaults;

RememberedItems::RememberedItems(std::string key, Reading reading) : key_(std::move(key)), reading_(reading) {
    const MutexLock lock(mutex_);
    refresh();
}

std::vector<Group> RememberedItems::removed(std::vector<Group> from) {
    const MutexLock lock(mutex_);
    refresh();
    for (Group& group : from) {
        std::vector<StitchableItem> items = std::move(group).items();
        if (!ids_.empty())
            std::erase_if(items, [this](const StitchableItem& item)
                                     VELMORANT_REQUIRES(mutex_) { return ids_.contains(item.id); });
        group = Group(std::move(items));
    }
    return from;
}

void RememberedItems::insert(const std::vector<std::string>& ids) {
    const MutexLock lock(mutex_);
    refresh();
    ids_.insert(ids.begin(), ids.end());
    store();
}

void RememberedItems::erase(const std::vector<std::string>& ids) {
    const MutexLock lock(mutex_);
    refresh();
    for (const std::string& id : ids)
        ids_.erase(id);
    store();
}

void RememberedItems::forgetStored() {
    const MutexLock lock(mutex_);
    UserDefaults::remove(key_);
    version_ = UserDefaults::version(key_);
}

void RememberedItems::refresh() {
    const auto version = UserDefaults::version(key_);
    if (version == version_)
        return;
    version_ = version;
    ids_.clear();
    for (const std::string& text : UserDefaults::stringArray(key_).value_or(std::vector<std::string>()))
        for (std::size_t from = 0, to = 0; to != std::string::npos; from = to + 1) {
            to = reading_ == Reading::split ? text.find('_', from) : std::string::npos;
            ids_.insert(text.substr(from, to - from));
        }
}

void RememberedItems::store() {
    UserDefaults::set(key_, {ids_.begin(), ids_.end()});
    version_ = UserDefaults::version(key_);
}

std::vector<std::string> idsOf(const Group& group) {
    std::vector<std::string> ids;
    std::ranges::transform(group.items(), std::back_inserter(ids), &StitchableItem::id);
    return ids;
}

} // namespace velmorant
