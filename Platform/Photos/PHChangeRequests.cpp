#include "Platform/Photos/PHChangeRequests.hpp"

#include "Platform/CoreImage/ImageExport.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/RegularFile.hpp"
#include "Platform/Foundation/UUID.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Platform/ImageIO/FileEnding.hpp"
#include "Platform/Photos/ChangeTransaction-inl.hpp"
#include "Platform/Photos/OriginalFile.hpp"
#include "Platform/Photos/PHPhotoLibrary.hpp"

#include <vector>

namespace platform {

namespace fs = std::filesystem;

namespace {

using Done = std::expected<void, PhotoLibraryError>;

PhotoLibraryError badImage(const fs::path& file, const ImageError& error) {
    return {PhotoLibraryError::Code::badImage, file, error.detail};
}

fs::path originalsFolder() {
    return PHPhotoLibrary::shared()->catalogue().originals();
}

/// Runs a statement whose parameters are texts, once.
template <class... Texts>
void execute(SQLite::Database& database, const char* sql, const Texts&... texts) {
    SQLite::Statement statement(database, sql);
    int place = 0;
    (statement.bind(++place, texts), ...);
    statement.exec();
}

void insertAsset(const PHAsset& asset, const std::string& contentHash, SQLite::Database& database) {
    SQLite::Statement statement(
        database, "INSERT INTO assets (localIdentifier, creationDate, mediaSubtype, pixelWidth, pixelHeight, file, "
                  "contentHash, isSelected) VALUES (?, ?, ?, ?, ?, ?, ?, 1)"); // the application sees what it makes
    statement.bind(1, asset.localIdentifier);
    if (asset.creationDate)
        statement.bind(2, asset.creationDate->timeIntervalSinceReferenceDate);
    statement.bind(3, asset.mediaSubtypes);
    statement.bind(4, asset.pixelWidth);
    statement.bind(5, asset.pixelHeight);
    statement.bind(6, asset.fileName);
    statement.bind(7, contentHash);
    statement.exec();
    logChange(database, asset.localIdentifier);
}

using Drawn = std::expected<std::shared_ptr<OriginalDraft>, PhotoLibraryError>;

/// Asks for an asset whose original `produce` has written.
void addCreation(const std::shared_ptr<PHAsset>& asset, std::function<Drawn()> produce) {
    const auto written = std::make_shared<OriginalFile>();
    ChangeTransaction::current()->add(
        [=, produce = std::move(produce)]() -> Done {
            const auto draft = produce();
            const auto original = draft ? (*draft)->keep() : std::unexpected(draft.error());
            if (!original)
                return std::unexpected(original.error());
            *written = *original;
            asset->fileName = original->name;
            return {};
        },
        [=](SQLite::Database& database) { insertAsset(*asset, written->contentHash, database); },
        [=] {
            if (written->isNew)
                std::ignore = FileManager::remove(originalsFolder() / written->name);
        });
}

/// Writes what `produce` hands to the sink.
Drawn draftOf(const std::string& ending, const std::function<Done(ByteSink&)>& produce) {
    auto draft = OriginalDraft::write(originalsFolder(), ending, produce);
    if (!draft)
        return std::unexpected(draft.error());
    return std::make_shared<OriginalDraft>(std::move(*draft));
}

CIImage recipeOf(const UIImage& image) {
    return image.ciImage() ? *image.ciImage() : CIImage(*image.cgImage());
}

Drawn draw(const CIImage& recipe, const Date& creationDate, const std::function<bool()>& isCancelled) {
    return draftOf(fileEnding(ImageFormat::png), [&](ByteSink& sink) -> Done {
        const auto drawn = writeImage(recipe, recipe.extent(), ImageFormat::png, {}, creationDate, sink, isCancelled);
        if (drawn)
            return {};
        return std::unexpected(
            drawn.error().code == ImageError::Code::writeFailed
                ? PhotoLibraryError{PhotoLibraryError::Code::writeFailed, originalsFolder(), drawn.error().detail}
                : badImage({}, drawn.error()));
    });
}

std::shared_ptr<PHAsset> newAsset(const CGSize& pixels = {}) {
    return std::make_shared<PHAsset>(PHAsset{.localIdentifier = UUID::make().description(),
                                             .creationDate = Date::now(),
                                             .pixelWidth = static_cast<std::int64_t>(pixels.width),
                                             .pixelHeight = static_cast<std::int64_t>(pixels.height),
                                             .fileName = {}});
}

Done copy(const fs::path& file, ByteSink& sink) {
    const auto failed = [&](const std::error_code& error) {
        return std::unexpected(PhotoLibraryError{PhotoLibraryError::Code::readFailed, file, error.message()});
    };
    const auto opened = RegularFile::open(file);
    if (!opened)
        return failed(opened.error());
    std::vector<std::byte> piece(std::size_t{1} << 20);
    for (;;) {
        const auto count = opened->read(piece);
        if (!count)
            return failed(count.error());
        if (*count == 0)
            return {};
        if (const auto written = sink.write(std::span(piece).first(*count)); !written)
            return std::unexpected(
                PhotoLibraryError{PhotoLibraryError::Code::writeFailed, originalsFolder(), written.error().message()});
    }
}

} // namespace

std::expected<PHAssetDraft, PhotoLibraryError> PHAssetDraft::draw(const UIImage& image, const Date& creationDate,
                                                                  const std::function<bool()>& isCancelled) {
    const CIImage recipe = recipeOf(image);
    const auto drawn = platform::draw(recipe, creationDate, isCancelled);
    if (!drawn)
        return std::unexpected(drawn.error());
    return PHAssetDraft(*drawn, creationDate, recipe.extent().size);
}

std::shared_ptr<PHAssetCreationRequest> PHAssetCreationRequest::creationRequestForAssetFromImage(const UIImage& image) {
    const CIImage recipe = recipeOf(image);
    const CGSize pixels = recipe.extent().size;
    if (!ChangeTransaction::current() || !(pixels.width >= 1 && pixels.height >= 1))
        return nullptr;
    const auto asset = newAsset(pixels);
    addCreation(asset, [=] { return draw(recipe, asset->creationDate.value_or(Date::now()), {}); });
    return std::shared_ptr<PHAssetCreationRequest>(new PHAssetCreationRequest(asset));
}

std::shared_ptr<PHAssetCreationRequest>
PHAssetCreationRequest::creationRequestForAssetFromDraft(const PHAssetDraft& draft) {
    if (!ChangeTransaction::current())
        return nullptr;
    const auto asset = newAsset(draft.pixels_);
    asset->creationDate = draft.creationDate_;
    addCreation(asset, [file = draft.file_] { return Drawn(file); });
    return std::shared_ptr<PHAssetCreationRequest>(new PHAssetCreationRequest(asset));
}

std::shared_ptr<PHAssetCreationRequest>
PHAssetCreationRequest::creationRequestForAssetFromImageAtFileURL(const fs::path& file) {
    if (!ChangeTransaction::current())
        return nullptr;
    const auto asset = newAsset();
    const auto source = CGImageSource::open(file);
    const std::string ending = source ? fileEnding(source->properties().format) : "";
    addCreation(asset, [=]() -> Drawn {
        if (!source)
            return std::unexpected(badImage(file, source.error()));
        asset->pixelWidth = source->properties().uprightWidth();
        asset->pixelHeight = source->properties().uprightHeight();
        return draftOf(ending, [&](ByteSink& sink) { return copy(file, sink); });
    });
    return std::shared_ptr<PHAssetCreationRequest>(new PHAssetCreationRequest(asset));
}

namespace {

/// Runs `sql`, whose one parameter is a local identifier, for each of the assets.
void changeEach(const std::vector<PHAsset>& assets, const char* sql) {
    ChangeTransaction* const transaction = ChangeTransaction::current();
    if (!transaction)
        return;
    std::vector<std::string> ids;
    ids.reserve(assets.size());
    for (const PHAsset& asset : assets)
        ids.push_back(asset.localIdentifier);
    transaction->add({}, [=](SQLite::Database& database) {
        for (const std::string& id : ids) {
            execute(database, sql, id);
            if (database.getChanges() > 0)
                logChange(database, id);
        }
    });
}

} // namespace

void PHAssetChangeRequest::deleteAssets(const std::vector<PHAsset>& assets) {
    changeEach(assets, "UPDATE assets SET deleted = unixepoch() WHERE localIdentifier = ? AND deleted IS NULL");
}

void PHAssetChangeRequest::restoreAssets(const std::vector<PHAsset>& assets) {
    changeEach(assets, "UPDATE assets SET deleted = NULL WHERE localIdentifier = ? AND deleted IS NOT NULL");
}

void PHAssetChangeRequest::setCreationDate(const PHAsset& asset, Date date) {
    if (ChangeTransaction* const transaction = ChangeTransaction::current())
        transaction->add({}, [=, id = asset.localIdentifier](SQLite::Database& database) {
            execute(database, "UPDATE assets SET creationDate = ? WHERE localIdentifier = ?",
                    date.timeIntervalSinceReferenceDate, id);
            logChange(database, id);
        });
}

void PHAssetChangeRequest::setMediaSubtypes(const PHAsset& asset, std::int64_t subtypes) {
    if (ChangeTransaction* const transaction = ChangeTransaction::current())
        transaction->add({}, [=, id = asset.localIdentifier](SQLite::Database& database) {
            execute(database, "UPDATE assets SET mediaSubtype = ? WHERE localIdentifier = ?", subtypes, id);
            logChange(database, id);
        });
}

void PHAssetChangeRequest::setNote(const std::string& localIdentifier, const std::string& note) {
    if (ChangeTransaction* const transaction = ChangeTransaction::current())
        transaction->add({}, [=](SQLite::Database& database) {
            execute(database, "UPDATE assets SET note = ? WHERE localIdentifier = ?", note, localIdentifier);
            logChange(database, localIdentifier);
        });
}

std::shared_ptr<PHAssetCollectionChangeRequest>
PHAssetCollectionChangeRequest::creationRequestForAssetCollection(const std::string& title,
                                                                  const std::optional<PHObjectPlaceholder>& inFolder) {
    ChangeTransaction* const transaction = ChangeTransaction::current();
    if (!transaction)
        return nullptr;
    const std::string id = UUID::make().description();
    transaction->add({}, [=](SQLite::Database& database) {
        execute(database,
                "INSERT INTO collections (localIdentifier, kind, title, parent) VALUES (?, 0, ?, (SELECT number FROM "
                "collections WHERE localIdentifier = ?))",
                id, title, inFolder ? inFolder->localIdentifier : "");
    });
    return std::shared_ptr<PHAssetCollectionChangeRequest>(new PHAssetCollectionChangeRequest(id));
}

std::shared_ptr<PHAssetCollectionChangeRequest>
PHAssetCollectionChangeRequest::changeRequestForAssetCollection(const PHAssetCollection& collection) {
    const std::string& id = collection.localIdentifier();
    const auto isThere = PHPhotoLibrary::shared()->catalogue().read([&](SQLite::Database& database) {
        SQLite::Statement row(database, "SELECT 1 FROM collections WHERE kind = 0 AND localIdentifier = ?");
        row.bind(1, id);
        return row.executeStep();
    });
    if (!ChangeTransaction::current() || !isThere.value_or(false))
        return nullptr;
    return std::shared_ptr<PHAssetCollectionChangeRequest>(new PHAssetCollectionChangeRequest(id));
}

void PHAssetCollectionChangeRequest::addAssets(const std::vector<PHObjectPlaceholder>& assets) {
    if (ChangeTransaction* const transaction = ChangeTransaction::current())
        transaction->add({}, [id = identifier_, assets](SQLite::Database& database) {
            for (const PHObjectPlaceholder& asset : assets) {
                execute(database,
                        "INSERT OR IGNORE INTO members (collection, asset, position) SELECT c.number, a.number, "
                        "(SELECT coalesce(max(position), 0) + 1 FROM members WHERE collection = c.number) FROM "
                        "collections c, assets a WHERE c.localIdentifier = ? AND a.localIdentifier = ?",
                        id, asset.localIdentifier);
                logChange(database, asset.localIdentifier);
            }
        });
}

std::optional<PHObjectPlaceholder>
PHCollectionListChangeRequest::creationRequestForCollectionList(const std::string& title) {
    ChangeTransaction* const transaction = ChangeTransaction::current();
    if (!transaction)
        return std::nullopt;
    const std::string id = UUID::make().description();
    transaction->add({}, [=](SQLite::Database& database) {
        execute(database, "INSERT INTO collections (localIdentifier, kind, title) VALUES (?, 1, ?)", id, title);
    });
    return PHObjectPlaceholder{id};
}

std::vector<PHAssetNote> notesOfAssets(Deleted deleted) {
    auto found = PHPhotoLibrary::shared()->catalogue().read([&](SQLite::Database& database) {
        std::vector<PHAssetNote> notes;
        SQLite::Statement rows(database, "SELECT localIdentifier, note FROM assets WHERE note IS NOT NULL AND (? OR "
                                         "deleted IS NULL)");
        rows.bind(1, deleted == Deleted::included ? 1 : 0);
        while (rows.executeStep())
            notes.push_back({rows.getColumn(0).getString(), rows.getColumn(1).getString()});
        return notes;
    });
    return found ? std::move(*found) : std::vector<PHAssetNote>();
}

} // namespace platform
