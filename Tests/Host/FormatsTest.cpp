#include "Tests/Support/ImageFiles.hpp"
#include "Tests/Support/Profiles.hpp"
#include "Tests/Support/ProgramTest.hpp"

#include <gmock/gmock.h>

#include <cstring>
#include <ranges>

namespace host {

using platform::CGImage;
using platform::CGImageSource;
using platform::ImageFormat;
using platform::JSONValue;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

CGImage decoded(const fs::path& file) {
    const auto image = platform::decoded(file);
    EXPECT_TRUE(image) << file;
    return *image;
}

/// Turns an image's values into CIE Lab by the profile that it carries.
class Eye {
public:
    explicit Eye(const platform::CGColorSpace& space) {
        const auto bytes = space.profile();
        const cmsHPROFILE profile =
            bytes.empty() ? cmsCreate_sRGBProfile()
                          : cmsOpenProfileFromMem(bytes.data(), static_cast<cmsUInt32Number>(bytes.size()));
        const cmsHPROFILE lab = cmsCreateLab4Profile(nullptr);
        transform_ = cmsCreateTransform(profile, TYPE_RGBA_8, lab, TYPE_Lab_DBL, INTENT_RELATIVE_COLORIMETRIC, 0);
        cmsCloseProfile(profile);
        cmsCloseProfile(lab);
    }
    ~Eye() { cmsDeleteTransform(transform_); }
    Eye(const Eye&) = delete;
    Eye& operator=(const Eye&) = delete;

    cmsCIELab see(const std::uint8_t* pixel) const {
        cmsCIELab seen;
        cmsDoTransform(transform_, pixel, &seen, 1);
        return seen;
    }

private:
    cmsHTRANSFORM transform_;
};

} // namespace

class FormatsTest : public ProgramTest {
protected:
    /// The first two screenshots of the chat in another format or colour space: the values stay, their meaning changes.
    void prepare(ImageFormat format, const std::string& ending, const std::vector<std::byte>& profile = {}) {
        fs::create_directory(folder / "shots");
        const platform::ImageHeader header{.colorSpace = platform::CGColorSpace::icc(profile)};
        for (const fs::path& shot : shots | std::views::take(2))
            platform::writeFile(folder / "shots" / (shot.stem().native() + ending),
                                platform::encoded(decoded(shot), format, header, {.quality = 100}));
    }
};

/// A lossless format for all of it: the picture is the one that PNG files give.
TEST_F(FormatsTest, ScreenshotsOfOtherFormatsAreJoinedAlike) {
    prepare(ImageFormat::png, ".png");
    ASSERT_EQ(run("shots -o png.png").status, 0);
    fs::remove_all(folder / "shots");
    prepare(ImageFormat::jxl, ".jxl");
    const Ran ran = run("shots -o jxl.jxl --quality 100");
    ASSERT_EQ(ran.status, 0) << ran.err << ran.out;
    const CGImage a = decoded(folder / "png.png"), b = decoded(folder / "jxl.jxl");
    EXPECT_TRUE(samePixels(a, b));
    EXPECT_EQ(CGImageSource::open(folder / "jxl.jxl")->properties().software, "Velmorant");
    EXPECT_EQ(CGImageSource::open(folder / "jxl.jxl")->properties().captureDate->day, 1);
}

/// The same values mean other colours in P3 than in sRGB, and a reader who heeds the profiles must see P3 in the end.
TEST_F(FormatsTest, ScreenshotsKeepTheirWideColours) {
    prepare(ImageFormat::png, ".png", platform::displayP3());
    const CGImage shot = decoded(folder / "shots" / shots[0].filename());
    const Eye before(shot.colorSpace()), wrong(platform::CGColorSpace::sRGB());
    for (const auto& [file, most] : std::vector<std::pair<std::string, double>>{
             {"out.png", 0}, {"out.jxl --quality 100", 0}, {"lossy.jxl", 1}, {"out.avif --quality 100", 0.5}}) {
        ASSERT_EQ(run("shots --no-cache -o " + file).status, 0) << file;
        const CGImage picture = decoded(folder / file.substr(0, file.find(' ')));
        const Eye after(picture.colorSpace());
        double difference = 0, ifUntagged = 0, count = 0;
        for (std::int64_t y = 0; y < 700; ++y) // above the seam
            for (std::int64_t x = 0; x < shot.width(); x += 3) {
                const auto seen = before.see(shot.pixels()->row(y) + 4 * x);
                const auto now = after.see(picture.pixels()->row(y) + 4 * x);
                const auto untagged = wrong.see(picture.pixels()->row(y) + 4 * x);
                difference += cmsDeltaE(&seen, &now);
                ++count;
                ifUntagged = std::max(ifUntagged, cmsDeltaE(&seen, &untagged));
            }
        EXPECT_LE(difference / count, most) << file;
        EXPECT_GT(ifUntagged, 5) << file; // else this test could not tell
    }
}

