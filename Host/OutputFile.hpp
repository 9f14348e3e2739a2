#pragma once

#include "Platform/Foundation/AtomicFile.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"

#include <expected>
#include <filesystem>
#include <string>
#include <vector>

namespace host {

/// Where a picture goes.
struct OutputFile {
    std::filesystem::path path;
    platform::ImageFormat format = platform::ImageFormat::png;
    platform::AtomicFile::Existing existing = platform::AtomicFile::Existing::keep;

    /// `named` is a file, a folder, or empty for a name beside `firstShot` that overwrites nothing. Refused, with a
    /// message for people: an unknown ending, a folder that is not there, one of the `inputs` under any name, and
    /// without `force` a file that exists.
    static std::expected<OutputFile, std::string> choose(const std::filesystem::path& named, bool force,
                                                         const std::vector<std::filesystem::path>& inputs,
                                                         const std::filesystem::path& firstShot);
};

} // namespace host
