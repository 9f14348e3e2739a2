#include "Host/InputFiles.hpp"

#include "Platform/Foundation/NaturalOrder.hpp"

#include <algorithm>
#include <string>

namespace host {

namespace fs = std::filesystem;

namespace {

bool namedAsImage(const fs::path& file) {
    std::string ending = file.extension().native();
    std::ranges::transform(ending, ending.begin(), [](unsigned char c) { return std::tolower(c); });
    constexpr const char* endings[] = {".png", ".jpg", ".jpeg", ".webp"};
    return std::ranges::any_of(endings, [&](const char* known) { return ending == known; });
}

void addFolder(const fs::path& folder, InputFiles& files) {
    std::error_code error;
    std::vector<fs::path> found;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code unknown;
        const bool hidden = entry->path().filename().native().starts_with('.');
        if (!hidden && namedAsImage(entry->path()) && !entry->is_directory(unknown))
            found.push_back(entry->path());
    }
    if (error) {
        const auto code = error == std::errc::permission_denied ? platform::ImageError::Code::noPermission
                                                                : platform::ImageError::Code::readFailed;
        files.bad.push_back({folder, {code, error.message()}});
    }
    std::ranges::sort(found, platform::naturalLess, [](const fs::path& file) { return file.filename().native(); });
    std::ranges::move(found, std::back_inserter(files.paths));
}

} // namespace

InputFiles InputFiles::of(const std::vector<fs::path>& named) {
    InputFiles files;
    for (const fs::path& name : named) {
        std::error_code unknown;
        if (fs::is_directory(name, unknown))
            addFolder(name, files);
        else
            files.paths.push_back(name);
    }
    return files;
}

} // namespace host
