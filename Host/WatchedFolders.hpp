#pragma once

#include "Host/Attempts.hpp"
#include "Platform/Foundation/FolderWatch.hpp"
#include "Platform/Foundation/RegularFile.hpp"

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace host {

/// Folders into which others put pictures. A file is ripe once nothing of it has changed for a while: a synced folder
/// shows it before all of it is there. On the main thread, but for the calls of `changed`.
class WatchedFolders {
public:
    /// `changed` is called on any thread when it is worth to look. `excluded` are patterns of file names, as a shell
    /// knows them.
    WatchedFolders(std::vector<std::filesystem::path> folders, std::vector<std::string> excluded,
                   std::function<void()> changed);

    /// The files that have become ripe since the last call, each once as long as it stays as it is and is not
    /// `retry`ed. Folders that are missing are looked for again each time.
    std::vector<std::filesystem::path> ripe(std::chrono::steady_clock::time_point now);

    /// A ripe file failed for a reason that may pass: a later call of `ripe` answers it again. Whether this was its
    /// first failure.
    bool retry(const std::filesystem::path& file, std::chrono::steady_clock::time_point now);

    /// Whether some that are new are not ripe yet.
    bool areSomeGreen() const { return areSomeGreen_; }

private:
    struct Seen {
        platform::FileIdentity identity;
        Attempts attempts;
    };

    const std::vector<std::filesystem::path> folders_;
    const std::vector<std::string> excluded_;
    const std::function<void()> changed_;
    std::map<std::filesystem::path, std::unique_ptr<platform::FolderWatch>> watches_;
    std::map<std::filesystem::path, Seen> seen_;
    bool areSomeGreen_ = false;
};

} // namespace host
