#pragma once

#include "Host/InputFiles.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Velmorant/Model/StitchableItem.hpp"

#include <filesystem>
#include <string>
#include <unordered_map>
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
/// the upright one. The date comes from the metadata, else from the file's name, else from the file's time.
class FileSource {
public:
    /// Opens every file, several at once. A file named twice, and one of equal content and date, count once.
    explicit FileSource(const std::vector<std::filesystem::path>& paths);

    /// In the order in which they were named.
    const std::vector<FileItem>& items() const { return items_; }
    const std::vector<BadFile>& bad() const { return bad_; }
    const std::vector<RepeatedFile>& repeated() const { return repeated_; }

    /// The file of an item that is or was among `items`.
    const FileItem& file(const velmorant::StitchableItem& item) const;
    const std::filesystem::path& path(const velmorant::StitchableItem& item) const { return file(item).path; }

private:
    std::vector<FileItem> items_;
    std::vector<BadFile> bad_;
    std::vector<RepeatedFile> repeated_;
    std::unordered_map<std::string, std::size_t> places_; // of ids in items_
};

} // namespace host
