#pragma once

#include "Platform/Dispatch/Mutex.hpp"
#include "Velmorant/Pipeline/PipelineStepObservable.hpp"

#include <utility>
#include <vector>

namespace velmorant {

/// The change handlers of an observable step, which embeds it. Any thread; handlers are called outside the lock.
class PipelineStepObservableBatchChangeHandler {
public:
    void registerHandler(PipelineStepObservable::ChangeHandler handler) {
        const platform::MutexLock lock(mutex_);
        handlers_.push_back(std::move(handler));
    }

    /// Calls the handlers, in the order of their registration, unless silenced.
    void notifyChange() const {
        for (const auto& handler : handlersToCall())
            handler();
    }

    /// Nothing is announced meanwhile, nor afterwards. Not nested: the end of an inner use ends the outer one's
    /// silence.
    void performSilenced(const PipelineStepObservable::SilentChange& change) {
        setSilenced(true);
        change({});
        setSilenced(false);
    }

private:
    std::vector<PipelineStepObservable::ChangeHandler> handlersToCall() const {
        const platform::MutexLock lock(mutex_);
        return silenced_ ? std::vector<PipelineStepObservable::ChangeHandler>() : handlers_;
    }
    void setSilenced(bool silenced) {
        const platform::MutexLock lock(mutex_);
        silenced_ = silenced;
    }

    mutable platform::Mutex mutex_;
    bool silenced_ VELMORANT_GUARDED_BY(mutex_) = false;
    std::vector<PipelineStepObservable::ChangeHandler> handlers_ VELMORANT_GUARDED_BY(mutex_);
};

} // namespace velmorant
