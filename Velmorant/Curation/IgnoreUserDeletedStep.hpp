#pragma once

#include "Velmorant/Curation/RememberedItems.hpp"
#include "Velmorant/Pipeline/PipelineStep.hpp"
#include "Velmorant/Pipeline/PipelineStepObservable.hpp"
#include "Velmorant/Pipeline/PipelineStepObservableBatchChangeHandler.hpp"

namespace velmorant {

/// Keeps the items of groups that the user deleted out of all groups; a group that becomes empty stays. Any thread;
/// handlers are called on the thread of the change.
class IgnoreUserDeletedStep final : public PipelineStep, public PipelineStepObservable {
public:
    std::string name() const override { return "Ignore blacklisted"; }
    std::vector<Group> process(std::vector<Group> groups) const override {
        return ignoredIDs_.removed(std::move(groups));
    }

    // On the disk when the call returns; a failure shows in `platform::lastWriteFailure`.

    void ignore(const Group& group) {
        ignoredIDs_.insert(idsOf(group));
        batchChangeHandler_.notifyChange();
    }
    void unignore(const Group& group) {
        ignoredIDs_.erase(idsOf(group));
        batchChangeHandler_.notifyChange();
    }

    /// For the steps made from now on; this one goes on ignoring what it ignores.
    void reset() { ignoredIDs_.forgetStored(); }

    void watchForChanges(ChangeHandler changeHandler) override {
        batchChangeHandler_.registerHandler(std::move(changeHandler));
    }
    void performWithoutNotifiyingChanges(const SilentChange& change) override {
        batchChangeHandler_.performSilenced(change);
    }

private:
    mutable RememberedItems ignoredIDs_{"RVNImageGroupDataSourceBlacklistGroupsKey", RememberedItems::Reading::split};
    PipelineStepObservableBatchChangeHandler batchChangeHandler_;
};

} // namespace velmorant
