#pragma once

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/UIKit/UIImage.hpp"
#include "Platform/UIKit/UIViewController.hpp"
#include "Velmorant/Model/Group.hpp"
#include "Velmorant/Pipeline/PipelineStepObservable.hpp"

#include <functional>
#include <optional>
#include <vector>

namespace velmorant {

/// What the user lets the application see.
enum class StitchableDataSourcePermissionStatus {
    notRequested, ///< the user has not been asked yet
    allowed,      ///< everything, to read and to write
    limited,      ///< a part that the user chose
    denied,       ///< nothing, by the user or by the device
};

/// Where a pipeline's items come from, and where stitched images go. Nothing blocks its caller, and nothing reports an
/// error: what failed shows as an empty list, a false flag or a callback that does not come.
///
/// Its change handlers are called whenever `fetchItems` might answer another list, on any thread, and once, at their
/// registration, on the registering one.
class StitchableDataSource : public PipelineStepObservable {
public:
    /// Asked afresh each time.
    virtual StitchableDataSourcePermissionStatus permissionStatus() const = 0;

    /// Has the user asked. Once the answer is there, whatever it is: `completion`, where there is one, then all change
    /// handlers are called, on the thread that brings the answer.
    virtual void promptForPermission(std::function<void()> completion) = 0;

    /// Lets the user choose what the application may see, where the system knows such a choice. `completion` may be
    /// empty and need not be called: a new choice shows as a change.
    virtual void promptForLimitedSelection(const platform::UIViewController& from,
                                           std::function<void()> completion) = 0;

    /// Calls `completion` once, later, on the serial `queue`; with no items where access is not granted.
    virtual void fetchItems(const platform::DispatchQueue& queue,
                            std::function<void(std::vector<StitchableItem>)> completion) = 0;

    /// Files an image rendered from `group` among the stitched ones. `completion`, which may be empty, receives its
    /// item, on any thread, once it is filed.
    virtual void save(const platform::UIImage& stitched, const Group& group, bool watermarked,
                      std::function<void(StitchableItem)> completion) = 0;

    /// Deletes the items' images. `completion`, which may be empty, hears whether that succeeded, on any thread.
    virtual void deleteItems(const std::vector<StitchableItem>& items, std::function<void(bool)> completion) = 0;
};

} // namespace velmorant
