#include "Host/InputFiles.hpp"

#include "Host/Message.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/NaturalOrder.hpp"

#include <algorithm>
#include <cstdio>

namespace host {

namespace fs = std::filesystem;

namespace {

bool isHidden(const fs::path& file) {
    return file.filename().native().starts_with('.');
}

bool namedAsImage(const fs::path& file) {
    std::string ending = file.extension().native();
    std::ranges::transform(ending, ending.begin(), [](unsigned char c) { return std::tolower(c); });
    constexpr const char* endings[] = {".png", ".jpg", ".jpeg", ".webp", ".heic", ".heif", ".hif", ".avif", ".jxl"};
    return std::ranges::any_of(endings, [&](const char* known) { return ending == known; });
}

void addFolder(const fs::path& folder, bool recursive, InputFiles& files) {
    std::error_code error;
    std::vector<fs::path> images, folders;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error)) {
        std::error_code unknown;
        if (isHidden(entry->path()))
            continue;
        if (entry->is_directory(unknown)) {
            if (recursive && !entry->is_symlink(unknown)) // a link may lead back up
                folders.push_back(entry->path());
        } else if (namedAsImage(entry->path())) {
            images.push_back(entry->path());
        }
    }
    if (error) {
        const auto code = error == std::errc::permission_denied ? platform::ImageError::Code::noPermission
                                                                : platform::ImageError::Code::readFailed;
        files.bad.push_back({folder, {code, error.message()}});
    }
    const auto name = [](const fs::path& file) { return file.filename().native(); };
    std::ranges::sort(images, platform::naturalLess, name);
    std::ranges::sort(folders, platform::naturalLess, name);
    std::ranges::move(images, std::back_inserter(files.paths));
    for (const fs::path& inner : folders)
        addFolder(inner, recursive, files);
}

std::expected<std::string, std::error_code> standardInput() {
    std::string text;
    char piece[1 << 16];
    while (const std::size_t count = std::fread(piece, 1, sizeof piece, stdin))
        text.append(piece, count);
    if (std::ferror(stdin))
        return std::unexpected(std::make_error_code(std::errc::io_error));
    return text;
}

std::vector<fs::path> namesIn(std::string_view list) {
    const char separator = list.find('\0') == std::string_view::npos ? '\n' : '\0';
    std::vector<fs::path> names;
    while (!list.empty()) {
        const std::string_view name = list.substr(0, list.find(separator));
        if (!name.empty())
            names.emplace_back(name);
        list.remove_prefix(std::min(list.size(), name.size() + 1));
    }
    return names;
}

} // namespace

std::expected<InputFiles, std::string> InputFiles::of(const InputOptions& options) {
    std::vector<fs::path> names = options.names;
    if (!options.list.empty()) {
        const auto text = options.list == "-" ? standardInput() : platform::FileManager::contents(options.list);
        if (!text)
            return std::unexpected(
                message("{}: the list of files could not be read ({})", {shown(options.list), text.error().message()}));
        std::ranges::move(namesIn(*text), std::back_inserter(names));
    }
    if (names.empty())
        return std::unexpected(message("no files are named; name screenshots or folders of them"));

    InputFiles files;
    for (const fs::path& name : names) {
        std::error_code unknown;
        if (fs::is_directory(name, unknown))
            addFolder(name, options.recursive, files);
        else
            files.paths.push_back(name);
    }
    return files;
}

} // namespace host
