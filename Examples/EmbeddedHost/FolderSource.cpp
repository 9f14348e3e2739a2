#include "FolderSource.hpp"

#include "Platform/ImageIO/CaptureDate.hpp"

#include <algorithm>

using velmorant::StitchableItem;

FolderSource::FolderSource(const std::filesystem::path& folder) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const auto image = platform::CGImageSource::open(entry.path());
        if (!image)
            continue;
        const platform::ImageProperties& properties = image->properties();
        const velmorant::PixelSize size{properties.uprightWidth(), properties.uprightHeight(), 1};

        auto taken = properties.captureDate;
        if (!taken)
            taken = platform::captureDateFromFileName(entry.path().filename().native());
        const auto date = taken ? platform::Calendar::current().date(*taken) : std::nullopt;

        const std::string id = entry.path().native();
        items_.emplace_back(id, date.value_or(platform::Date::now()), size, StitchableItem::ItemType::unstitched);
        images_.emplace(id, *image);
    }
    std::ranges::sort(items_, {}, [](const StitchableItem& item) { return std::pair(item.date, item.id); });
}

void FolderSource::fetchItems(const platform::DispatchQueue& queue,
                              std::function<void(std::vector<StitchableItem>)> completion) {
    queue.async([items = items_, completion = std::move(completion)] { completion(items); });
}

/// The folder is read once, so there is one thing to announce: that its items are there.
void FolderSource::watchForChanges(ChangeHandler changeHandler) {
    changeHandler();
}

void FolderSource::loadImage(const StitchableItem& item, bool, const Completion& completion) {
    const platform::CGImageSource& source = images_.at(item.id);
    auto upright = uprightImage(source.image(), source.properties().orientation);
    completion(upright ? std::optional(platform::UIImage(std::move(*upright))) : std::nullopt);
}
