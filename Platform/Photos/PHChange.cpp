#include "Platform/Photos/PHChange.hpp"

#include "Platform/Photos/AssetQuery-inl.hpp"
#include "Platform/Photos/PHPhotoLibrary.hpp"

#include <unordered_set>

namespace platform {

namespace {

/// The assets that changed after a change number; nothing where any may have.
std::optional<std::vector<std::string>> changedSince(std::int64_t number, SQLite::Database& database) {
    SQLite::Statement all(database, "SELECT EXISTS (SELECT 1 FROM changes WHERE number > ? AND asset IS NULL)");
    all.bind(1, number);
    all.executeStep();
    if (all.getColumn(0).getInt() != 0)
        return std::nullopt;
    std::vector<std::string> changed;
    SQLite::Statement rows(database,
                           "SELECT DISTINCT localIdentifier FROM changes JOIN assets ON assets.number = asset "
                           "WHERE changes.number > ?");
    rows.bind(1, number);
    while (rows.executeStep())
        changed.push_back(rows.getColumn(0).getString());
    return changed;
}

std::unordered_set<std::string_view> identifiersOf(const std::vector<PHAsset>& assets) {
    std::unordered_set<std::string_view> identifiers;
    identifiers.reserve(assets.size());
    for (const PHAsset& asset : assets)
        identifiers.insert(asset.localIdentifier);
    return identifiers;
}

} // namespace

std::optional<PHFetchResultChangeDetails> PHChange::changeDetails(const PHFetchResult& before) const {
    if (!before.query())
        return std::nullopt;
    struct Now {
        std::optional<std::vector<std::string>> changed = std::vector<std::string>();
        std::vector<PHAsset> assets; ///< those changed, or all
    };
    const auto now = PHPhotoLibrary::shared()->catalogue().read([&](SQLite::Database& database) {
        Now answer{.changed = changedSince(before.changeNumber(), database), .assets = {}};
        AssetQuery query = *before.query();
        if (answer.changed && !query.identifiers)
            query.identifiers = answer.changed;
        if (!answer.changed || !answer.changed->empty())
            answer.assets = assetsOf(query, database);
        return answer;
    });
    if (!now)
        return std::nullopt;

    const auto were = identifiersOf(before.assets()), are = identifiersOf(now->assets);
    PHFetchResultChangeDetails details;
    for (const PHAsset& asset : now->assets)
        if (!were.contains(asset.localIdentifier))
            details.insertedObjects.push_back(asset.localIdentifier);
    if (now->changed) {
        for (const std::string& id : *now->changed)
            if (were.contains(id))
                (are.contains(id) ? details.changedObjects : details.removedObjects).push_back(id);
    } else {
        for (const PHAsset& asset : before.assets())
            if (!are.contains(asset.localIdentifier))
                details.removedObjects.push_back(asset.localIdentifier);
    }
    if (details.insertedObjects.empty() && details.removedObjects.empty() && details.changedObjects.empty())
        return std::nullopt;
    return details;
}

} // namespace platform
