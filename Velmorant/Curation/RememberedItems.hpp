#pragma once

#include "Platform/Dispatch/Mutex.hpp"
#include "Platform/Foundation/UserDefaults.hpp"
#include "Velmorant/Model/Group.hpp"

#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace velmorant {

/// Items that a step keeps out of the groups, remembered in the user defaults across launches. Read at the start, and
/// again once another process wrote them. Any thread.
class RememberedItems {
public:
    enum class Reading {
        whole, ///< each stored string is one id
        split, ///< several ids may be joined by "_", as in the id of a group
    };

    RememberedItems(std::string key, Reading reading);

    /// Every group rebuilt without these items: its date is that of its first item. Groups that became empty stay.
    std::vector<Group> removed(std::vector<Group> from);

    // Written at once, all of them.
    void insert(const std::vector<std::string>& ids);
    void erase(const std::vector<std::string>& ids);

    /// Takes them out of the user defaults, but not out of this object.
    void forgetStored();

private:
    void refresh() VELMORANT_REQUIRES(mutex_);
    void store() VELMORANT_REQUIRES(mutex_);

    const std::string key_;
    const Reading reading_;
    platform::Mutex mutex_;
    std::unordered_set<std::string> ids_ VELMORANT_GUARDED_BY(mutex_);
    std::optional<platform::FileIdentity> version_ VELMORANT_GUARDED_BY(mutex_); ///< of what was read or written last
};

/// The items' ids, in order.
std::vector<std::string> idsOf(const Group& group);

} // namespace velmorant
