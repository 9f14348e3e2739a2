#pragma once

#include "Platform/Foundation/Date.hpp"
#include "Platform/Photos/PHAsset.hpp"
#include "Platform/Photos/PHCollection.hpp"
#include "Platform/Photos/PhotoLibraryError.hpp"
#include "Platform/UIKit/UIImage.hpp"

#include <expected>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace platform {

// Requests are made within the change block of `PHPhotoLibrary::performChanges`, on its thread, and carried out when it
// ends. Elsewhere the functions answer nothing and do nothing.

/// An asset or collection that will be there once the changes have been carried out.
struct PHObjectPlaceholder {
    std::string localIdentifier;
};

class OriginalDraft;

/// An image as a file of the library, drawn before the change block that files it: the library is not locked meanwhile.
/// It leaves no trace where it is not filed. A value: copies share the file.
class PHAssetDraft {
public:
    /// Draws `image` as a PNG, band by band, with `creationDate` and the device's software mark in its metadata. Fails
    /// once `isCancelled`, which may be empty, says so. Any thread.
    [[nodiscard]] static std::expected<PHAssetDraft, PhotoLibraryError>
    draw(const UIImage& image, const Date& creationDate, const std::function<bool()>& isCancelled = {});

private:
    friend class PHAssetCreationRequest;
    PHAssetDraft(std::shared_ptr<OriginalDraft> file, const Date& creationDate, const CGSize& pixels)
        : file_(std::move(file)), creationDate_(creationDate), pixels_(pixels) {}

    std::shared_ptr<OriginalDraft> file_;
    Date creationDate_;
    CGSize pixels_;
};

/// Adds an asset. What is set may be set until the change block ends.
class PHAssetCreationRequest {
public:
    /// Draws and files `image`, as a draft is drawn. Null for an image without pixels.
    static std::shared_ptr<PHAssetCreationRequest> creationRequestForAssetFromImage(const UIImage& image);
    /// Files a draft; of two requests for one draft the second fails.
    static std::shared_ptr<PHAssetCreationRequest> creationRequestForAssetFromDraft(const PHAssetDraft& draft);
    /// Files a copy of an image file, byte for byte. Whether it is an image shows when the changes are carried out.
    static std::shared_ptr<PHAssetCreationRequest>
    creationRequestForAssetFromImageAtFileURL(const std::filesystem::path& file);

    /// At first: now.
    const std::optional<Date>& creationDate() const { return asset_->creationDate; }
    void setCreationDate(std::optional<Date> date) { asset_->creationDate = date; }
    void setMediaSubtypes(std::int64_t subtypes) { asset_->mediaSubtypes = subtypes; }

    std::optional<PHObjectPlaceholder> placeholderForCreatedAsset() const {
        return PHObjectPlaceholder{asset_->localIdentifier};
    }

private:
    explicit PHAssetCreationRequest(std::shared_ptr<PHAsset> asset) : asset_(std::move(asset)) {}
    std::shared_ptr<PHAsset> asset_; ///< as it will be
};

/// Changes assets that are there. Those that are gone by then are passed over.
class PHAssetChangeRequest {
public:
    /// They wait in the trash, from which they can be restored with their places in albums.
    static void deleteAssets(const std::vector<PHAsset>& assets);
    static void restoreAssets(const std::vector<PHAsset>& assets);

    static void setCreationDate(const PHAsset& asset, Date date);
    static void setMediaSubtypes(const PHAsset& asset, std::int64_t subtypes);

    /// Keeps a text with an asset for the application: `notesOfAssets` lists them.
    static void setNote(const std::string& localIdentifier, const std::string& note);
};

/// Changes an album, or makes one.
class PHAssetCollectionChangeRequest {
public:
    static std::shared_ptr<PHAssetCollectionChangeRequest>
    creationRequestForAssetCollection(const std::string& title,
                                      const std::optional<PHObjectPlaceholder>& inFolder = std::nullopt);
    /// Null for an album that is not there any more.
    static std::shared_ptr<PHAssetCollectionChangeRequest>
    changeRequestForAssetCollection(const PHAssetCollection& collection);

    /// At the album's end, in this order; those in it already stay where they are.
    void addAssets(const std::vector<PHObjectPlaceholder>& assets);

private:
    explicit PHAssetCollectionChangeRequest(std::string identifier) : identifier_(std::move(identifier)) {}
    std::string identifier_;
};

/// Makes a folder of collections at the top level.
class PHCollectionListChangeRequest {
public:
    static std::optional<PHObjectPlaceholder> creationRequestForCollectionList(const std::string& title);
};

/// An asset's local identifier and the note that the application keeps with it.
struct PHAssetNote {
    std::string localIdentifier;
    std::string note;
};

enum class Deleted { left, included };

/// Of all assets that have one. One query.
std::vector<PHAssetNote> notesOfAssets(Deleted deleted = Deleted::left);

} // namespace platform
