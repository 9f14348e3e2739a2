#include "Platform/Foundation/ContentHash.hpp"
#include "Platform/Foundation/FailingWrites.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/NaturalOrder.hpp"
#include "Platform/Foundation/WriteFailure.hpp"
#include "Tests/Support/TestDevice.hpp"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <iterator>
#include <sstream>

namespace platform {

namespace fs = std::filesystem;

class FilesTest : public testing::Test {
protected:
    const TestDevice device;
    const TemporaryFolder& folder = device.home();
};

TEST_F(FilesTest, ReadsWholeRegularFilesUpToALimit) {
    const std::string content("a\0b", 3);
    ASSERT_TRUE(FileManager::write(folder / "file", content));
    EXPECT_EQ(FileManager::contents(folder / "file"), content);
    EXPECT_EQ(FileManager::contents(folder / "file", 3), content);
    EXPECT_EQ(FileManager::contents(folder / "file", 2).error(), std::errc::file_too_large);
    ASSERT_TRUE(FileManager::write(folder / "file", ""));
    EXPECT_EQ(FileManager::contents(folder / "file"), "");

    EXPECT_EQ(FileManager::contents(folder / "none").error(), std::errc::no_such_file_or_directory);
    EXPECT_EQ(FileManager::contents(folder.path()).error(), std::errc::invalid_argument);
    mkfifo((folder / "pipe").c_str(), 0600);
    EXPECT_EQ(FileManager::contents(folder / "pipe").error(), std::errc::invalid_argument); // without waiting
    EXPECT_GT(FileManager::contents("/proc/self/status").value().size(), 100u);             // says that it is empty
}

TEST_F(FilesTest, MakesAndRemovesFolders) {
    const fs::path deep = folder / "a" / "b" / "c";
    EXPECT_TRUE(FileManager::createDirectory(deep));
    EXPECT_TRUE(FileManager::createDirectory(deep));
    ASSERT_TRUE(FileManager::write(deep / "file", "x"));
    EXPECT_EQ(FileManager::createDirectory(deep / "file" / "d").error(), std::errc::file_exists);
    EXPECT_EQ(FileManager::write(deep / "none" / "file", "x").error(), std::errc::no_such_file_or_directory);
    EXPECT_EQ(lastWriteFailure().value().file, deep / "none" / "file");

    EXPECT_TRUE(FileManager::remove(folder / "a"));
    EXPECT_TRUE(FileManager::remove(folder / "a"));
    EXPECT_TRUE(FileManager::remove(deep));
    EXPECT_THAT(folder.names(), testing::IsEmpty());
}

TEST_F(FilesTest, SetsDamagedFilesAsideWithoutLosingOne) {
    for (const std::string number : {"1", "2", "3"}) {
        writeFile(folder / "cache", "damaged " + number);
        EXPECT_EQ(FileManager::setAsideDamaged(folder / "cache"), folder / ("cache.damaged-" + number));
        EXPECT_EQ(contentOf(folder / ("cache.damaged-" + number)), "damaged " + number);
    }
    EXPECT_FALSE(fs::exists(folder / "cache"));
    EXPECT_EQ(FileManager::setAsideDamaged(folder / "cache").error(), std::errc::no_such_file_or_directory);

    writeFile(folder / "cache", "damaged");
    const FailingWrites fault(1);
    EXPECT_EQ(FileManager::setAsideDamaged(folder / "cache").error(), std::errc::no_space_on_device);
    EXPECT_EQ(contentOf(folder / "cache"), "damaged");
}

TEST_F(FilesTest, HashesContentHoweverItComes) {
    const std::string content(300'000, 'x');
    writeFile(folder / "file", content);
    ContentHash fromFile, inPieces, other;
    ASSERT_TRUE(fromFile.addFile(folder / "file"));
    for (std::size_t i = 0; i < content.size(); i += 1000)
        inPieces.add(content.data() + i, 1000);
    other.add(content.data(), content.size() - 1);
    EXPECT_EQ(fromFile.hex(), inPieces.hex());
    EXPECT_NE(fromFile.hex(), other.hex());
    EXPECT_EQ(ContentHash().hex(), "99aa06d3014798d86001c324468d497f"); // XXH3's for nothing
    EXPECT_EQ(other.addFile(folder.path()).error(), std::errc::invalid_argument);
}

TEST(NaturalOrder, SortsNumbersByValue) {
    std::istringstream words("1 2 2a 10 a a0 a00 a1 a01 a1b2 a01b2 a1b10 a2 a10 a10b "
                             "a99999999999999999998 a99999999999999999999 aB ab b b\xc3\xa4");
    std::vector<std::string> sorted{""};
    sorted.insert(sorted.end(), std::istream_iterator<std::string>(words), {});
    for (std::size_t i = 0; i < sorted.size(); ++i)
        for (std::size_t k = 0; k < sorted.size(); ++k)
            EXPECT_EQ(naturalLess(sorted[i], sorted[k]), i < k) << sorted[i] << ' ' << sorted[k];
}

} // namespace platform
