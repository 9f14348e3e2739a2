#include "Benchmarks/WholeJob/Rivals.hpp"
#include "Platform/Dispatch/ThreadPool.hpp"
#include "Platform/Foundation/TemporaryFile.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>

// From the screenshots' files to the picture's file, each time as a fresh process, the ways in turns. Prints of each
// the least and the median time, the median as a multiple of the floor's, and the most memory that it took at a time.

using namespace whole_job;
namespace fs = std::filesystem;

namespace {

struct Way {
    std::string name;
    std::function<void()> becomes; ///< in a fresh process; does not return, or returns when the picture is written
    std::vector<double> seconds = {};
    long kilobytes = 0;

    double least() const { return *std::ranges::min_element(seconds); }
    double median() const {
        auto sorted = seconds;
        std::ranges::nth_element(sorted, sorted.begin() + std::ssize(sorted) / 2);
        return sorted[sorted.size() / 2];
    }
};

[[noreturn]] void become(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    std::perror(arguments[0]);
    _exit(127);
}

/// Whether the way works here at all.
bool run(Way& way, bool isTimed) {
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child == 0) {
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDOUT_FILENO);
        if (!isTimed)
            dup2(nowhere, STDERR_FILENO);
        way.becomes();
        _exit(0);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    if (isTimed)
        way.seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    way.kilobytes = usage.ru_maxrss;
    return status == 0;
}

std::int64_t heightOf(const fs::path& picture) {
    const auto file = platform::CGImageSource::open(picture, {.maxPixels = std::int64_t{1} << 40});
    return file ? file->properties().height : 0;
}

void compare(const fs::path& folder, const std::string& self, int count, std::int64_t step, int rounds) {
    const Shots shots = shotsIn(folder / std::to_string(count), count, step);
    fs::create_directories(folder / std::to_string(count));
    if (const pid_t child = fork(); child == 0) { // what it takes would count as the ways' own, whose parent this is
        writeShots(shots);
        _exit(0);
    } else {
        waitpid(child, nullptr, 0);
    }
    const fs::path picture = folder / "picture.png";
    const std::vector<std::string> places = {std::to_string(shots.topBar), std::to_string(shots.bottomBar)};
    const auto withShots = [&](std::vector<std::string> words) {
        for (const fs::path& file : shots.files)
            words.push_back(file.native());
        return words;
    };
    const auto itself = [&](const char* way) {
        return
            [&, way] { become(withShots({self, way, picture.native(), std::to_string(step), places[0], places[1]})); };
    };
    std::vector<Way> ways = {
        {"the floor", itself("floor")},
        {"velmorant",
         [&] {
             become(withShots(
                 {VELMORANT_PROGRAM, "--together", "--no-cache", "--quiet", "--force", "-o", picture.native()}));
         }},
        {"row hashes, libpng", itself("hashes")},
        {"Python, OpenCV", [&] {
             become(withShots({"/usr/bin/python3", VELMORANT_SOURCE_DIR "/Benchmarks/WholeJob/opencv_stitch.py",
                               picture.native(), places[0], places[1]}));
         }}};

    std::printf("%d screenshots of %lld x %lld, picture of %lld rows, %zu threads, %d rounds\n", count,
                static_cast<long long>(shots.width), static_cast<long long>(shots.height),
                static_cast<long long>(shots.pictureHeight()), platform::ThreadPool::shared().limit(), rounds);
    std::erase_if(ways, [&](Way& way) {
        fs::remove(picture);
        const bool works = run(way, false) && heightOf(picture) == shots.pictureHeight();
        if (!works)
            std::printf("  %-20s made no such picture here\n", way.name.c_str());
        return !works;
    });
    for (int round = 0; round < rounds; ++round)
        for (Way& way : ways)
            run(way, true);
    std::printf("  %-20s %10s %10s %12s %10s\n", "", "least", "median", "x the floor", "peak");
    for (const Way& way : ways)
        std::printf("  %-20s %7.1f ms %7.1f ms %12.2f %7.1f MB\n", way.name.c_str(), 1000 * way.least(),
                    1000 * way.median(), way.median() / ways.front().median(),
                    static_cast<double>(way.kilobytes) / 1000);
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount > 6) { // one of the ways
        Shots shots{.step = std::atoll(arguments[3]),
                    .topBar = std::atoll(arguments[4]),
                    .bottomBar = std::atoll(arguments[5])};
        shots.files.assign(arguments + 6, arguments + argumentCount);
        (std::strcmp(arguments[1], "floor") == 0 ? floorOf : byRowHashes)(shots, arguments[2]);
        return 0;
    }
    const int rounds = argumentCount > 1 ? std::atoi(arguments[1]) : 15;
    const fs::path folder = fs::temp_directory_path() / ("velmorant-whole-job-" + std::to_string(getpid()));
    const std::string self = fs::read_symlink("/proc/self/exe");
    compare(folder, self, 5, 1617, rounds);
    compare(folder, self, 64, 1617, std::max(1, rounds / 3));
    fs::remove_all(folder);
}
