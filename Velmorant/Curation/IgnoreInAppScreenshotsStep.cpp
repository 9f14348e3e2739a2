#include "Velmorant/Curation/IgnoreInAppScreenshotsStep.hpp"

#include "Platform/Foundation/NotificationCenter.hpp"

namespace velmorant {

std::shared_ptr<IgnoreInAppScreenshotsStep> IgnoreInAppScreenshotsStep::make(PhotosStitchableDataSource source) {
    const std::shared_ptr<IgnoreInAppScreenshotsStep> step(new IgnoreInAppScreenshotsStep(std::move(source)));
    platform::NotificationCenter::defaultCenter()->addObserver(notification, [step] { step->screenshotTaken(); });
    return step;
}

void IgnoreInAppScreenshotsStep::screenshotTaken() {
    source_.fetchItems(platform::DispatchQueue::main(),
                       [self = shared_from_this()](const std::vector<StitchableItem>& items) {
                           if (!items.empty())
                               self->ignoredIDs_.insert({items.front().id});
                       });
    batchChangeHandler_.notifyChange();
}

} // namespace velmorant
