#pragma once

#include <functional>

namespace velmorant {

/// A step or data source whose output depends on more than its input: a file, user defaults, the photo library.
class PipelineStepObservable {
public:
    using ChangeHandler = std::function<void()>;
    /// Is handed a callback by which it tells that it has finished, or an empty one where its return tells as much.
    using SilentChange = std::function<void(const std::function<void()>& finished)>;

    virtual ~PipelineStepObservable() = default;

    /// `changeHandler` is called, on any thread, whenever the output for the same input may have changed. It is kept
    /// for as long as this object lives.
    virtual void watchForChanges(ChangeHandler changeHandler) = 0;

    /// Runs `change` within the call; nothing is told of what it changes.
    virtual void performWithoutNotifiyingChanges(const SilentChange& change) = 0;
};

} // namespace velmorant
