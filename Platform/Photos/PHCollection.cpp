#include "Platform/Photos/PHCollection.hpp"

#include "Platform/Photos/PHPhotoLibrary.hpp"
#include "Platform/Photos/PhotoCatalogue-inl.hpp"

namespace platform {

namespace {

std::vector<PHCollection> collectionsBelow(const std::optional<std::string>& folder) {
    auto found = PHPhotoLibrary::shared()->catalogue().read([&](SQLite::Database& database) {
        std::vector<PHCollection> collections;
        if (!isAccessGranted(authorizationStatus(database)))
            return collections;
        SQLite::Statement rows(database,
                               std::string("SELECT kind, localIdentifier, title FROM collections WHERE parent IS ") +
                                   (folder ? "(SELECT number FROM collections WHERE localIdentifier = ?)" : "NULL") +
                                   " ORDER BY number");
        if (folder)
            rows.bind(1, *folder);
        while (rows.executeStep()) {
            const SQLite::Column title = rows.getColumn(2);
            collections.emplace_back(
                rows.getColumn(0).getInt() == 0 ? PHCollection::Kind::album : PHCollection::Kind::folder,
                rows.getColumn(1).getString(), title.isNull() ? std::nullopt : std::optional(title.getString()));
        }
        return collections;
    });
    return found ? std::move(*found) : std::vector<PHCollection>();
}

} // namespace

std::vector<PHCollection> PHCollection::fetchTopLevelUserCollections() {
    return collectionsBelow(std::nullopt);
}

std::vector<PHCollection> PHCollection::fetchCollections(const PHCollection& inFolder) {
    return inFolder.kind() == Kind::folder ? collectionsBelow(inFolder.localIdentifier()) : std::vector<PHCollection>();
}

} // namespace platform
