#include "Platform/Foundation/AtomicFile.hpp"

#include "Platform/Foundation/FailingWrites.hpp"
#include "Platform/Foundation/SystemCalls.hpp"
#include "Platform/Foundation/WriteFailure.hpp"
#include "Tests/Support/TestDevice.hpp"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <optional>
#include <random>
#include <thread>

namespace platform {

namespace fs = std::filesystem;
using Existing = AtomicFile::Existing;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string before(1000, 'b');
const std::string after(1'000'000, 'a'); // more than is held back

/// Writes in two pieces, of which the second alone is more than is held back.
std::error_code save(const fs::path& file, Existing existing, const std::string& content = after) {
    auto opened = AtomicFile::create(file, existing);
    if (!opened)
        return opened.error();
    const auto bytes = std::as_bytes(std::span(content));
    for (const auto piece : {bytes.first(bytes.size() / 5), bytes.subspan(bytes.size() / 5)})
        std::ignore = opened->write(piece); // commit must know
    const auto committed = opened->commit();
    return committed ? std::error_code() : committed.error();
}

mode_t modeOf(const fs::path& file) {
    struct stat status = {};
    return stat(file.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

} // namespace

/// On the file system as it is, and on one that knows less.
class AtomicFileTest : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        if (GetParam())
            simple.emplace();
    }

    std::optional<SimpleFileSystem> simple;
    const TestDevice device;
    const TemporaryFolder folder;
    const fs::path file = folder / "file";
};

INSTANTIATE_TEST_SUITE_P(FileSystems, AtomicFileTest, testing::Bool(),
                         [](const auto& its) { return its.param ? "Simple" : "AsItIs"; });

TEST_P(AtomicFileTest, IsThereWholeOrAsBeforeWhicheverStepFails) {
    for (const Existing existing : {Existing::replace, Existing::keep})
        for (int n = 1;; ++n) {
            fs::remove(file);
            if (existing == Existing::replace)
                writeFile(file, before);
            const FailingWrites fault(n);
            const std::error_code error = save(file, existing);
            const std::string found = fs::exists(file) ? contentOf(file) : before;
            EXPECT_THAT(found == before || found == after, true) << n;
            EXPECT_EQ(folder.names().size(), fs::exists(file) ? 1u : 0u) << "something is left after step " << n;
            if (!fault.happened()) {
                EXPECT_FALSE(error);
                EXPECT_EQ(found, after);
                EXPECT_GE(n, 5); // two writes, two flushes and a name
                break;
            }
            EXPECT_EQ(error, std::errc::no_space_on_device) << n;
            EXPECT_EQ(lastWriteFailure().value().file, file);
        }
}

TEST_P(AtomicFileTest, LeavesNothingWithoutACommit) {
    {
        auto opened = AtomicFile::create(file, Existing::replace);
        ASSERT_TRUE(opened);
        ASSERT_TRUE(opened->write(std::as_bytes(std::span(after))));
        const AtomicFile moved = std::move(*opened);
    }
    EXPECT_THAT(folder.names(), IsEmpty());
    EXPECT_EQ(AtomicFile::create(folder / "none" / "file", Existing::keep).error(),
              std::errc::no_such_file_or_directory);
}

TEST_P(AtomicFileTest, KeepsWhatIsThere) {
    writeFile(file, before);
    fs::create_symlink("nowhere", folder / "link");
    EXPECT_EQ(save(file, Existing::keep), std::errc::file_exists);
    EXPECT_EQ(save(folder / "link", Existing::keep), std::errc::file_exists);
    EXPECT_EQ(contentOf(file), before);
    EXPECT_FALSE(lastWriteFailure()); // nothing went wrong

    fs::remove(file);
    std::atomic<int> winners = 0;
    std::vector<std::jthread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&, i] {
            if (!save(file, Existing::keep, std::string(100, static_cast<char>('0' + i))))
                ++winners;
        });
    threads.clear();
    EXPECT_EQ(winners, 1);
    EXPECT_EQ(folder.names().size(), 2u);
}

TEST_P(AtomicFileTest, TakesPermissionsAndLinksFromWhatItReplaces) {
    const mode_t mask = umask(027);
    EXPECT_FALSE(save(file, Existing::keep));
    umask(mask);
    EXPECT_EQ(modeOf(file), 0640u);

    fs::create_directory(folder / "elsewhere");
    const fs::path target = folder / "elsewhere" / "target";
    writeFile(target, before);
    chmod(target.c_str(), 04604);
    fs::create_symlink("elsewhere/target", folder / "link");
    EXPECT_FALSE(save(folder / "link", Existing::replace));
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(contentOf(target), after);
    EXPECT_EQ(modeOf(target), 0604u);
}

TEST_P(AtomicFileTest, HasRoomForTheLongestName) {
    const std::string longest(255, 'n');
    EXPECT_FALSE(save(folder / longest, Existing::replace));
    EXPECT_THAT(folder.names(), ElementsAre(longest));
}

TEST_P(AtomicFileTest, LeavesNothingOfAKilledProcessWhereFilesNeedNoName) {
    const auto unnamed = systemCalls::openUnnamed(folder.path());
    if (unnamed)
        close(*unnamed);
    const pid_t child = fork();
    if (child == 0) {
        auto opened = AtomicFile::create(file, Existing::replace);
        std::ignore = opened->write(std::as_bytes(std::span(after)));
        _exit(0);
    }
    waitpid(child, nullptr, 0);
    EXPECT_EQ(folder.names().size(), unnamed ? 0u : 1u);
}

TEST_P(AtomicFileTest, SurvivesAKillAtAnyMoment) {
    writeFile(file, before);
    std::mt19937 random(11);
    for (int round = 0; round < 40; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            for (;;)
                std::ignore = save(file, Existing::replace);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 4000));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        ASSERT_THAT(contentOf(file) == before || contentOf(file) == after, true) << round;
        for (const std::string& name : folder.names())
            EXPECT_TRUE(name == "file" || (name.starts_with(".velmorant-") && name.ends_with(".tmp"))) << name;
    }
}

} // namespace platform
