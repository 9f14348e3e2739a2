#pragma once

#include "Platform/CoreGraphics/ImageError.hpp"

#include <expected>
#include <filesystem>
#include <string>
#include <vector>

namespace host {

/// A file that cannot be used, and why.
struct BadFile {
    std::filesystem::path path;
    platform::ImageError error;
};

/// What a call names.
struct InputOptions {
    std::vector<std::filesystem::path> names; ///< files and folders
    std::filesystem::path list;               ///< a file that names more of them, "-" for standard input; may be empty
    bool recursive = false;                   ///< folders in folders, too
};

/// The files that a call names.
struct InputFiles {
    std::vector<std::filesystem::path> paths;
    std::vector<BadFile> bad; ///< folders that cannot be read

    /// Files as they are named; in place of a folder the files in it whose names end as images' do, in natural order,
    /// hidden ones left out. The list names one file a line or, where it holds a NUL, one between two of them. An
    /// error, for people, where the list cannot be read or nothing is named at all.
    static std::expected<InputFiles, std::string> of(const InputOptions& options);
};

} // namespace host
