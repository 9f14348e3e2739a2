#pragma once

#include "Platform/Foundation/UUID.hpp"

#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace velmorant {

/// The callbacks that wait for pieces of work, by the work's key. A key is there exactly while its work is in flight; a
/// request that was cancelled stays known to its key until then, without a callback. Not synchronized.
template <class Key, class Callback>
class CompletionBag {
public:
    /// Answers true where nothing of that key was in flight: the caller then starts the work.
    bool add(Callback callback, const Key& key, platform::UUID id) {
        completions_.insert_or_assign(id, std::move(callback));
        const auto [waiting, isFirst] = ids_.try_emplace(key);
        waiting->second.insert(id);
        return isFirst;
    }

    /// Ends the key's work: takes out the callbacks that still wait for it, in no order.
    std::vector<Callback> removeCompletions(const Key& key) {
        std::vector<Callback> callbacks;
        if (const auto waiting = ids_.extract(key))
            for (const platform::UUID& id : waiting.mapped())
                if (auto callback = completions_.extract(id))
                    callbacks.push_back(std::move(callback.mapped()));
        return callbacks;
    }

    /// Drops one callback; the work goes on.
    void removeCompletion(const platform::UUID& id) { completions_.erase(id); }

private:
    std::unordered_map<platform::UUID, Callback> completions_;
    std::unordered_map<Key, std::unordered_set<platform::UUID>> ids_;
};

} // namespace velmorant
