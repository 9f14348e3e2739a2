#pragma once

#include "Platform/Dispatch/Mutex.hpp"
#include "Platform/Foundation/RegularFile.hpp"
#include "Velmorant/Pipeline/PipelineStep.hpp"
#include "Velmorant/Pipeline/PipelineStepObservable.hpp"
#include "Velmorant/Pipeline/PipelineStepObservableBatchChangeHandler.hpp"

#include <optional>
#include <vector>

namespace velmorant {

/// Adds the groups that the user made by hand, as they were made, to all others, and sorts them newest first. They are
/// kept in "ManuallyGrouped.json" in the documents folder, which is read at the start, and again once another process
/// wrote it. Any thread; handlers are called on the thread of the change.
class AddManuallyGroupedStep final : public PipelineStep, public PipelineStepObservable {
public:
    AddManuallyGroupedStep();

    std::string name() const override { return "Add manually grouped"; }
    std::vector<Group> process(std::vector<Group> groups) const override;

    // On the disk when the call returns; a failure shows in `platform::lastWriteFailure`. A file that does not decode
    // is set aside before it is replaced.

    void add(const Group& group);
    /// All that are equal to `group`; answers whether there was one.
    bool remove(const Group& group);

    void watchForChanges(ChangeHandler changeHandler) override {
        batchChangeHandler_.registerHandler(std::move(changeHandler));
    }
    void performWithoutNotifiyingChanges(const SilentChange& change) override {
        batchChangeHandler_.performSilenced(change);
    }

private:
    void refresh() const VELMORANT_REQUIRES(mutex_);
    void store() VELMORANT_REQUIRES(mutex_);

    PipelineStepObservableBatchChangeHandler batchChangeHandler_;
    mutable platform::Mutex mutex_;
    mutable std::vector<Group> manuallyGrouped_ VELMORANT_GUARDED_BY(mutex_); ///< in the order of their addition
    mutable std::optional<platform::FileIdentity> version_ VELMORANT_GUARDED_BY(mutex_); ///< of the file as last seen
};

} // namespace velmorant
