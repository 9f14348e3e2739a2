#include "Velmorant/Curation/AddManuallyGroupedStep.hpp"

#include "Platform/Foundation/FileManager.hpp"
#include "Velmorant/Model/Coding.hpp"

#include <algorithm>

namespace velmorant {

namespace fs = std::filesystem;
using platform::FileManager;
using platform::MutexLock;

namespace {

/// Nothing without a documents folder.
std::optional<fs::path> storedFile() {
    const auto documents = FileManager::documentsDirectory();
    return documents ? std::optional(*documents / "ManuallyGrouped.json") : std::nullopt;
}

std::optional<platform::FileIdentity> versionOf(const std::optional<fs::path>& file) {
    const auto opened = platform::RegularFile::open(file.value_or(""));
    return opened ? std::optional(opened->identity()) : std::nullopt;
}

/// Nothing where the file does not hold groups.
std::optional<std::vector<Group>> decodedGroups(const fs::path& file) {
    const auto text = FileManager::contents(file);
    if (!text)
        return std::nullopt;
    std::vector<Group> groups;
    const auto decoded = platform::json::decode(*text, [&](const platform::JSONValue& value) {
        for (const platform::JSONValue& group : value.elements())
            groups.push_back(decodeGroup(group));
    });
    return decoded ? std::optional(std::move(groups)) : std::nullopt;
}

} // namespace

AddManuallyGroupedStep::AddManuallyGroupedStep() {
    const MutexLock lock(mutex_);
    refresh();
}

std::vector<Group> AddManuallyGroupedStep::process(std::vector<Group> groups) const {
    {
        const MutexLock lock(mutex_);
        refresh();
        groups.insert(groups.end(), manuallyGrouped_.begin(), manuallyGrouped_.end());
    }
    std::ranges::stable_sort(groups);
    return groups;
}

void AddManuallyGroupedStep::add(const Group& group) {
    {
        const MutexLock lock(mutex_);
        refresh();
        manuallyGrouped_.push_back(group);
        store();
    }
    batchChangeHandler_.notifyChange();
}

bool AddManuallyGroupedStep::remove(const Group& group) {
    {
        const MutexLock lock(mutex_);
        refresh();
        if (std::erase(manuallyGrouped_, group) == 0)
            return false;
        store();
    }
    batchChangeHandler_.notifyChange();
    return true;
}

void AddManuallyGroupedStep::refresh() const {
    const auto file = storedFile();
    const auto version = versionOf(file);
    if (version == version_)
        return;
    version_ = version;
    manuallyGrouped_ = version ? decodedGroups(*file).value_or(std::vector<Group>()) : std::vector<Group>();
}

void AddManuallyGroupedStep::store() {
    const auto file = storedFile();
    if (!file || !FileManager::createDirectory(file->parent_path()))
        return;
    if (version_ && !decodedGroups(*file) && !FileManager::setAsideDamaged(*file))
        return;
    platform::JSONWriter json;
    json.beginArray();
    for (const Group& group : manuallyGrouped_)
        encode(json, group);
    if (json.endArray().finish())
        std::ignore = FileManager::write(*file, json.text()); // kept as the last write failure
    version_ = versionOf(file);
}

} // namespace velmorant
