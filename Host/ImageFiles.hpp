#pragma once

#include "Platform/ImageIO/CGImageSource.hpp"
#include "Velmorant/Model/StitchableItem.hpp"

#include <cstddef>
#include <expected>
#include <filesystem>
#include <string>

namespace host {

/// The files behind a source's items. Any thread.
class ImageFiles {
public:
    virtual ~ImageFiles() = default;

    virtual std::size_t fileCount() const = 0;
    virtual std::size_t openedCount() const = 0; ///< so far

    // Of an item that is or was among those fetched.

    virtual const std::filesystem::path& path(const velmorant::StitchableItem& item) const = 0;
    /// What people know it by, and the same in short beside another one.
    virtual std::string name(const velmorant::StitchableItem& item) const = 0;
    virtual std::string shortName(const velmorant::StitchableItem& item) const = 0;
    virtual std::expected<platform::CGImageSource, platform::ImageError>
    image(const velmorant::StitchableItem& item) const = 0;

    /// The item's file proved bad: from now on it is no item, and the source's change handlers are called.
    virtual void drop(const std::string& id, const platform::ImageError& error) = 0;
    virtual bool isDropped(const velmorant::StitchableItem& item) const = 0;
};

} // namespace host
