#pragma once

#include "Platform/Foundation/Device.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace platform {

/// A fresh folder that goes away with its owner.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "velmorant-test-XXXXXX").native();
        path_ = mkdtemp(name.data());
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return path_ / name; }

    /// The names of what is in it, hidden or not.
    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path_))
            names.push_back(entry.path().filename().native());
        return names;
    }

private:
    std::filesystem::path path_;
};

/// A device of a test's own, with its home in a fresh folder.
class TestDevice {
public:
    explicit TestDevice(std::string timeZone = "UTC")
        : device_({.folders = DeviceFolders::inside(home_.path()), .timeZone = std::move(timeZone)}) {}

    const TemporaryFolder& home() const { return home_; }

private:
    const TemporaryFolder home_;
    const Device device_;
};

inline std::string contentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

inline void writeFile(const std::filesystem::path& file, const std::string& content) {
    std::ofstream(file, std::ios::binary) << content;
}

} // namespace platform
