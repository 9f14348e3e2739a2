#include "Host/Commands/Import.hpp"

#include "Host/Console.hpp"
#include "Host/DamagedRows.hpp"
#include "Host/FileSource.hpp"
#include "Host/ImageErrorMessage.hpp"
#include "Host/Interrupt.hpp"
#include "Host/Library.hpp"
#include "Host/Message.hpp"
#include "Host/PictureWriter.hpp"
#include "Host/ScreenshotTest.hpp"
#include "Platform/Foundation/JSONWriter.hpp"
#include "Platform/Photos/LibraryLock.hpp"
#include "Platform/Photos/OriginalFile.hpp"
#include "Platform/Photos/PHChangeRequests.hpp"
#include "Platform/Photos/PHFetchResult.hpp"

#include <algorithm>

namespace host {

namespace fs = std::filesystem;
using platform::CGImageSource;
using platform::PHAsset;
using platform::PHAssetCreationRequest;

namespace {

/// Files a transaction: each costs a few flushes of the catalogue.
constexpr std::size_t batchSize = 32;

enum class Kind { screenshot, photograph, own };

struct Arrival {
    fs::path path;
    Kind kind;
    platform::Date date;
};

void request(const Arrival& arrival) {
    const auto creation = PHAssetCreationRequest::creationRequestForAssetFromImageAtFileURL(arrival.path);
    creation->setCreationDate(arrival.kind == Kind::own ? velmorant::markedCreationDate(arrival.date, false)
                                                        : arrival.date);
    if (arrival.kind == Kind::screenshot)
        creation->setMediaSubtypes(platform::PHAssetMediaSubtype::screenshot);
    if (arrival.kind == Kind::own)
        velmorant::addToStitchedAlbum(*creation->placeholderForCreatedAsset());
}

void count(const Arrival& arrival, Imported& imported) {
    switch (arrival.kind) {
    case Kind::screenshot:
        ++imported.screenshots;
        return;
    case Kind::photograph:
        ++imported.photographs;
        return;
    case Kind::own:
        ++imported.ownPictures;
        return;
    }
}

/// Nothing where Ctrl-C came before the end: what became of the arrivals is not known then, and not told.
std::optional<ChangeResult> commit(const std::vector<Arrival>& arrivals) {
    return performChanges([arrivals] { std::ranges::for_each(arrivals, request); });
}

Imported::Failure failure(const fs::path& path, const platform::ImageError& error) {
    return {path, imageErrorMessage(path, error), mayPass(error)};
}

/// The library's errors name its own files.
std::string notImported(const fs::path& path, const std::string& reason) {
    return message("{}: it was not imported: {}", {shown(path), reason});
}

Imported::Failure failure(const fs::path& path, const platform::PhotoLibraryError& error) {
    const std::string reason = libraryErrorMessage(error);
    return {path, error.file == path ? reason : notImported(path, reason), mayPass(error)};
}

/// Damage is told now, while the user may still copy the screenshot again.
void dropDamaged(std::vector<Arrival>& batch, Imported& imported) {
    std::vector<std::optional<platform::ImageError>> damage(batch.size());
    platform::DispatchQueue::concurrentPerform(batch.size(), [&](std::size_t i) {
        if (batch[i].kind != Kind::screenshot)
            return;
        const auto image = CGImageSource::open(batch[i].path);
        damage[i] = image ? damageIn(*image) : image.error();
    });
    std::vector<Arrival> sound;
    for (std::size_t i = 0; i < batch.size(); ++i)
        if (damage[i])
            imported.failed.push_back(failure(batch[i].path, *damage[i]));
        else
            sound.push_back(std::move(batch[i]));
    batch = std::move(sound);
}

bool isKnown(const fs::path& path) {
    return PHAsset::fetchAssetsWithContent(path).count() > 0;
}

/// What was taken for photographs when it was imported.
void insistOnScreenshots(const std::vector<PHAsset>& photographs, Imported& imported) {
    if (photographs.empty() || Interrupt::requested())
        return;
    const auto done = performChanges([photographs] {
        for (const PHAsset& asset : photographs)
            platform::PHAssetChangeRequest::setMediaSubtypes(asset, platform::PHAssetMediaSubtype::screenshot);
    });
    if (done && *done)
        imported.screenshots += photographs.size();
    else if (done)
        for (const PHAsset& asset : photographs)
            imported.failed.push_back(failure(asset.file(), done->error()));
}

/// Files a batch, or where that fails each by itself, so that a bad one does not keep the others out. `changeNumber` is
/// the library's when it was last looked for what it has already.
void file(std::vector<Arrival> batch, std::int64_t changeNumber, Imported& imported) {
    dropDamaged(batch, imported);
    if (batch.empty() || Interrupt::requested())
        return;
    const auto photos = platform::PHPhotoLibrary::shared();
    const auto lock = Library::lock();
    for (const Arrival& arrival : batch)
        if (!lock && !Interrupt::requested())
            imported.failed.push_back({arrival.path, notImported(arrival.path, lock.error()), true});
    if (!lock)
        return;
    if (photos->changeNumber() != changeNumber) // another process may have imported some of them
        std::erase_if(batch, [&](const Arrival& arrival) {
            const bool known = isKnown(arrival.path);
            if (known)
                imported.duplicates.push_back(arrival.path);
            return known;
        });
    const auto whole = commit(batch);
    if (whole && *whole)
        for (const Arrival& arrival : batch)
            count(arrival, imported);
    if (!whole || *whole)
        return;
    for (const Arrival& arrival : batch) {
        const auto single = commit({arrival});
        if (!single)
            return;
        if (*single)
            count(arrival, imported);
        else
            imported.failed.push_back(failure(arrival.path, single->error()));
    }
}

} // namespace

Imported importFiles(const std::vector<fs::path>& files, bool asScreenshots, bool quiet) {
    Imported imported;
    std::vector<Arrival> batch;
    const auto photos = platform::PHPhotoLibrary::shared();
    std::vector<PHAsset> photographs;
    std::int64_t changeNumber = photos->changeNumber();
    for (std::size_t i = 0; i < files.size() && !Interrupt::requested(); ++i) {
        if (!quiet)
            showStatus(message("importing: {} of {} files", {std::to_string(i), std::to_string(files.size())}));
        const fs::path& path = files[i];
        const auto image = CGImageSource::open(path);
        if (!image) {
            imported.failed.push_back(failure(path, image.error()));
            continue;
        }
        const bool isOwn = image->properties().software == softwareMark;
        const auto known = PHAsset::fetchAssetsWithContent(path).assets();
        const auto photograph = std::ranges::find(known, platform::PHAssetMediaSubtype::none, &PHAsset::mediaSubtypes);
        if (asScreenshots && !isOwn && photograph != known.end()) {
            photographs.push_back(*photograph);
            continue;
        }
        if (!known.empty() || std::ranges::any_of(batch, [&](const Arrival& other) {
                return platform::haveSameBytes(other.path, path);
            })) {
            imported.duplicates.push_back(path);
            continue;
        }
        const Kind kind = isOwn                                                      ? Kind::own
                          : asScreenshots || isScreenshot(path, image->properties()) ? Kind::screenshot
                                                                                     : Kind::photograph;
        batch.push_back({path, kind, captureDate(path, image->properties())});
        if (batch.size() == batchSize) {
            file(std::exchange(batch, {}), changeNumber, imported);
            changeNumber = photos->changeNumber();
        }
    }
    file(std::move(batch), changeNumber, imported);
    insistOnScreenshots(photographs, imported);
    showStatus({});
    return imported;
}

ExitStatus import(const ImportOptions& options) {
    const auto named = InputFiles::of(options.input);
    if (!named) {
        complain(named.error());
        return ExitStatus::wrongCall;
    }
    if (const auto library = Library::open(Library::Use::changing); !library) { // whether it can be changed at all
        complain(library.error());
        return ExitStatus::incomplete;
    }
    Imported imported = importFiles(named->paths, options.asScreenshots, options.quiet);
    for (const BadFile& folder : named->bad)
        imported.failed.push_back(failure(folder.path, folder.error));
    for (const Imported::Failure& failed : imported.failed)
        complain(failed.reason);
    if (!options.quiet && !options.json)
        for (const fs::path& path : imported.duplicates)
            complain(message("{}: the library has it already", {shown(path)}));

    platform::JSONWriter json;
    json.beginObject().member("screenshots", imported.screenshots).member("photographs", imported.photographs);
    json.member("ownPictures", imported.ownPictures).key("duplicates").beginArray();
    for (const fs::path& path : imported.duplicates)
        json.value(path.native());
    json.endArray().key("failed").beginArray();
    for (const Imported::Failure& failed : imported.failed)
        json.beginObject().member("path", failed.path.native()).member("error", failed.reason).endObject();
    json.endArray().endObject();
    std::string line =
        message("imported: {} screenshots, {} photographs, {} finished pictures; {} were there already\n",
                {std::to_string(imported.screenshots), std::to_string(imported.photographs),
                 std::to_string(imported.ownPictures), std::to_string(imported.duplicates.size())});
    if (imported.photographs > 0)
        line += message("photographs are not joined; for those that are screenshots: velmorant import --as-screenshots "
                        "FILE\n");
    const bool isPrinted = (options.quiet && !options.json) || print(options.json ? json.text() + "\n" : line);
    if (Interrupt::requested())
        return ExitStatus::interrupted;
    return isPrinted && imported.failed.empty() ? ExitStatus::success : ExitStatus::incomplete;
}

} // namespace host