TEST_F(FormatsTest, ATallPictureIsSplitBetweenLines) {
    ASSERT_EQ(run("--together -o whole.png" + chat).status, 0);
    const CGImage whole = decoded(folder / "whole.png");
    const Ran ran = run("--together --json --split 900 -o part.png" + chat);
    ASSERT_EQ(ran.status, 0) << ran.err;
    std::vector<std::string> paths;
    std::string first;
    readAnswer(ran, [&](const JSONValue& answer) {
        const JSONValue group = answer["groups"].elements().at(0);
        first = group["output"].string();
        for (const JSONValue& path : group["outputs"].elements())
            paths.push_back(path.string());
    });
    EXPECT_THAT(paths, ElementsAre("part-1.png", "part-2.png", "part-3.png", "part-4.png"));
    EXPECT_EQ(first, "part-1.png");
    EXPECT_THAT(files(), ElementsAre("part-1.png", "part-2.png", "part-3.png", "part-4.png", "whole.png"));
    std::int64_t row = 0;
    for (const std::string& path : paths) {
        const CGImage part = decoded(folder / path);
        ASSERT_LE(part.height(), 900);
        ASSERT_LE(row + part.height(), whole.height());
        EXPECT_EQ(std::memcmp(part.pixels()->row(0), whole.pixels()->row(row), part.pixels()->bytes().size()), 0);
        row += part.height();
        if (path != paths.back()) { // a cut between lines: the row below it has edges of bubbles, but no letters
            const std::uint8_t* below = whole.pixels()->row(row);
            std::int64_t changes = 0;
            for (std::int64_t x = 1; x < whole.width(); ++x)
                changes += std::memcmp(below + 4 * x, below + 4 * (x - 1), 4) != 0;
            EXPECT_LE(changes, 16) << path;
        }
    }
    EXPECT_EQ(row, whole.height());

    EXPECT_EQ(run("--together --split 900 -o part.png" + chat).status, 1); // they are there
    EXPECT_EQ(run("--together --split 900 -o part.png --force" + chat).status, 0);
    EXPECT_EQ(run("--together --split 9000 -o one.png" + chat).status, 0); // fits: no number
    EXPECT_TRUE(fs::exists(folder / "one.png"));
}

TEST_F(FormatsTest, LimitsAreToldBeforehandWithTheRemedy) {
    struct Case {
        std::string arguments;
        int status;
        const char* told;
    };
    prepare(ImageFormat::png, ".png");
    for (const auto& [arguments, status, told] : std::vector<Case>{
             {"--width 6000 -o a.webp", 1, "WebP holds 16383; choose another --format, or --split 16383"},
             {"--width 40000 -o a.avif", 1, "40000 pixels wide, AVIF holds 32768"},
             {"--memory 10 -o a.jxl", 1, "JPEG XL takes the whole picture at once"},
             {"--memory 30 --split 800 -o a.jxl", 0, "joined"},
             {"--memory 10 -o a.png", 0, "joined"},
             {"--max-pixels 1000 -o b.png", 1, "--max-pixels sets the limit"},
             {"-o a.heic", 2, "the ending names no format that is written"},
             {"--page a4 -o c.png", 2, "--page is for PDF"},
             {"--page 0 -o c.pdf", 2, "write a4, letter or a number of rows"},
             {"--split 100 -o -", 2, "--split makes several files"},
             {"--page a4 -o c.pdf", 0, "joined"},
             {"--format pdf -o d.pdf", 0, "joined"},
         }) {
        const Ran ran = run(arguments + inputsOf("trip-chat"));
        EXPECT_EQ(ran.status, status) << arguments << '\n' << ran.err << ran.out;
        EXPECT_THAT(ran.out + ran.err, HasSubstr(told)) << arguments;
    }
    const std::string document = platform::contentOf(folder / "c.pdf");
    EXPECT_THAT(document, HasSubstr("/MediaBox [ 0 0 595 842 ]"));
    EXPECT_THAT(document, HasSubstr("/Count 6")); // 2714 rows of 390: 551 and fewer on a page, cut between lines
}

} // namespace host
