#include "Host/WatchedFolders.hpp"

#include "Host/InputFiles.hpp"

#include <fnmatch.h>

#include <algorithm>

namespace host {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

namespace {

constexpr auto ripening = 1s;

} // namespace

WatchedFolders::WatchedFolders(std::vector<fs::path> folders, std::vector<std::string> excluded,
                               std::function<void()> changed)
    : folders_(std::move(folders)), excluded_(std::move(excluded)), changed_(std::move(changed)) {}

std::vector<fs::path> WatchedFolders::ripe(std::chrono::steady_clock::time_point now) {
    std::vector<fs::path> ripe;
    std::map<fs::path, Seen> seen;
    areSomeGreen_ = false;
    for (const fs::path& folder : folders_) {
        if (auto& watch = watches_[folder]; !watch)
            watch = platform::FolderWatch::make(folder, changed_);
        const auto files = InputFiles::of({.names = {folder}, .list = {}, .recursive = false});
        if (!files)
            continue;
        for (const fs::path& file : files->paths) {
            const auto opened = platform::RegularFile::open(file);
            if (!opened || std::ranges::any_of(excluded_, [&](const std::string& pattern) {
                    return fnmatch(pattern.c_str(), file.filename().c_str(), 0) == 0;
                }))
                continue;
            const auto before = seen_.find(file);
            Seen state{opened->identity(), Attempts(now + ripening)};
            if (before != seen_.end() && before->second.identity == state.identity)
                state = before->second;
            if (state.attempts.begin(now))
                ripe.push_back(file);
            areSomeGreen_ |= state.attempts.isFirst() && state.attempts.next();
            seen.emplace(file, state);
        }
    }
    seen_ = std::move(seen);
    return ripe;
}

bool WatchedFolders::retry(const fs::path& file, std::chrono::steady_clock::time_point now) {
    const auto seen = seen_.find(file);
    if (seen == seen_.end())
        return true;
    const bool isFirst = seen->second.attempts.isFirst();
    seen->second.attempts.failed(now);
    return isFirst;
}

} // namespace host
