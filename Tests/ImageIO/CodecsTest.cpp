#include "Codecs/Sandbox.hpp"
#include "Platform/ImageIO/CodecsProcess.hpp"
#include "Platform/ImageIO/CodecsProtocol.hpp"
#include "Tests/Support/ImageFiles.hpp"
#include "Tests/Support/Profiles.hpp"
#include "Tests/Support/TestDevice.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>

namespace platform {

using Code = ImageError::Code;

namespace {

const CGImage picture = imageOf(64, 48, [](std::int64_t x, std::int64_t y) {
    return static_cast<std::uint32_t>(4 * x << 24 | 5 * y << 16 | 128 << 8 | 255);
});

} // namespace

TEST(Helped, PDFShowsThePagesThatItIsAskedFor) {
    const auto count = [](const std::string& text, const std::string& part) {
        std::size_t found = 0;
        for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
            ++found;
        return found;
    };
    const ImageHeader header{.colorSpace = CGColorSpace::icc(displayP3()),
                             .captureDate = DateComponents{2026, 3, 1, 10, 11, 12, 0, 0},
                             .software = "Velmorant"};
    const std::string tall = encoded(picture, ImageFormat::pdf, header);
    EXPECT_TRUE(tall.starts_with("%PDF"));
    EXPECT_EQ(count(tall, "/MediaBox [ 0 0 64 48 ]"), 1u);
    EXPECT_EQ(count(tall, "/ICCBased"), 1u);
    EXPECT_EQ(count(tall, "(Velmorant)"), 1u);
    EXPECT_EQ(count(tall, "D:20260301101112"), 1u);
    const std::string pages = encoded(picture, ImageFormat::pdf, {}, {.pages = {{30, 18}, 595, 842}}, 10);
    EXPECT_EQ(count(pages, "/MediaBox [ 0 0 595 842 ]"), 2u);
    EXPECT_EQ(count(pages, "/Height 30"), 1u);
    EXPECT_EQ(count(pages, "/Height 18"), 1u);
    std::mt19937 random(3);
    EXPECT_EQ(count(encoded(noiseImage(2, 20'000, random), ImageFormat::pdf), " 14400 ]"), 1u);
}

/// A helper that dies, hangs or answers nonsense costs its picture, some seconds at most, and nothing else.
TEST(Helped, AChildThatMisbehavesIsABadFile) {
    const TemporaryFolder folder;
    const auto header = [](codecs::Answer answer) { // for printf
        std::string text;
        for (const std::byte byte : std::as_bytes(std::span(&answer, 1))) {
            char octal[5];
            std::snprintf(octal, sizeof octal, "\\%03o", std::to_integer<unsigned>(byte));
            text += octal;
        }
        return "printf '" + text + "'; ";
    };
    const std::string inspecting = "[ $1 = inspect ] && ", good = header({.width = 64, .height = 48});
    struct Case {
        const char* name;
        std::string script;
    };
    for (const auto& [name, script] : {
             Case{"ends at once", "exit 3"},
             Case{"is killed", "kill -SEGV $$"},
             Case{"says something else", "echo hello"},
             Case{"talks without end", "while :; do printf '%01000d' 0; done"},
             Case{"claims gigabytes of profile", header({.width = 64, .height = 48, .profileBytes = ~0u})},
             Case{"claims a size beyond all limits", header({.width = 1 << 30, .height = 1 << 30})},
             Case{"claims a negative size", header({.width = -64, .height = 48})},
             Case{"ends before its rows", good + "exit 0"},
             Case{"ends within its rows", good + "printf '%05000d' 0; exit 0"},
             Case{"sends transparent rows of an opaque picture", good + "head -c 12288 /dev/zero"},
             Case{"changes its mind", inspecting + "{ " + good + " exit; }; " + header({.width = 64, .height = 47})},
             Case{"hangs", "exec sleep 100"},
             Case{"hangs within its rows", good + "exec sleep 100"},
         }) {
        const auto program = folder / "codecs";
        writeFile(program, "#!/bin/sh\n" + script + "\n");
        chmod(program.c_str(), 0700);
        const Device device({.codecs = program});
        const auto begun = std::chrono::steady_clock::now();
        const auto image = decoded(filesOfOthers / "gradient.heic");
        EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(14)) << name;
        ASSERT_FALSE(image) << name;
        EXPECT_TRUE(image.error().code == Code::damaged || image.error().code == Code::tooLarge) << name;

        if (std::string_view(name).starts_with("hangs") || std::string_view(name).starts_with("talks"))
            continue; // encoders are waited for longer
        MemorySink sink;
        EXPECT_EQ(write(picture, ImageFormat::jxl, sink).error().code, Code::writeFailed) << name;
    }
    const Device device({.codecs = folder / "none"});
    EXPECT_EQ(decoded(filesOfOthers / "gradient.heic").error().code, Code::unsupported);
}

/// What the kernel offers is used: no new privileges, and a filter of system calls.
TEST(Helped, TheChildIsLockedUp) {
    if (contentOf("/proc/self/status").find("Seccomp:") == std::string::npos)
        GTEST_SKIP() << "this kernel does not filter system calls";
    if (::codecs::isSanitized)
        GTEST_SKIP() << "sanitizers need more than the filter allows";
    const auto process = CodecsProcess::start({"encode", "jxl", "3072", "100000000", "5"}, nullptr);
    ASSERT_TRUE(process);
    std::string status;
    const auto folder = "/proc/" + std::to_string((*process)->id());
    for (int i = 0; i < 500 && status.find("Seccomp:\t2") == std::string::npos; ++i) {
        usleep(10'000); // until it waits for the picture
        status = contentOf(folder + "/status");
    }
    EXPECT_NE(status.find("Seccomp:\t2"), std::string::npos) << status;
    EXPECT_NE(status.find("NoNewPrivs:\t1"), std::string::npos);
}

} // namespace platform
