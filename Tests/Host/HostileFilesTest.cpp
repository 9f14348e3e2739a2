#include "Tests/Support/HostileFiles.hpp"

#include "Codecs/Sandbox.hpp"
#include "Host/ImageErrorMessage.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Tests/Support/ProgramTest.hpp"

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <map>

// Each bad file is refused with its reason, within 10 seconds and a gigabyte.

namespace host {

using platform::contentOf;
using platform::writeFile;
using testing::HasSubstr;

namespace {

/// Reasons by the files' names. Each may occur once.
std::map<std::string, std::string> failedIn(const Ran& ran) {
    std::map<std::string, std::string> failed;
    readAnswer(ran, [&](const platform::JSONValue& answer) {
        for (const auto& file : answer["failed"].elements()) {
            const std::string name = fs::path(file["path"].string()).filename();
            EXPECT_TRUE(failed.emplace(name, file["error"].string()).second) << name << " is named twice";
        }
    });
    return failed;
}

std::size_t linesOf(const std::string& text) {
    return static_cast<std::size_t>(std::ranges::count(text, '\n'));
}

} // namespace

class HostileFilesTest : public ProgramTest {
protected:
    HostileFilesTest() { fs::copy(examples / "trip-chat", among); }
    ~HostileFilesTest() override {
        for (const int whom : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
            rusage usage = {};
            getrusage(whom, &usage);
            EXPECT_TRUE(codecs::isSanitized || usage.ru_maxrss * 1024 < 1'000'000'000); // sanitizers take more
        }
    }

    /// Named so that it was taken between the first and the second screenshot.
    static std::string between(const std::string& name) { return "Screenshot_20260301-101113_" + name; }

    /// Adds all that is bad to the screenshots, or would be were its rows read; answers the names.
    std::vector<std::string> addBad() {
        std::vector<std::string> names;
        const auto add = [&](const std::string& name) { return among / names.emplace_back(between(name)); };
        for (const hostile::File& file : hostile::files())
            if (!file.reason.empty() && file.name.find("-scans") == std::string::npos) // of another size: never decoded
                writeFile(add(file.name), file.bytes);
        mkfifo(add("pipe.png").c_str(), 0600);
        fs::create_symlink("/dev/zero", add("zeros.png"));
        fs::create_symlink(between("loop.png"), add("loop.png"));
        fs::create_symlink("nowhere", add("nowhere.png"));
        for (const char* name : {"escape\x1b[31m.png", "line\nbreak.png", "bytes\xff\xc0.png", "c1\xc2\x9b.png"})
            writeFile(add(name), "no picture");
        writeFile(among / names.emplace_back("--force.png"), "no picture");
        if (geteuid() != 0) {
            writeFile(add("locked.png"), "secret");
            fs::permissions(among / names.back(), fs::perms::none);
        }
        return names;
    }

    static void expectFit(const std::string& text) {
        for (const char c : text)
            EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= 0x20) << text;
        EXPECT_EQ(text.find("\xc2\x9b"), std::string::npos);
        EXPECT_EQ(text.find('\xff'), std::string::npos);
    }

    const fs::path among = folder / "shots";
};

TEST_F(HostileFilesTest, EachIsReadOrRefusedWithItsReason) {
    for (const auto& [name, bytes, reason] : hostile::files()) {
        writeFile(folder / name, bytes);
        const std::clock_t before = std::clock(); // of this process, not the day's
        std::string said;
        if (const auto source = platform::CGImageSource::open(folder / name); !source)
            said = imageErrorMessage(name, source.error());
        else if (const auto image = source->image().decoded(); !image)
            said = imageErrorMessage(name, image.error());
        EXPECT_LT(std::clock() - before, 10 * CLOCKS_PER_SEC) << name;
        EXPECT_EQ(said.empty(), reason.empty()) << name << ": " << said;
        EXPECT_THAT(said, HasSubstr(reason)) << name;
        fs::remove(folder / name);
    }
}

TEST_F(HostileFilesTest, NamesThatBeginWithADashAreNamesBehindTwo) {
    fs::copy(shots[0], folder / "-o");
    fs::copy(shots[1], folder / "--json");
    const Ran ran = run("-o out.png --together -- -o --json");
    EXPECT_EQ(ran.status, 0) << ran.err;
    EXPECT_TRUE(fs::exists(folder / "out.png"));
    EXPECT_THAT(run(quoted("--\x1b[31m")).err, testing::Not(HasSubstr("\x1b[31m")));
}

TEST_F(HostileFilesTest, AFileThatShrinksWhileItIsReadIsAnError) {
    const fs::path file = folder / "picture";
    using enum platform::ImageFormat;
    for (const auto format : {png, jpeg, webp}) {
        writeFile(file, hostile::encoded(format, 90));
        const auto source = platform::CGImageSource::open(file);
        ASSERT_TRUE(source);
        auto rows = source->image().reader();
        ASSERT_TRUE(rows);
        platform::Bitmap pixels(hostile::width, hostile::height);
        ASSERT_TRUE((*rows)->read(pixels.row(0), pixels.stride(), 10));
        fs::resize_file(file, 100);
        const auto rest = (*rows)->read(pixels.row(10), pixels.stride(), hostile::height - 10);
        EXPECT_EQ(rest.has_value(), format == webp) << static_cast<int>(format); // that one was read whole
        EXPECT_FALSE(source->image().reader()) << static_cast<int>(format);
    }
}

TEST_F(HostileFilesTest, NeighboursAreJoinedAsIfTheyWereNotThere) {
    EXPECT_EQ(run("shots -o alone.png").status, 0);
    const auto bad = addBad();
    fs::create_directory(among / between("folder.png"));
    const Ran ran = run("shots --json -o out.png");
    EXPECT_EQ(ran.status, 1);
    const auto failed = failedIn(ran);
    EXPECT_EQ(failed.size(), bad.size());
    for (const hostile::File& file : hostile::files())
        if (const auto told = failed.find(between(file.name)); told != failed.end()) {
            EXPECT_THAT(told->second, HasSubstr(file.reason)) << file.name;
        }
    EXPECT_THAT(failed.at(between("pipe.png")), HasSubstr("not a regular file"));
    EXPECT_EQ(linesOf(ran.err), bad.size()) << ran.err;
    expectFit(ran.err);
    EXPECT_TRUE(contentOf(folder / "out.png") == contentOf(folder / "alone.png"));

    const Ran told = run("shots -o told.png");
    EXPECT_EQ(told.status, 1);
    EXPECT_EQ(linesOf(told.err), bad.size()) << told.err;
    expectFit(told.out + told.err);
    EXPECT_TRUE(contentOf(folder / "told.png") == contentOf(folder / "alone.png"));
}

TEST_F(HostileFilesTest, ALibraryTakesOnlyTheOthers) {
    const auto bad = addBad();
    const Ran ran = run("--library lib import --json shots");
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(failedIn(ran).size(), bad.size()) << ran.err;
    expectFit(ran.err);
    const Ran items = run("--library lib items");
    EXPECT_EQ(linesOf(items.out), 5u) << items.out;
    EXPECT_EQ(linesOf(run("--library lib groups").out), 1u);
    const Ran saved = run("--library lib save --all");
    EXPECT_EQ(saved.status, 0) << saved.err;
    EXPECT_EQ(linesOf(run("--library lib items").out), 6u);
}

} // namespace host
