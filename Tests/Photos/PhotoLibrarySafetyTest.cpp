#include "Platform/Foundation/FailingWrites.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Platform/Photos/LibraryLock.hpp"
#include "Platform/Photos/OriginalFile.hpp"
#include "Tests/Support/TestLibrary.hpp"

#include <SQLiteCpp/Database.h>
#include <gmock/gmock.h>
#include <sqlite3.h>
#include <sys/wait.h>

// What a library outlives: strangers' catalogues, killed processes, damage and full disks.

namespace platform {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class PhotoLibrarySafetyTest : public testing::Test {
protected:
    /// As another program would; the library's own threads may be reading.
    void inCatalogue(const std::string& sql) const {
        constexpr int busyMilliseconds = 10'000;
        SQLite::Database(catalogue.native(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE, busyMilliseconds).exec(sql);
    }

    const TestDevice device;
    const fs::path folder = device.home() / "Photos";
    const fs::path catalogue = folder / "Catalogue.sqlite";
};

/// A library may come from anyone: what its catalogue and its folder name is its own, or nothing.
TEST_F(PhotoLibrarySafetyTest, TouchesNothingOutsideOfItsFolder) {
    const std::string a = addScreenshot(1, 1), b = addScreenshot(2, 2), c = addScreenshot(3, 3);
    const fs::path letter = device.home() / "letter.txt";
    writeFile(letter, "mine");
    perform([&] { PHAssetChangeRequest::deleteAssets(assetsNamed({a, b})); });
    inCatalogue("UPDATE assets SET file = '../../letter.txt' WHERE localIdentifier = '" + a + "'");
    inCatalogue("UPDATE assets SET file = '" + letter.native() + "' WHERE localIdentifier = '" + b + "'");
    inCatalogue("UPDATE assets SET file = '../../letter.txt' WHERE localIdentifier = '" + c + "'");
    EXPECT_EQ(assetsNamed({c})[0].file().parent_path(), folder / "Originals");
    EXPECT_EQ(PHPhotoLibrary::shared()->emptyTrash(), 2);
    EXPECT_TRUE(fs::exists(letter));

    inCatalogue("UPDATE assets SET localIdentifier = '../../' || localIdentifier");
    EXPECT_THAT(PHAsset::fetchAssets({}).assets(), IsEmpty());

    inCatalogue("CREATE TRIGGER t AFTER INSERT ON assets BEGIN DELETE FROM assets; END");
    const std::string d = addScreenshot(4, 4);
    EXPECT_THAT(idsOf(PHAsset::fetchAssets({})), ElementsAre(d)); // the trigger did not run

    fs::remove(folder / ".lock");
    fs::create_symlink(letter, folder / ".lock");
    EXPECT_EQ(addScreenshot(5, 5), "");
    EXPECT_EQ(contentOf(letter), "mine");
}

/// A process of its own that is killed while it holds this library.
void killHolder(const fs::path& folder) {
    const pid_t child = fork();
    if (child == 0) {
        const auto held = LibraryLock::take(folder);
        _exit(raise(SIGKILL));
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

TEST_F(PhotoLibrarySafetyTest, WhatAKilledProcessLeftIsSweptButNothingElse) {
    const std::string a = addScreenshot(1, 1);
    const fs::path stray = folder / "Originals" / "zz" / "stray.png";
    fs::create_directories(stray.parent_path());
    writeFile(stray, "half a picture");
    addScreenshot(2, 2); // the last one let go in order: nothing is swept
    EXPECT_TRUE(fs::exists(stray));

    killHolder(folder);
    const std::string c = addScreenshot(3, 3); // and the dead one's lock is free
    EXPECT_FALSE(fs::exists(stray));
    EXPECT_TRUE(fs::exists(assetsNamed({a})[0].file()));

    // A catalogue that lost its content has no word in this.
    inCatalogue("DELETE FROM assets");
    killHolder(folder);
    addScreenshot(4, 4);
    EXPECT_THAT(originalNames(folder / "Originals"), SizeIs(4));
}

TEST_F(PhotoLibrarySafetyTest, WaitsForAnotherProcessAsLongAsItIsToldTo) {
    addScreenshot(1);
    auto held = *LibraryLock::take(folder);
    int asked = 0;
    const auto given = LibraryLock::take(folder, [&] { return ++asked < 3; });
    EXPECT_EQ(asked, 3);
    EXPECT_EQ(given.error().code, PhotoLibraryError::Code::busy);
    EXPECT_TRUE(LibraryLock::take(folder, [&] {
        held = nullptr; // it has finished
        return true;
    }));
}

TEST_F(PhotoLibrarySafetyTest, ACatalogueThatCannotBeUsedSaysWhyAndStaysAsItIs) {
    addScreenshot(1);
    using Code = PhotoLibraryError::Code;
    const std::string sound = contentOf(catalogue);
    const std::pair<Code, std::function<void()>> cases[] = {
        {Code::damaged, [&] { writeFile(catalogue, "no database at all, and long enough to be read as one"); }},
        {Code::damaged,
         [&] { writeFile(catalogue, sound.substr(0, 4096) + std::string(sound.size() - 4096, '\x7f')); }},
        {Code::newerVersion, [&] { inCatalogue("PRAGMA user_version = 9"); }},
        {Code::damaged,
         [&] {
             fs::remove(catalogue);
             inCatalogue("CREATE TABLE others (a)");
         }},
    };
    for (const auto& [code, spoil] : cases) {
        writeFile(catalogue, sound);
        spoil();
        const std::string before = contentOf(catalogue);
        PHPhotoLibrary library;
        const auto checked = library.check();
        ASSERT_FALSE(checked);
        EXPECT_EQ(checked.error().code, code);
        EXPECT_EQ(checked.error().file, catalogue);
        EXPECT_FALSE(library.setAuthorization(PHAuthorizationStatus::denied));
        EXPECT_EQ(contentOf(catalogue), before);
    }
    EXPECT_THAT(originalNames(folder / "Originals"), SizeIs(1));
}

/// Makes SQLite's writes fail like all others.
class FailingCatalogue {
public:
    FailingCatalogue() {
        set("pwrite", reinterpret_cast<sqlite3_syscall_ptr>(&failingWrite));
        set("pwrite64", reinterpret_cast<sqlite3_syscall_ptr>(&failingWrite));
        set("ftruncate", reinterpret_cast<sqlite3_syscall_ptr>(&failingTruncate));
    }
    ~FailingCatalogue() {
        for (const char* name : {"pwrite", "pwrite64", "ftruncate"})
            set(name, nullptr); // the system's again
    }

private:
    static void set(const char* name, sqlite3_syscall_ptr call) {
        sqlite3_vfs* const vfs = sqlite3_vfs_find(nullptr);
        vfs->xSetSystemCall(vfs, name, call);
    }
    static ssize_t failingWrite(int file, const void* bytes, std::size_t count, off_t at) {
        if (!FailingWrites::isToFail())
            return pwrite(file, bytes, count, at);
        errno = ENOSPC;
        return -1;
    }
    static int failingTruncate(int file, off_t size) {
        if (!FailingWrites::isToFail())
            return ftruncate(file, size);
        errno = EIO;
        return -1;
    }
};

TEST_F(PhotoLibrarySafetyTest, AFailureAtAnyWriteLosesNothing) {
    const std::string kept = addScreenshot(1, 1);
    const FailingCatalogue failing;
    int failures = 0;
    for (int n = 1;; ++n) {
        const std::size_t before = PHAsset::fetchAssets({}).count();
        std::string added;
        bool happened = false;
        {
            const FailingWrites failure(n);
            added = addScreenshot(n + 1, static_cast<unsigned>(n + 1));
            happened = failure.happened();
        }
        const auto now = PHAsset::fetchAssets({});
        EXPECT_EQ(now.count(), before + (added.empty() ? 0 : 1)) << n; // said and done are one
        for (const PHAsset& asset : now.assets())
            EXPECT_TRUE(CGImageSource::open(asset.file())) << n;
        if (!happened)
            break;
        failures += added.empty();
    }
    EXPECT_GT(failures, 8);
    EXPECT_THAT(assetsNamed({kept}), SizeIs(1));
}

} // namespace platform
