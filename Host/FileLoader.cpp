#include "Host/FileLoader.hpp"

namespace host {

void FileLoader::loadImage(const velmorant::StitchableItem& item, bool, const Completion& completion) {
    const auto image = images_->image(item.id, [&]() -> std::expected<platform::CGImage, platform::ImageError> {
        const auto source = files_->image(item);
        if (!source)
            return std::unexpected(source.error());
        return uprightImage(source->image(), source->properties().orientation);
    });
    completion(image ? std::optional(platform::UIImage(*image)) : std::nullopt);
}

void FileLoader::forget(const std::vector<velmorant::StitchableItem>& items) {
    for (const velmorant::StitchableItem& item : items)
        images_->forget(item.id);
}

} // namespace host
