#include "Tests/Support/HostileFiles.hpp"

#include "Host/ImageErrorMessage.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Tests/Support/ProgramTest.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

// Each bad file is refused with its reason, within 10 seconds and a gigabyte.

namespace host {

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
            EXPECT_LT(Usage::of(whom).peakBytes, 1'000'000'000);
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

} // namespace host
