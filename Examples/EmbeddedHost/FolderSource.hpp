#pragma once

#include "Platform/ImageIO/CGImageSource.hpp"
#include "Velmorant/Alignment/Loader.hpp"
#include "Velmorant/DataSources/StitchableDataSource.hpp"

#include <filesystem>
#include <map>
#include <string>

/// The screenshots of a folder: as items for the pipeline, and as images for the aligner and the renderer. An
/// application with a database, a camera or a network behind it writes these two interfaces and nothing else.
class FolderSource final : public velmorant::StitchableDataSource, public velmorant::Loader {
public:
    /// Opens every image in `folder`, in order of name; other files are passed over.
    explicit FolderSource(const std::filesystem::path& folder);

    // Of StitchableDataSource.
    void fetchItems(const platform::DispatchQueue& queue,
                    std::function<void(std::vector<velmorant::StitchableItem>)> completion) override;
    void watchForChanges(ChangeHandler changeHandler) override;
    void performWithoutNotifiyingChanges(const SilentChange& change) override { change({}); }
    velmorant::StitchableDataSourcePermissionStatus permissionStatus() const override {
        return velmorant::StitchableDataSourcePermissionStatus::allowed;
    }
    void promptForPermission(std::function<void()> completion) override { completion(); }
    void promptForLimitedSelection(const platform::UIViewController&, std::function<void()>) override {}
    void save(const platform::UIImage&, const velmorant::Group&, bool,
              std::function<void(velmorant::StitchableItem)>) override {}
    void deleteItems(const std::vector<velmorant::StitchableItem>&, std::function<void(bool)>) override {}

    // Of Loader.
    void loadImage(const velmorant::StitchableItem& item, bool synchronous, const Completion& completion) override;

private:
    // Constant after construction, so that any thread may ask.
    std::vector<velmorant::StitchableItem> items_;
    std::map<std::string, platform::CGImageSource> images_; ///< by the item's id
};
