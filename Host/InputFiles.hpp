#pragma once

#include "Platform/CoreGraphics/ImageError.hpp"

#include <filesystem>
#include <vector>

namespace host {

/// A file that cannot be used, and why.
struct BadFile {
    std::filesystem::path path;
    platform::ImageError error;
};

/// The files that a call names.
struct InputFiles {
    std::vector<std::filesystem::path> paths;
    std::vector<BadFile> bad; ///< names of nothing, and folders that cannot be read

    /// Files as they are named; in place of a folder the files in it whose names end as images' do, in natural order,
    /// hidden ones and folders left out.
    static InputFiles of(const std::vector<std::filesystem::path>& named);
};

} // namespace host
