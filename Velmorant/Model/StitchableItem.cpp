#include "Velmorant/Model/StitchableItem.hpp"

namespace velmorant {

PixelSize StitchableItem::size() const {
    if (type != ItemType::prestitchedWithWatermark)
        return assetSize;
    const auto strip = static_cast<std::int64_t>(static_cast<double>(assetSize.width) * 0.12);
    return {assetSize.width, assetSize.height - strip, assetSize.scale};
}

std::string StitchableItem::debugDescription() const {
    const PixelSize shown = size();
    return date.description() + " (" + std::to_string(shown.width) + "x" + std::to_string(shown.height) + ")";
}

std::optional<StitchableItem::ItemType> itemTypeFromRawValue(std::int64_t rawValue) {
    if (rawValue < 0 || rawValue > 2)
        return std::nullopt;
    return static_cast<StitchableItem::ItemType>(rawValue);
}

std::string debugDescription(const std::vector<StitchableItem>& items) {
    std::string text = "[";
    for (const StitchableItem& item : items) {
        if (text.size() > 1)
            text += ", ";
        text += item.debugDescription();
    }
    return text + "]";
}

} // namespace velmorant
