#include "Platform/ImageIO/FileEnding.hpp"
#include "Tests/Support/ProgramTest.hpp"

#include "Bindings/C/velmorant.h"
#include <gtest/gtest.h>

#include <memory>
#include <ranges>
#include <thread>

namespace {

namespace fs = std::filesystem;

using Handle = std::unique_ptr<velmorant_run, decltype([](velmorant_run* run) { velmorant_run_free(run); })>;

class CInterfaceTest : public testing::Test {
protected:
    /// A run of the first screenshots of the chat.
    Handle aligned(int count = 5) const {
        Handle run(velmorant_run_new());
        for (const fs::path& file : shots | std::views::take(count))
            EXPECT_EQ(velmorant_run_add_file(run.get(), file.c_str()), VELMORANT_OK);
        EXPECT_EQ(velmorant_run_align(run.get(), nullptr, nullptr), VELMORANT_OK) << velmorant_run_error(run.get());
        return run;
    }

    const platform::TemporaryFolder folder;
    const std::vector<fs::path> shots = host::shotsOf("trip-chat");
};

TEST_F(CInterfaceTest, RefusesCallsThatMakeNoSenseAndSaysWhy) {
    const Handle run(velmorant_run_new());
    const std::uint8_t pixels[16] = {};
    std::int64_t width = 0, height = 0;
    velmorant_seam seam;
    velmorant_position position;
    const auto add = [&](int kind, const std::uint8_t* from, std::size_t stride, std::int64_t w, std::int64_t h) {
        return velmorant_run_add_pixels(run.get(), static_cast<velmorant_pixels>(kind), from, stride, w, h);
    };
    const std::pair<velmorant_status, const char*> calls[] = {
        {velmorant_run_add_file(run.get(), nullptr), "a null path"},
        {add(2, pixels, 4, 2, 2), "no kind of pixels"},
        {add(VELMORANT_RGBA8, nullptr, 8, 2, 2), "no pixels"},
        {add(VELMORANT_RGBA8, pixels, 8, 0, 2), "no width"},
        {add(VELMORANT_RGBA8, pixels, 7, 2, 2), "a stride below a row"},
        {add(VELMORANT_RGBA8, pixels, SIZE_MAX, 1 << 20, INT64_MAX), "more pixels than there is memory"},
        {velmorant_run_align(run.get(), nullptr, nullptr), "nothing to align"},
        {velmorant_run_seam(run.get(), 0, &seam), "no seam"},
        {velmorant_run_size(run.get(), &width, &height), "no alignment"},
        {velmorant_run_position(run.get(), 0, &position), "no alignment"},
        {velmorant_run_format(run.get(), nullptr, nullptr, nullptr), "no alignment"},
        {velmorant_run_render(run.get(), VELMORANT_RGB8, nullptr, nullptr), "no one to take rows"},
        {velmorant_run_write(run.get(), "x.png", 92, nullptr, nullptr), "no alignment"},
        {velmorant_run_align(nullptr, nullptr, nullptr), "no run"},
    };
    for (const auto& [status, what] : calls)
        EXPECT_EQ(status, VELMORANT_WRONG_CALL) << what;
    EXPECT_EQ(velmorant_run_count(run.get()), 0u);
    EXPECT_STREQ(velmorant_run_error(run.get()), "there is no alignment to draw; align the run first");
}

TEST_F(CInterfaceTest, WritesWhatItDrawsAndMarksIt) {
    const Handle run = aligned();
    std::vector<std::uint8_t> drawn;
    const auto keep = [](void* to, const std::uint8_t* rows, std::size_t stride, std::int64_t, std::int64_t count) {
        auto& all = *static_cast<std::vector<std::uint8_t>*>(to);
        all.insert(all.end(), rows, rows + stride * static_cast<std::size_t>(count));
        return 0;
    };
    ASSERT_EQ(velmorant_run_render(run.get(), VELMORANT_RGBA8, keep, &drawn), VELMORANT_OK);

    const fs::path file = folder / "joined.png";
    ASSERT_EQ(velmorant_run_write(run.get(), file.c_str(), 92, nullptr, nullptr), VELMORANT_OK)
        << velmorant_run_error(run.get());
    const auto written = platform::CGImageSource::open(file);
    ASSERT_TRUE(written);
    EXPECT_EQ(written->properties().software, "Velmorant");
    EXPECT_EQ(written->properties().captureDate->hour, 10);
    const auto decoded = written->image().decoded();
    ASSERT_TRUE(decoded);
    const auto bytes = decoded->pixels()->bytes();
    EXPECT_TRUE(std::ranges::equal(bytes, drawn));

    using enum platform::ImageFormat;
    for (const auto format : {jpeg, webp, avif, jxl, pdf}) {
        const fs::path other = folder / (std::string("joined") + platform::fileEnding(format));
        ASSERT_EQ(velmorant_run_write(run.get(), other.c_str(), 50, nullptr, nullptr), VELMORANT_OK)
            << velmorant_run_error(run.get());
        const auto read = platform::CGImageSource::open(other); // what is no image to us is the document
        EXPECT_EQ(read ? read->properties().format : pdf, format);
    }
}

TEST_F(CInterfaceTest, DecodesOnceWhatThereIsMemoryFor) {
    const Handle run(velmorant_run_new());
    for (const fs::path& shot : shots | std::views::take(2)) {
        fs::copy_file(shot, folder / shot.filename());
        ASSERT_EQ(velmorant_run_add_file(run.get(), (folder / shot.filename()).c_str()), VELMORANT_OK);
    }
    ASSERT_EQ(velmorant_run_align(run.get(), nullptr, nullptr), VELMORANT_OK);
    for (const auto& entry : fs::directory_iterator(folder.path()))
        fs::remove(entry.path());
    EXPECT_EQ(velmorant_run_write(run.get(), (folder / "joined.png").c_str(), 92, nullptr, nullptr), VELMORANT_OK)
        << velmorant_run_error(run.get());
}

TEST_F(CInterfaceTest, AScreenshotThatIsAddedMakesTheAlignmentVoid) {
    const Handle run = aligned(2);
    EXPECT_EQ(velmorant_run_placed(run.get()), 2u);
    const std::vector<std::uint8_t> blank(390 * 844, 255);
    ASSERT_EQ(velmorant_run_add_pixels(run.get(), VELMORANT_GRAY8, blank.data(), 390, 390, 844), VELMORANT_OK);
    EXPECT_EQ(velmorant_run_placed(run.get()), 0u);
    ASSERT_EQ(velmorant_run_align(run.get(), nullptr, nullptr), VELMORANT_OK);
    EXPECT_EQ(velmorant_run_placed(run.get()), 2u);
    velmorant_seam seam;
    ASSERT_EQ(velmorant_run_seam(run.get(), 1, &seam), VELMORANT_OK);
    EXPECT_FALSE(seam.valid);
    EXPECT_STRNE(seam.reason, "");
}

TEST_F(CInterfaceTest, CancelsFromAnotherThreadWhileRowsAreTaken) {
    const Handle run = aligned();
    struct Taken {
        velmorant_run* run;
        std::int64_t rows = 0;
    } taken{run.get()};
    const auto cancel = [](void* of, const std::uint8_t*, std::size_t, std::int64_t row, std::int64_t count) {
        auto& so_far = *static_cast<Taken*>(of);
        so_far.rows = row + count;
        std::thread([&] { velmorant_run_cancel(so_far.run); }).join();
        return 0;
    };
    EXPECT_EQ(velmorant_run_render(run.get(), VELMORANT_RGB8, cancel, &taken), VELMORANT_CANCELLED);
    EXPECT_EQ(taken.rows, 128);
    velmorant_run_cancel(run.get()); // nothing is under way
    EXPECT_EQ(velmorant_run_align(run.get(), nullptr, nullptr), VELMORANT_OK);
}

} // namespace
