#pragma once

#include "Host/ImageFiles.hpp"
#include "Host/InputFiles.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/Mutex.hpp"
#include "Velmorant/DataSources/StitchableDataSource.hpp"

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace host {

/// Some items of the photo library with their original files, for work on just these. Nothing is saved or deleted here.
class AssetSource final : public velmorant::StitchableDataSource,
                          public ImageFiles,
                          public std::enable_shared_from_this<AssetSource> {
public:
    /// Looks their files up, in one query.
    static std::shared_ptr<AssetSource> make(std::vector<velmorant::StitchableItem> items);

    std::size_t fileCount() const override { return items_.size(); }
    std::size_t openedCount() const override { return items_.size(); }
    /// Empty where the item is not in the library any more.
    const std::filesystem::path& path(const velmorant::StitchableItem& item) const override;
    std::string name(const velmorant::StitchableItem& item) const override;
    std::string shortName(const velmorant::StitchableItem& item) const override;
    std::expected<platform::CGImageSource, platform::ImageError>
    image(const velmorant::StitchableItem& item) const override;
    void drop(const std::string& id, const platform::ImageError& error) override;
    bool isDropped(const velmorant::StitchableItem& item) const override;
    std::vector<BadFile> bad() const; ///< those dropped

    velmorant::StitchableDataSourcePermissionStatus permissionStatus() const override {
        return velmorant::StitchableDataSourcePermissionStatus::allowed;
    }
    void promptForPermission(std::function<void()>) override {}
    void promptForLimitedSelection(const platform::UIViewController&, std::function<void()>) override {}
    void fetchItems(const platform::DispatchQueue& queue,
                    std::function<void(std::vector<velmorant::StitchableItem>)> completion) override;
    void save(const platform::UIImage&, const velmorant::Group&, bool,
              std::function<void(velmorant::StitchableItem)>) override {}
    void deleteItems(const std::vector<velmorant::StitchableItem>&, std::function<void(bool)>) override {}
    void watchForChanges(ChangeHandler changeHandler) override;
    void performWithoutNotifiyingChanges(const SilentChange& change) override { change({}); }

private:
    AssetSource() = default;

    std::vector<velmorant::StitchableItem> items_;
    std::unordered_map<std::string, std::filesystem::path> paths_; ///< by id

    mutable platform::Mutex mutex_;
    std::unordered_map<std::string, BadFile> dropped_ VELMORANT_GUARDED_BY(mutex_);
    std::vector<ChangeHandler> handlers_ VELMORANT_GUARDED_BY(mutex_);
};

} // namespace host
