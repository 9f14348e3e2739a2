#pragma once

#include "Host/ImageFiles.hpp"
#include "Host/InputFiles.hpp"
#include "Host/Message.hpp"
#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Platform/Dispatch/Mutex.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Velmorant/DataSources/StitchableDataSource.hpp"

#include <atomic>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace host {

/// A screenshot in a file.
struct FileItem {
    std::filesystem::path path;
    velmorant::StitchableItem item;
    platform::CGImageSource image;
};

/// A file that was named but counts no second time.
struct RepeatedFile {
    std::filesystem::path path;
    std::filesystem::path sameAs;
};

/// Image files as items of the library. An item's id is made of the file's content and its capture date, its size is
/// the upright one. The date comes from the metadata, else from the file's name, else from the file's time. A file
/// named twice, and one of equal content and date, count once; pictures that this program made do not count.
class FileSource final : public velmorant::StitchableDataSource,
                         public ImageFiles,
                         public std::enable_shared_from_this<FileSource> {
public:
    enum class Order { byDate, asNamed };

    /// Nothing is opened yet: the first fetch does that, several files at once.
    static std::shared_ptr<FileSource> make(std::vector<std::filesystem::path> paths, Order order) {
        return std::shared_ptr<FileSource>(new FileSource(std::move(paths), order));
    }

    std::size_t fileCount() const override { return paths_.size(); }
    std::size_t openedCount() const override { return openedCount_; }

    // After the first fetch. Any thread.

    const std::filesystem::path& path(const velmorant::StitchableItem& item) const override { return file(item).path; }
    std::string name(const velmorant::StitchableItem& item) const override { return shown(file(item).path); }
    std::string shortName(const velmorant::StitchableItem& item) const override {
        return shown(file(item).path.filename());
    }
    std::expected<platform::CGImageSource, platform::ImageError>
    image(const velmorant::StitchableItem& item) const override {
        return file(item).image;
    }

    /// All that could be opened, in order.
    const std::vector<FileItem>& items() const { return items_; }
    const std::vector<RepeatedFile>& repeated() const { return repeated_; }
    const std::vector<std::filesystem::path>& ownPictures() const { return ownPictures_; }
    /// The files that could not be opened, in the order in which they were named, and after them those dropped.
    std::vector<BadFile> bad() const;

    void drop(const std::string& id, const platform::ImageError& error) override;
    bool isDropped(const velmorant::StitchableItem& item) const override;

    velmorant::StitchableDataSourcePermissionStatus permissionStatus() const override;
    void promptForPermission(std::function<void()> completion) override;
    void promptForLimitedSelection(const platform::UIViewController&, std::function<void()>) override {}
    void fetchItems(const platform::DispatchQueue& queue,
                    std::function<void(std::vector<velmorant::StitchableItem>)> completion) override;
    void watchForChanges(ChangeHandler changeHandler) override;
    void performWithoutNotifiyingChanges(const SilentChange& change) override { change({}); }

    /// Files are only read: nothing is saved here, and nothing deleted.
    void save(const platform::UIImage&, const velmorant::Group&, bool,
              std::function<void(velmorant::StitchableItem)>) override {}
    void deleteItems(const std::vector<velmorant::StitchableItem>& items,
                     std::function<void(bool)> completion) override;

private:
    FileSource(std::vector<std::filesystem::path> paths, Order order);

    void open();
    void dropDamagedIntruders();
    const FileItem& file(const velmorant::StitchableItem& item) const;
    std::vector<velmorant::StitchableItem> remainingItems() const;
    void notify() const;

    const std::vector<std::filesystem::path> paths_;
    const Order order_;
    const platform::DispatchQueue queue_; ///< serial; fetches
    std::once_flag opened_;
    std::atomic<std::size_t> openedCount_ = 0;

    // Written once, while the files are opened.
    std::vector<FileItem> items_;
    std::vector<BadFile> unopened_;
    std::vector<RepeatedFile> repeated_;
    std::vector<std::filesystem::path> ownPictures_;
    std::unordered_map<std::string, std::size_t> places_; ///< of ids in items_

    mutable platform::Mutex mutex_;
    std::vector<BadFile> dropped_ VELMORANT_GUARDED_BY(mutex_);
    std::unordered_set<std::string> droppedIds_ VELMORANT_GUARDED_BY(mutex_);
    std::vector<ChangeHandler> handlers_ VELMORANT_GUARDED_BY(mutex_);
};

} // namespace host
