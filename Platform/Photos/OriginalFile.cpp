#include "Platform/Photos/OriginalFile.hpp"

#include "Platform/Foundation/ContentHash.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/RegularFile.hpp"

#include <array>
#include <cstring>

namespace platform {

namespace fs = std::filesystem;

namespace {

/// Passes bytes on to a file and hashes them on the way.
class HashingSink final : public ByteSink {
public:
    explicit HashingSink(ByteSink& file) : file_(file) {}

    std::expected<void, std::error_code> write(std::span<const std::byte> bytes) override {
        hash_.add(bytes.data(), bytes.size());
        return file_.write(bytes);
    }
    std::string hex() const { return hash_.hex(); }

private:
    ByteSink& file_;
    ContentHash hash_;
};

PhotoLibraryError failure(const fs::path& file, const std::error_code& error) {
    return {PhotoLibraryError::Code::writeFailed, file, error.message()};
}

/// The n-th name for a content, counted from 1: the others are for contents of an equal hash.
std::string nameOf(const std::string& hash, int n, const std::string& ending) {
    return hash.substr(0, 2) + "/" + hash + (n == 1 ? "" : "-" + std::to_string(n)) + ending;
}

bool isTaken(const fs::path& file) {
    std::error_code unknown;
    return fs::exists(fs::symlink_status(file, unknown));
}

} // namespace

std::expected<OriginalDraft, PhotoLibraryError>
OriginalDraft::write(const fs::path& originals, const std::string& ending,
                     const std::function<std::expected<void, PhotoLibraryError>(ByteSink&)>& produce) {
    if (const auto made = FileManager::createDirectory(originals); !made)
        return std::unexpected(failure(originals, made.error()));
    const fs::path arrival = originals / ("arrival" + ending); // a name that it never has
    auto file = AtomicFile::create(arrival, AtomicFile::Existing::keep);
    if (!file)
        return std::unexpected(failure(originals, file.error()));
    OriginalDraft draft(originals, ending, std::move(*file));
    HashingSink sink(draft.file_);
    if (const auto produced = produce(sink); !produced)
        return std::unexpected(produced.error());
    draft.contentHash_ = sink.hex();
    return draft;
}

std::expected<OriginalFile, PhotoLibraryError> OriginalDraft::keep() {
    int n = 1;
    while (isTaken(originals_ / nameOf(contentHash_, n, ending_)))
        ++n;
    const std::string name = nameOf(contentHash_, n, ending_);
    const fs::path file = originals_ / name;
    if (const auto made = FileManager::createDirectory(file.parent_path()); !made)
        return std::unexpected(failure(file, made.error()));
    if (const auto done = file_.commitAs(file); !done)
        return std::unexpected(failure(file, done.error()));
    for (int before = 1; before < n; ++before)
        if (const std::string same = nameOf(contentHash_, before, ending_); haveSameBytes(originals_ / same, file)) {
            std::ignore = FileManager::remove(file); // at worst the next one sweeps it
            return OriginalFile{same, contentHash_, false};
        }
    return OriginalFile{name, contentHash_, true};
}

bool haveSameBytes(const fs::path& a, const fs::path& b) {
    const auto first = RegularFile::open(a), second = RegularFile::open(b);
    if (!first || !second || first->size() != second->size())
        return false;
    constexpr std::size_t pieceSize = 1 << 16;
    std::vector<std::byte> one(pieceSize), other(pieceSize);
    for (std::int64_t offset = 0;; offset += static_cast<std::int64_t>(pieceSize)) {
        const auto x = first->readAt(offset, one), y = second->readAt(offset, other);
        if (!x || !y || *x != *y || std::memcmp(one.data(), other.data(), *x) != 0)
            return false;
        if (*x < pieceSize)
            return true;
    }
}

bool isOriginalName(std::string_view name) {
    constexpr std::string_view usual = "abcdefghijklmnopqrstuvwxyz0123456789-";
    const std::size_t folder = name.find('/'), ending = name.rfind('.');
    return folder == 2 && ending != std::string_view::npos && ending > folder + 2 &&
           name.substr(0, folder) == name.substr(folder + 1, 2) &&
           name.substr(folder + 1, ending - folder - 1).find_first_not_of(usual) == std::string_view::npos &&
           name.substr(ending + 1).find_first_not_of(usual) == std::string_view::npos;
}

std::vector<std::string> originalNames(const fs::path& originals) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(originals, error), end; !error && entry != end; entry.increment(error))
        if (!entry->is_directory(error))
            names.push_back(entry->path().lexically_relative(originals).native());
    return names;
}

} // namespace platform
