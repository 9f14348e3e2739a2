#include "Tests/Support/HostileFiles.hpp"

#include "Codecs/Sandbox.hpp"
#include "Host/ImageErrorMessage.hpp"
#include "Platform/Foundation/JSONDecoder.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Tests/Support/ProgramTest.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>

// Each bad file is refused with its reason, within 10 seconds and a gigabyte.

namespace host {

using platform::contentOf;
using platform::writeFile;
using testing::HasSubstr;

namespace {

/// What has been taken so far, by this process or by those that it ran.
struct Usage {
    double seconds = 0;
    std::int64_t peakBytes = 0;

    static Usage of(int whom) {
        rusage usage = {};
        getrusage(whom, &usage);
        const auto secondsOf = [](const timeval& time) {
            return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
        };
        return {secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime), usage.ru_maxrss * 1024};
    }
};

/// Reasons by the files' names. Each may occur once.
std::map<std::string, std::string> failedIn(const Ran& ran) {
    std::map<std::string, std::string> failed;
    const auto decoded = platform::json::decode(ran.out, [&](const platform::JSONValue& answer) {
        for (const auto& file : answer["failed"].elements()) {
            const std::string name = fs::path(file["path"].string()).filename();
            EXPECT_TRUE(failed.emplace(name, file["error"].string()).second) << name << " is named twice";
        }
    });
    EXPECT_TRUE(decoded) << ran.out << ran.err;
    return failed;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0, end = 0; (end = text.find('\n', at)) != std::string::npos; at = end + 1)
        lines.push_back(text.substr(at, end - at));
    return lines;
}

} // namespace

class HostileFilesTest : public ProgramTest {
protected:
    HostileFilesTest() {
        fs::create_directory(shots);
        for (const auto& entry : fs::directory_iterator(examples / "trip-chat"))
            if (entry.path().extension() == ".png")
                fs::copy(entry.path(), shots);
    }
    ~HostileFilesTest() override {
        for (const int whom : {RUSAGE_SELF, RUSAGE_CHILDREN})
            EXPECT_TRUE(codecs::isSanitized || Usage::of(whom).peakBytes < 1'000'000'000); // sanitizers take more
    }

    /// Named so that it was taken between the first and the second screenshot.
    static std::string between(const std::string& name) { return "Screenshot_20260301-101113_" + name; }

    /// Adds all that is bad to the screenshots, or would be were its rows read; answers the names.
    std::vector<std::string> addBad() {
        std::vector<std::string> names;
        const auto add = [&](const std::string& name) { return shots / names.emplace_back(between(name)); };
        for (const hostile::File& file : hostile::files())
            if (!file.reason.empty() && file.name.find("-scans") == std::string::npos) // of another size: never decoded
                writeFile(add(file.name), file.bytes);
        mkfifo(add("pipe.png").c_str(), 0600);
        fs::create_symlink("/dev/zero", add("zeros.png"));
        fs::create_symlink(between("loop.png"), add("loop.png"));
        fs::create_symlink("nowhere", add("nowhere.png"));
        for (const char* name : {"escape\x1b[31m.png", "line\nbreak.png", "bytes\xff\xc0.png", "c1\xc2\x9b.png"})
            writeFile(add(name), "no picture");
        writeFile(shots / names.emplace_back("--force.png"), "no picture");
        if (geteuid() != 0) {
            writeFile(add("locked.png"), "secret");
            fs::permissions(shots / names.back(), fs::perms::none);
        }
        return names;
    }

    static void expectFit(const std::string& text) {
        for (const char c : text)
            EXPECT_TRUE(c == '\n' || static_cast<unsigned char>(c) >= 0x20) << text;
        EXPECT_EQ(text.find("\xc2\x9b"), std::string::npos);
        EXPECT_EQ(text.find('\xff'), std::string::npos);
    }

    const fs::path shots = folder / "shots";
};

TEST_F(HostileFilesTest, EachIsReadOrRefusedWithItsReason) {
    for (const auto& [name, bytes, reason] : hostile::files()) {
        writeFile(folder / name, bytes);
        const double before = Usage::of(RUSAGE_SELF).seconds;
        std::string said;
        if (const auto source = platform::CGImageSource::open(folder / name); !source)
            said = imageErrorMessage(name, source.error());
        else if (const auto image = source->image().decoded(); !image)
            said = imageErrorMessage(name, image.error());
        EXPECT_LT(Usage::of(RUSAGE_SELF).seconds - before, 10) << name;
        EXPECT_EQ(said.empty(), reason.empty()) << name << ": " << said;
        EXPECT_THAT(said, HasSubstr(reason)) << name;
        fs::remove(folder / name);
    }
}

TEST_F(HostileFilesTest, NamesThatBeginWithADashAreNamesBehindTwo) {
    fs::copy(shots / "Screenshot_20260301-101112.png", folder / "-o");
    fs::copy(shots / "Screenshot_20260301-101115.png", folder / "--json");
    const Ran ran = run("-o out.png --together -- -o --json");
    EXPECT_EQ(ran.status, 0) << ran.err;
    EXPECT_TRUE(fs::exists(folder / "out.png"));
    EXPECT_THAT(run(quoted("--\x1b[31m")).err, testing::Not(HasSubstr("\x1b[31m")));
}

TEST_F(HostileFilesTest, AFileThatShrinksWhileItIsReadIsAnError) {
    for (const char* name : {"a.png", "a.jpg", "a.webp"}) {
        const fs::path file = folder / name;
        const auto format = fs::path(name).extension() == ".png"   ? platform::ImageFormat::png
                            : fs::path(name).extension() == ".jpg" ? platform::ImageFormat::jpeg
                                                                   : platform::ImageFormat::webp;
        writeFile(file, hostile::encoded(format, 90));
        const auto source = platform::CGImageSource::open(file);
        ASSERT_TRUE(source);
        auto rows = source->image().reader();
        ASSERT_TRUE(rows);
        platform::Bitmap pixels(hostile::width, hostile::height);
        ASSERT_TRUE((*rows)->read(pixels.row(0), pixels.stride(), 10));
        fs::resize_file(file, 100);
        const auto rest = (*rows)->read(pixels.row(10), pixels.stride(), hostile::height - 10);
        EXPECT_EQ(rest.has_value(), format == platform::ImageFormat::webp) << name; // that one was read whole
        EXPECT_FALSE(source->image().reader()) << name;
    }
}

TEST_F(HostileFilesTest, NeighboursAreJoinedAsIfTheyWereNotThere) {
    EXPECT_EQ(run("shots -o alone.png").status, 0);
    const auto bad = addBad();
    fs::create_directory(shots / between("folder.png"));
    const Ran ran = run("shots --json -o out.png");
    EXPECT_EQ(ran.status, 1);
    EXPECT_EQ(failedIn(ran).size(), bad.size());
    EXPECT_EQ(linesOf(ran.err).size(), bad.size()) << ran.err;
    expectFit(ran.err);
    EXPECT_TRUE(contentOf(folder / "out.png") == contentOf(folder / "alone.png"));

    const Ran told = run("shots -o told.png");
    EXPECT_EQ(told.status, 1);
    EXPECT_EQ(linesOf(told.err).size(), bad.size()) << told.err;
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
    EXPECT_EQ(linesOf(items.out).size(), 5u) << items.out;
    EXPECT_EQ(linesOf(run("--library lib groups").out).size(), 1u);
    const Ran saved = run("--library lib save --all");
    EXPECT_EQ(saved.status, 0) << saved.err;
    EXPECT_EQ(linesOf(run("--library lib items").out).size(), 6u);
}

} // namespace host
