#pragma once

#include "Platform/Foundation/Date.hpp"
#include "Velmorant/Model/Size.hpp"

#include <optional>
#include <string>
#include <vector>

namespace velmorant {

/// One screenshot, or one stitched image saved earlier, as the data source reports it.
struct StitchableItem {
    enum class ItemType : int {
        unstitched = 0,               ///< an ordinary screenshot
        prestitched = 1,              ///< a stitched image saved earlier
        prestitchedWithWatermark = 2, ///< the same with a watermark strip along its bottom edge
    };

    std::string id; ///< in its source; stable across fetches
    platform::Date date;
    ItemType type = ItemType::unstitched;
    PixelSize assetSize; ///< the stored image's full size

    StitchableItem() = default;
    StitchableItem(std::string id, platform::Date date, PixelSize size, ItemType type)
        : id(std::move(id)), date(date), type(type), assetSize(size) {}

    /// The part that shows content: without the watermark strip, whose height is the width times 0.12, truncated.
    PixelSize size() const;

    /// The date and `size`, as in "2021-03-04 10:11:12 +0000 (1170x4860)".
    std::string debugDescription() const;

    friend bool operator==(const StitchableItem&, const StitchableItem&) = default;
};

/// The type of a raw value; nothing for any other than 0, 1 and 2.
std::optional<StitchableItem::ItemType> itemTypeFromRawValue(std::int64_t rawValue);

/// "[", the items' debug descriptions separated by ", ", "]".
std::string debugDescription(const std::vector<StitchableItem>& items);

} // namespace velmorant

template <>
struct std::hash<velmorant::StitchableItem> {
    std::size_t operator()(const velmorant::StitchableItem& item) const noexcept {
        return velmorant::hashOf(item.id, item.date, static_cast<int>(item.type), item.assetSize);
    }
};
