#pragma once

#include "Host/ImageFiles.hpp"
#include "Platform/ImageIO/DecodedImages.hpp"
#include "Velmorant/Alignment/Loader.hpp"

#include <memory>
#include <vector>

namespace host {

/// The host's `Loader`: images of files, decoded as their rows are asked for, and once where there is memory for it.
/// Tells the source of files that prove bad. Any thread.
class FileLoader final : public velmorant::Loader {
public:
    explicit FileLoader(std::shared_ptr<ImageFiles> files)
        : files_(std::move(files)),
          images_(platform::DecodedImages::make(
              [files = files_](const std::string& id, const platform::ImageError& error) { files->drop(id, error); })) {
    }

    void loadImage(const velmorant::StitchableItem& item, bool synchronous, const Completion& completion) override;

    /// Lets go of what is kept of these.
    void forget(const std::vector<velmorant::StitchableItem>& items);

private:
    const std::shared_ptr<ImageFiles> files_;
    const std::shared_ptr<platform::DecodedImages> images_;
};

} // namespace host
