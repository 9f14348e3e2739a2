#include "Host/Commands/Watch.hpp"

#include "Host/Attempts.hpp"
#include "Host/Commands/Import.hpp"
#include "Host/Console.hpp"
#include "Host/Filing.hpp"
#include "Host/GroupJSON.hpp"
#include "Host/ImageErrorMessage.hpp"
#include "Host/Interrupt.hpp"
#include "Host/Library.hpp"
#include "Host/Message.hpp"
#include "Host/WatchedFolders.hpp"
#include "Platform/Dispatch/MainLoop.hpp"
#include "Platform/Foundation/Device.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/JSONDecoder.hpp"
#include "Platform/Photos/LibraryLock.hpp"
#include "Velmorant/Pipeline/PipelineChangeGenerator.hpp"

#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <optional>

namespace host {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using platform::Date;
using platform::FileManager;
using velmorant::Group;

namespace {

/// Ctrl-C is looked for this often; ripening files too.
constexpr auto tick = 200ms;
/// Without any notice folders and library are looked at anew: notices may be lost, and a network's never come.
constexpr auto slowRescan = 30s;
/// A run is filed once its newest screenshot is so many seconds old and nothing came for as long: as many as separate
/// two runs.
constexpr double quietSeconds = 20;

fs::path statusFile() {
    return platform::Device::current().folders.caches / "Watch.json";
}

/// Held by a running watch.
platform::FileDescriptor watchLock() {
    const fs::path file = platform::Device::current().folders.caches / ".watch";
    platform::FileDescriptor opened(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
    if (opened && flock(opened.number(), LOCK_EX | LOCK_NB) != 0)
        opened = platform::FileDescriptor();
    return opened;
}

void writeGroups(platform::JSONWriter& json, const char* key,
                 const std::vector<std::pair<std::size_t, Group>>& groups) {
    json.key(key).beginArray();
    for (const auto& [index, group] : groups)
        json.beginObject()
            .member("id", group.id())
            .member("index", index)
            .member("count", group.items().size())
            .endObject();
    json.endArray();
}

std::string shortIdOf(const Group& group) {
    return LibraryGroup{group, {}, {}}.shortId();
}

std::string triedAgain(const std::string& reason) {
    return message("{}; it is tried again later", {reason});
}

/// Sorted by place, so that equal changes are told in equal words.
std::vector<std::pair<std::size_t, Group>> sorted(const std::unordered_set<velmorant::ChangeDescription>& changes) {
    std::vector<std::pair<std::size_t, Group>> list;
    list.reserve(changes.size());
    for (const auto& change : changes)
        list.emplace_back(change.index, change.group);
    std::ranges::sort(list, {}, [](const auto& entry) { return entry.first; });
    return list;
}

/// One watch. On the main thread.
class Watch {
public:
    explicit Watch(const WatchOptions& options)
        : options_(options), folders_(options.folders, options.excluded, [this] { isWorthALook_ = true; }) {}

    ExitStatus run() {
        const auto& folders = platform::Device::current().folders;
        for (const fs::path& folder : {folders.caches, folders.defaults, folders.documents, folders.photoLibrary})
            if (const auto made = FileManager::createDirectory(folder); !made) {
                complain(message("{}: the folder cannot be made ({})", {shown(folder), made.error().message()}));
                return ExitStatus::incomplete;
            }
        const auto lock = watchLock();
        if (!lock) {
            complain(message("another watch of this library is running; see velmorant status"));
            return ExitStatus::wrongCall;
        }
        std::vector<std::unique_ptr<platform::FolderWatch>> watches; // of what other processes write
        for (const fs::path& folder : {folders.defaults, folders.documents, folders.photoLibrary})
            watches.push_back(platform::FolderWatch::make(folder, [this] { isWorthALook_ = true; }));

        Clock::time_point lastLook{};
        while (!Interrupt::requested()) {
            const auto now = Clock::now();
            const bool isLate = now - lastLook >= slowRescan;
            if (isWorthALook_.exchange(false) || isLate || folders_.areSomeGreen() || nextFiling_ <= now) {
                lastLook = now;
                if (!look())
                    return ExitStatus::incomplete;
            }
            platform::MainLoop::runUntil([] { return Interrupt::requested(); }, tick);
        }
        std::ignore = FileManager::remove(statusFile());
        return ExitStatus::interrupted;
    }

private:
    /// Imports what is ripe, tells what changed, files what is quiet. False where nobody listens any more.
    bool look() {
        takeIn(folders_.ripe(Clock::now()));
        const auto library = Library::open(Library::Use::reading);
        const auto groups = library ? (*library)->groups() : std::unexpected(library.error());
        if (!groups) { // it may come back: access can be granted, a disk be mounted
            if (trouble_ != groups.error())
                complain(trouble_ = groups.error());
            return true;
        }
        trouble_.clear();
        const bool isHeard = tell(*groups);
        if (options_.save)
            fileQuiet(*groups);
        note(groups->size());
        return isHeard;
    }

    void takeIn(const std::vector<fs::path>& files) {
        if (files.empty())
            return;
        const Imported imported = importFiles(files, false, true);
        imported_ += imported.screenshots + imported.photographs + imported.ownPictures;
        for (const Imported::Failure& failed : imported.failed) {
            if (!failed.mayPass)
                complain(failed.reason);
            else if (folders_.retry(failed.path, Clock::now()))
                complain(triedAgain(failed.reason));
        }
    }

    bool tell(const std::vector<LibraryGroup>& listed) {
        std::vector<Group> groups;
        groups.reserve(listed.size());
        for (const LibraryGroup& group : listed)
            groups.push_back(group.group);
        const velmorant::Change change = changes_.generateChange(groups);
        changes_.updateLastState(groups);
        if (change == velmorant::Change() && isTold_)
            return true;
        isTold_ = true;
        lastChange_ = Clock::now();
        const auto additions = sorted(change.additions), deletions = sorted(change.deletions);
        if (!options_.json) {
            std::string lines;
            for (const auto& [index, group] : deletions)
                lines += message("- {}\n", {shortIdOf(group)});
            for (const auto& [index, group] : additions)
                lines += group.prestitched() ? message("+ {}  a finished picture\n", {shortIdOf(group)})
                                             : message("+ {}  {} screenshots\n",
                                                       {shortIdOf(group), std::to_string(group.items().size())});
            return lines.empty() || print(lines);
        }
        platform::JSONWriter json;
        json.beginObject();
        writeGroups(json, "additions", additions);
        writeGroups(json, "deletions", deletions);
        std::vector<velmorant::MoveDescription> moves(change.moves.begin(), change.moves.end());
        std::ranges::sort(moves, {}, &velmorant::MoveDescription::newIndex);
        json.key("moves").beginArray();
        for (const auto& move : moves)
            json.beginObject()
                .member("id", move.group.id())
                .member("from", move.oldIndex)
                .member("to", move.newIndex)
                .endObject();
        json.endArray().endObject();
        return print(json.text() + "\n");
    }

    /// Files the runs to which nothing was added for a while. One that does not join is tried again once it changes.
    void fileQuiet(const std::vector<LibraryGroup>& groups) {
        nextFiling_ = Clock::time_point::max();
        for (const LibraryGroup& group : groups) {
            if (group.state != LibraryGroup::State::open || Interrupt::requested())
                continue;
            Attempts& attempts = filings_.try_emplace(group.group.id(), Clock::time_point::min()).first->second;
            if (!attempts.next())
                continue;
            const double age = Date::now().timeIntervalSinceReferenceDate -
                               std::ranges::max_element(group.group.items(), {}, &velmorant::StitchableItem::date)
                                   ->date.timeIntervalSinceReferenceDate;
            const double quiet = std::chrono::duration<double>(Clock::now() - lastChange_).count();
            const bool isOld = age >= 2 * quietSeconds; // an old picture that arrives late is complete as a rule
            const double wait = std::max(isOld ? 0 : quietSeconds - age, (isOld ? 2.0 : quietSeconds) - quiet);
            const auto now = Clock::now();
            if (wait <= 0 && attempts.begin(now))
                file(group, attempts);
            else
                nextFiling_ =
                    std::min(nextFiling_,
                             std::max(*attempts.next(),
                                      now + std::chrono::milliseconds(static_cast<std::int64_t>(wait * 1000) + 100)));
        }
    }

    void file(const LibraryGroup& group, Attempts& attempts) {
        if (Filing::filedGroups().contains(
                group.group.id())) // and its picture was deleted since: that is not undone here
            return;
        if (!filing_)
            filing_.emplace();
        const Filed filed = filing_->file(group.group);
        if (filed.wasThere)
            return;
        if (attempts.isFirst()) {
            for (const BadFile& bad : filed.bad)
                complain(imageErrorMessage(bad.path, bad.error));
            if (filed.error)
                complain(message("{}: {}", {group.shortId(), filed.mayPass ? triedAgain(*filed.error) : *filed.error}));
        }
        if (filed.mayPass)
            attempts.failed(Clock::now());
        if (!filed.picture)
            return;
        ++filed_;
        isWorthALook_ = true;
        if (!options_.json)
            std::ignore =
                print(message("{}: saved, {} screenshots joined\n", {group.shortId(), std::to_string(filed.joined)}));
    }

    void note(std::size_t groups) const {
        platform::JSONWriter json;
        json.beginObject().member("looked", isoDate(Date::now())).member("groups", groups);
        json.member("imported", imported_).member("filed", filed_).endObject();
        std::ignore = FileManager::write(statusFile(), json.text());
    }

    const WatchOptions options_;
    std::atomic<bool> isWorthALook_ = true;
    WatchedFolders folders_;
    velmorant::PipelineChangeGenerator changes_;
    bool isTold_ = false;
    std::string trouble_; ///< why the library cannot be read, once told
    Clock::time_point lastChange_ = Clock::now();
    Clock::time_point nextFiling_ = Clock::time_point::max();
    std::map<std::string, Attempts> filings_; ///< by the group's id
    std::optional<Filing> filing_;            ///< once something was filed
    std::size_t imported_ = 0, filed_ = 0;
};

} // namespace

ExitStatus watch(const WatchOptions& options) {
    for (const fs::path& folder : options.folders) {
        std::error_code unknown;
        if (!fs::is_directory(folder, unknown)) {
            complain(message("{}: there is no such folder to watch", {shown(folder)}));
            return ExitStatus::wrongCall;
        }
    }
    return Watch(options).run();
}

ExitStatus watchStatus(bool json) {
    if (watchLock() || !fs::exists(platform::Device::current().folders.caches)) {
        const bool isPrinted = print(json ? "{\"running\":false}\n" : message("no watch of this library is running\n"));
        return isPrinted ? ExitStatus::success : ExitStatus::incomplete;
    }
    std::string looked;
    std::int64_t groups = 0, imported = 0, filed = 0;
    const auto text = FileManager::contents(statusFile());
    std::ignore = platform::json::decode(text.value_or("{}"), [&](const platform::JSONValue& value) {
        looked = value["looked"].string();
        groups = value["groups"].integer();
        imported = value["imported"].integer();
        filed = value["filed"].integer();
    });
    platform::JSONWriter writer;
    writer.beginObject().member("running", true).member("looked", looked).member("groups", groups);
    writer.member("imported", imported).member("filed", filed).endObject();
    const std::string line =
        message("a watch is running; it last looked at {}: {} groups, {} pictures imported, {} filed\n",
                {looked, std::to_string(groups), std::to_string(imported), std::to_string(filed)});
    return print(json ? writer.text() + "\n" : line) ? ExitStatus::success : ExitStatus::incomplete;
}

} // namespace host
