#pragma once

#include "Host/FileSource.hpp"
#include "Platform/Dispatch/Mutex.hpp"
#include "Velmorant/Alignment/Loader.hpp"

#include <memory>
#include <string>
#include <unordered_map>

namespace host {

/// The host's `Loader`: images of files, decoded as their rows are asked for, and the memory of those that proved bad.
class FileLoader final : public velmorant::Loader, public std::enable_shared_from_this<FileLoader> {
public:
    static std::shared_ptr<FileLoader> make(std::shared_ptr<const FileSource> files) {
        return std::shared_ptr<FileLoader>(new FileLoader(std::move(files)));
    }

    void loadImage(const velmorant::StitchableItem& item, bool synchronous, const Completion& completion) override;

    /// The first error of every item that could not be opened or decoded so far, by item id.
    std::unordered_map<std::string, platform::ImageError> failures() const;

    /// Called by the images that this loader delivered.
    void report(const std::string& id, const platform::ImageError& error);

private:
    explicit FileLoader(std::shared_ptr<const FileSource> files) : files_(std::move(files)) {}

    const std::shared_ptr<const FileSource> files_;

    mutable platform::Mutex mutex_;
    std::unordered_map<std::string, platform::ImageError> failures_ VELMORANT_GUARDED_BY(mutex_);
};

} // namespace host
