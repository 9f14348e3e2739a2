#include "Platform/Foundation/FileManager.hpp"

#include "Platform/Foundation/AtomicFile.hpp"
#include "Platform/Foundation/Device.hpp"
#include "Platform/Foundation/RegularFile.hpp"
#include "Platform/Foundation/SystemCalls.hpp"
#include "Platform/Foundation/WriteFailure.hpp"

#include <sys/stat.h>

#include <cerrno>

namespace platform {

namespace fs = std::filesystem;

namespace {

std::optional<fs::path> ifAny(const fs::path& folder) {
    return folder.empty() ? std::nullopt : std::optional(folder);
}

std::expected<void, std::error_code> failed(const fs::path& file, std::error_code error) {
    keepWriteFailure(file, error);
    return std::unexpected(error);
}

} // namespace

std::optional<fs::path> FileManager::documentsDirectory() {
    return ifAny(Device::current().folders.documents);
}

std::optional<fs::path> FileManager::cachesDirectory() {
    return ifAny(Device::current().folders.caches);
}

std::expected<std::string, std::error_code> FileManager::contents(const fs::path& file, std::uint64_t most) {
    const auto opened = RegularFile::open(file);
    if (!opened)
        return std::unexpected(opened.error());
    const auto tooLarge = [] { return std::unexpected(std::make_error_code(std::errc::file_too_large)); };
    if (opened->size() > most)
        return tooLarge();

    std::string content;
    std::size_t read = 0;
    content.resize(opened->size() + 1); // one more, to see the end at once
    for (;;) {
        const auto count = opened->read(std::as_writable_bytes(std::span(content)).subspan(read));
        if (!count)
            return std::unexpected(count.error());
        read += *count;
        if (read > most)
            return tooLarge();
        if (*count == 0)
            break;
        if (read == content.size()) // it has grown meanwhile
            content.resize(2 * read);
    }
    content.resize(read);
    return content;
}

std::expected<void, std::error_code> FileManager::write(const fs::path& file, std::string_view content) {
    auto opened = AtomicFile::create(file, AtomicFile::Existing::replace);
    if (!opened)
        return std::unexpected(opened.error());
    if (auto written = opened->write(std::as_bytes(std::span(content))); !written)
        return written;
    return opened->commit();
}

std::expected<void, std::error_code> FileManager::createDirectory(const fs::path& folder) {
    std::error_code unknown;
    if (folder.empty() || fs::is_directory(folder, unknown))
        return {};
    if (auto above = createDirectory(folder.parent_path()); !above)
        return above;
    if (mkdir(folder.c_str(), 0777) != 0) {
        const std::error_code error = systemCalls::lastError();
        if (fs::is_directory(folder, unknown)) // another process was faster
            return {};
        return failed(folder, error);
    }
    if (auto flushed = systemCalls::flushFolder(folder.parent_path()); !flushed)
        return failed(folder, flushed.error());
    return {};
}

std::expected<void, std::error_code> FileManager::remove(const fs::path& item) {
    std::error_code error;
    const auto removed = fs::remove_all(item, error);
    if (error)
        return failed(item, error);
    if (removed == 0)
        return {};
    if (auto flushed = systemCalls::flushFolder(item.parent_path()); !flushed)
        return failed(item, flushed.error());
    return {};
}

std::expected<fs::path, std::error_code> FileManager::setAsideDamaged(const fs::path& file) {
    for (int number = 1;; ++number) {
        fs::path name = file.native() + ".damaged-" + std::to_string(number);
        auto renamed = systemCalls::rename(file, name, systemCalls::Target::keep);
        if (!renamed && renamed.error() == std::errc::file_exists)
            continue;
        if (renamed)
            renamed = systemCalls::flushFolder(file.parent_path());
        if (!renamed)
            return std::unexpected(failed(file, renamed.error()).error());
        return name;
    }
}

} // namespace platform
