#include "Platform/Foundation/FileManager.hpp"
#include "Platform/ImageIO/CGImageSource.hpp"
#include "Tests/Support/ProgramTest.hpp"

#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <map>
#include <thread>

namespace host {

using platform::contentOf;
using platform::JSONValue;
using platform::writeFile;
using testing::HasSubstr;
using testing::IsEmpty;

using StitchTest = ProgramTest;

class Example : public StitchTest, public testing::WithParamInterface<const char*> {};
INSTANTIATE_TEST_SUITE_P(Pages, Example, testing::Values("trip-chat", "receipt"));

TEST_P(Example, IsJoinedExactly) {
    const Ran ran = run("stitch --together --no-cache --json -o out.png " + inputsOf(GetParam()));
    EXPECT_EQ(ran.status, 0);
    EXPECT_THAT(ran.err, IsEmpty());

    std::map<std::string, std::int64_t> expected, got;
    std::int64_t width = 0, height = 0;
    ASSERT_TRUE(platform::json::decode(contentOf(examples / GetParam() / "truth.json"), [&](const JSONValue& truth) {
        width = truth["width"].integer();
        height = truth["height"].integer();
        for (const auto& [file, offset] : truth["offsets"].members())
            expected[file] = offset.integer();
    }));
    readAnswer(ran, [&](const JSONValue& answer) {
        EXPECT_TRUE(answer["failed"].elements().empty());
        const JSONValue group = answer["groups"].elements().at(0);
        const JSONValue alignment = group["alignment"];
        std::int64_t before = 0;
        for (const JSONValue& position : alignment["positions"].elements()) {
            got[fs::path(position["path"].string()).filename()] = position["offset"].integer();
            EXPECT_GE(position["offset"].integer(), before); // from the top downwards
            before = position["offset"].integer();
        }
        EXPECT_EQ(alignment["size"]["height"].integer(), height);
        EXPECT_EQ(group["items"].elements().size(), expected.size());
        EXPECT_EQ(group["output"].string(), "out.png");
    });
    EXPECT_EQ(got, expected);

    const auto picture = platform::CGImageSource::open(folder / "out.png");
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->properties().width, width);
    EXPECT_EQ(picture->properties().height, height);
    EXPECT_TRUE(picture->properties().opaque);
    EXPECT_EQ(picture->properties().software, "Velmorant");
    EXPECT_EQ(picture->properties().captureDate->day, 1); // the first screenshot's
    EXPECT_TRUE(picture->image().decoded());
}

/// Above its seams the picture is the screenshots, pixel for pixel: rows between the bars are compared.
TEST_F(StitchTest, ThePictureShowsTheScreenshotsRows) {
    ASSERT_EQ(run("--together -o out.png" + chat).status, 0); // the word stitch may be left out
    const auto picture = platform::CGImageSource::open(folder / "out.png")->image().decoded();
    ASSERT_TRUE(platform::json::decode(contentOf(examples / "trip-chat/truth.json"), [&](const JSONValue& truth) {
        std::vector<bool> shown(static_cast<std::size_t>(picture->height()));
        for (const auto& [file, offset] : truth["offsets"].members()) {
            const auto screenshot = platform::CGImageSource::open(examples / "trip-chat" / file)->image().decoded();
            const bool first = offset.integer() == 0,
                       last = offset.integer() + screenshot->height() == picture->height();
            const std::int64_t from = first ? 0 : 92, to = screenshot->height() - (last ? 0 : 72); // its bars
            for (std::int64_t y = from; y < to; ++y) {
                const auto row = offset.integer() + y;
                if (std::memcmp(picture->pixels()->row(row), screenshot->pixels()->row(y),
                                picture->pixels()->stride()) == 0)
                    shown[static_cast<std::size_t>(row)] = true;
            }
        }
        EXPECT_THAT(shown, testing::Each(true));
    }));
}

TEST_F(StitchTest, CallsStatusesAndWhatTheyLeaveBehind) {
    const std::string one = quoted(shots[0].native()), two = quoted(shots[1].native());
    const std::string both = " " + one + " " + two, apart = inputsOf("unrelated");
    writeFile(folder / ".list", shots[0].native() + "\n\n" + shots[1].native());
    writeFile(folder / ".zeros", shots[0].native() + '\0' + shots[1].native() + '\0');
    fs::create_directory(folder / ".empty");
    fs::create_symlink(shots[0], folder / ".link_20250101_000000.png"); // another date by its name
    struct Case {
        std::string arguments;
        int status;
        const char* out; ///< a part of standard output
        const char* err; ///< a part of standard error
        std::vector<std::string> left;
    };
    const std::string name = "Screenshot_20260301-101112-stitched";
    for (const auto& [arguments, status, out, err, left] : std::vector<Case>{
             {"--version", 0, "velmorant 0.", "", {}},
             {"--help", 0, "Examples:", "", {}},
             {"--help-all", 0, "--files-from", "", {}},
             {"stitch --help", 0, "--together", "", {}},
             {"", 2, "", "see velmorant --help", {}},
             {"stich" + both, 2, "", "neither a command nor a file", {}},
             {"stitch --together", 2, "", "no files are named", {}},
             {"stitch --nonsense " + one, 2, "", "--nonsense", {}},
             {"--together -o out.gif" + both, 2, "", ".png", {}},
             {"--together -o none/out.png" + both, 2, "", "there is no folder", {}},
             {"-o out.png --format webp" + both, 2, "", "--format", {}},
             {"-o - --json" + both, 2, "", "standard output", {}},
             {"--size 10x -o out.png" + both, 2, "", "390x844", {}},
             {"--size 10x10 --width 5" + both, 2, "", "--width", {}},
             {"--time-zone Nowhere/Atall" + both, 2, "", "Europe/Berlin", {}},
             {"--quality 0" + both, 2, "", "--quality", {}},
             {"--crop 10 -o out.png" + both, 2, "", "132,90", {}},
             {"--crop 900,9000 -o out.png" + both, 1, "nothing is left of a picture", "", {}},
             {"--bars off -o out.png" + both, 2, "", "--bars", {}},
             {"--verify -o out.jpg" + both, 2, "", "only a png", {}},
             {"--verify --width 100 -o out.png" + both, 2, "", "--verify", {}},
             {"--rows-json .list -o out.png" + both, 2, "", ".list: the file exists", {}},
             {"--files-from .none", 2, "", ".none: the list", {}},
             {"cache", 2, "", "see velmorant --help", {}},
             {"cache clear", 0, "", "", {}},
             {".empty", 0, "nothing to join", "", {}},
             {"--together .empty", 1, "nothing was joined", "", {}},

             {"-o out.png" + both, 0, "2 screenshots joined", "", {"out.png"}},
             {"-o out.png --interval 3" + both, 0, "nothing to join, 2 screenshots stand alone", "", {}},
             {"-o out.png --strict --interval 3" + both, 1, "2 screenshots stand alone", "", {}},
             {"--together -o out.png " + one, 1, "nothing was joined", "", {}},
             {"--together -o out.png " + one + both, 0, "2 screenshots joined", "the same screenshot", {"out.png"}},
             {"--together -o out.png .link_20250101_000000.png" + both,
              0,
              "2 screenshots joined",
              "the same screenshot",
              {"out.png"}},
             {"--together -o out.jpg " + two + " " + one, 0, "2 screenshots joined", "", {"out.jpg"}},
             {"--together -o ." + both, 0, "joined", "", {name + ".png"}},
             {"-o . --format webp" + both, 0, "joined", "", {name + ".webp"}},
             {"-o . --small" + both, 0, "joined", "", {name + ".webp"}},
             {"-o . --small --verify --format png" + both, 0, "read back", "", {name + ".png"}},
             {"-o out.png --fast --verify" + both, 0, "read back", "", {"out.png"}},
             {"-o out.png --fast --small" + both, 2, "", "--fast", {}},
             {"-o new/ " + both, 0, "joined", "", {"new"}},
             {"-o out.png --files-from .list", 0, "2 screenshots joined", "", {"out.png"}},
             {"-o out.png --files-from - <.zeros", 0, "2 screenshots joined", "", {"out.png"}},
             {"--together -o out.png none.png" + both,
              1,
              "2 screenshots joined",
              "none.png: there is no such file",
              {"out.png"}},
             {"--together -o out.png >/dev/full" + both, 1, "", "standard output", {"out.png"}},
             {"-o - >/dev/full" + both, 1, "", "could not be written", {}},
             {"-o - >&-" + both, 1, "", "could not be written", {}},
             {"stitch --together -o out.png --" + both, 0, "joined", "", {"out.png"}},
             {"--dry-run" + both, 0, "would be joined: 390 x ", "", {}},
             {"--dry-run --json" + both, 0, "\"memory\":", "", {}},
             {"--quiet -o out.png" + both, 0, "", "", {"out.png"}},
             {"--quiet -o out.png" + apart, 1, "", "no two neighbours", {}},
             {"stitch --together --json -o out.png" + apart, 1, "\"alignment\":null", "", {}},
             {"stitch --together --json -o out.png" + apart, 1, "\"output\":null", "", {}},
             {"--verbose -o out.png" + both, 0, "joined", "Processing beginning [", {"out.png"}},
             {"--jobs 1 --memory 0 -o out.png" + both, 0, "joined", "", {"out.png"}},
             {"--together --strict -o out.png" + both + apart, 1, "a screenshot would be left out", "", {}},
             {"--together -o out.png" + both + apart, 1, "2 screenshots joined", "", {"out.png"}},
         }) {
        const Ran ran = run(arguments);
        EXPECT_EQ(ran.status, status) << arguments << '\n' << ran.err;
        EXPECT_THAT(ran.out, HasSubstr(out)) << arguments;
        EXPECT_THAT(ran.err, HasSubstr(err)) << arguments;
        EXPECT_EQ(ran.err.empty(), *err == '\0') << arguments << '\n' << ran.err;
        EXPECT_EQ(files(), left) << arguments;
        for (const std::string& file : files())
            fs::remove_all(folder / file);
    }
}

/// A folder as people have it: two runs that join, one that does not, two shots that stand alone, pictures of earlier
/// calls.
TEST_F(StitchTest, FindsTheRunsOfAFolder) {
    fs::create_directories(folder / "shots/deep");
    for (const auto& [example, to] :
         {std::pair("trip-chat", "shots"), {"receipt", "shots/deep"}, {"unrelated", "shots"}})
        for (const fs::path& shot : shotsOf(example))
            fs::copy(shot, folder / to);
    fs::copy(shots[0], folder / "shots/Screenshot_20260401-120000.png");
    fs::copy(shots[0], folder / "shots/IMG_20260501_120000.png");

    for (const bool again : {false, true}) {
        const Ran ran = run("--recursive --json shots -o pictures/");
        EXPECT_EQ(ran.status, 1);
        readAnswer(ran, [&](const JSONValue& answer) {
            std::vector<std::pair<std::size_t, std::int64_t>> groups;
            for (const JSONValue& group : answer["groups"].elements())
                groups.emplace_back(group["items"].elements().size(),
                                    group["alignment"].kind() == platform::JSONKind::null
                                        ? 0
                                        : group["alignment"]["size"]["height"].integer());
            EXPECT_THAT(groups, testing::ElementsAre(std::pair(2, 0), std::pair(5, 2714), std::pair(3, 1276)));
            EXPECT_EQ(answer["alone"].elements().size(), 2u);
            EXPECT_EQ(answer["alone"].elements().at(0).string(), "shots/Screenshot_20260401-120000.png");
            EXPECT_EQ(answer["ownPictures"].elements().size(), again ? 2u : 0u);
        });
        fs::copy(folder / "pictures", folder / "shots", fs::copy_options::recursive | fs::copy_options::skip_existing);
    }
    EXPECT_EQ(platform::FileManager::contents(folder / "pictures/Screenshot_20260301-101112-stitched.png"),
              platform::FileManager::contents(folder / "pictures/Screenshot_20260301-101112-stitched-2.png"));

    EXPECT_EQ(run("shots -o one.png").status, 2); // room for one picture only
    EXPECT_THAT(contentOf(folder / ".err"), HasSubstr("name a folder"));
    EXPECT_FALSE(fs::exists(folder / "one.png"));
}

TEST_F(StitchTest, DrawsAtAnySizeAndIntoAPipe) {
    struct Case {
        std::string arguments;
        std::int64_t width, height;
    };
    for (const auto& [arguments, width, height] :
         {Case{"--width 100 -o out.png", 100, 695}, Case{"--width 780 -o out.webp", 780, 5428},
          Case{"--size 195x300 -o out.jpg --quality 50", 195, 300}, Case{"--size 39x9999 -o out.png", 39, 271},
          Case{"--renderer overlay -o out.png", 390, 2714}, Case{"--renderer overlay --width 39 -o out.png", 39, 271},
          Case{"--format jpeg -o - >out.jpg", 390, 2714}}) {
        const Ran ran = run(arguments + chat);
        EXPECT_EQ(ran.status, 0) << arguments << ran.err;
        ASSERT_EQ(files().size(), 1u);
        const auto picture = platform::CGImageSource::open(folder / files()[0]);
        ASSERT_TRUE(picture) << arguments;
        EXPECT_EQ(picture->properties().width, width) << arguments;
        EXPECT_EQ(picture->properties().height, height) << arguments;
        EXPECT_EQ(picture->properties().software, "Velmorant");
        EXPECT_TRUE(picture->image().decoded());
        fs::remove(folder / files()[0]);
    }
}

/// The second call answers from the file that the first one wrote, to the same picture.
TEST_F(StitchTest, RemembersAlignmentsUntilTheyAreCleared) {
    const auto matched = [&](const std::string& arguments) {
        const Ran ran = run("--verbose --force -o out.png " + arguments + chat);
        EXPECT_EQ(ran.status, 0);
        return ran.err.find("Generating patterns") != std::string::npos;
    };
    EXPECT_TRUE(matched("--no-cache"));
    EXPECT_TRUE(matched(""));
    const std::string first = contentOf(folder / "out.png");
    EXPECT_FALSE(matched(""));
    EXPECT_EQ(contentOf(folder / "out.png"), first);
    EXPECT_TRUE(matched("--no-cache"));
    EXPECT_EQ(run("cache clear").status, 0);
    EXPECT_TRUE(matched(""));
}

TEST_F(StitchTest, OverwritesNothingUnlessToldTo) {
    writeFile(folder / "out.png", "precious");
    EXPECT_EQ(run("--together -o out.png" + chat).status, 2);
    EXPECT_EQ(contentOf(folder / "out.png"), "precious");
    EXPECT_EQ(run("--together --force -o out.png" + chat).status, 0);
    EXPECT_NE(contentOf(folder / "out.png"), "precious");

    // Not even with --force one of the screenshots, under whatever name.
    fs::copy(examples / "trip-chat", folder / "shots");
    fs::create_hard_link(folder / "shots/Screenshot_20260301-101112.png", folder / "link.png");
    const std::string before = contentOf(folder / "link.png");
    EXPECT_EQ(run("--together --force -o link.png shots").status, 2);
    EXPECT_EQ(contentOf(folder / "link.png"), before);

    EXPECT_EQ(run("--together shots").status, 0); // without -o: beside the first screenshot
    EXPECT_TRUE(fs::exists(folder / "shots/Screenshot_20260301-101112-stitched.png"));
}

TEST_F(StitchTest, NamesAreBytes) {
    fs::create_directory(folder / "shots");
    fs::copy(shots[0], folder / "shots" / "a\n\x1b[31m.png");
    fs::copy(shots[1], folder / "shots" / "b\xff.png");
    writeFile(folder / "shots" / "c\x07.png", "no image");
    const Ran ran = run("--together --json -o out.png shots");
    EXPECT_EQ(ran.status, 1);
    readAnswer(ran, [](const JSONValue&) {}); // valid UTF-8, valid JSON
    EXPECT_THAT(ran.err, HasSubstr("c\\x07.png"));
    EXPECT_THAT(ran.err, testing::Not(HasSubstr("\x07")));
}

TEST_F(StitchTest, CtrlCLeavesNothingBroken) {
    const std::string output = (folder / "out.png").native();
    const std::string command =
        "exec " + quoted(VELMORANT_PROGRAM) + " --together -o " + quoted(output) + chat + " >/dev/null 2>&1";
    for (const int milliseconds : {5, 20, 40, 80}) {
        const pid_t child = fork();
        if (child == 0) {
            setenv("XDG_CACHE_HOME", (folder / ".cache").c_str(), 1);
            execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
            _exit(127);
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        kill(child, SIGINT);
        int status = 0;
        waitpid(child, &status, 0);
        if (!WIFEXITED(status)) { // before the program watched for it
            EXPECT_EQ(WTERMSIG(status), SIGINT);
            EXPECT_THAT(files(), IsEmpty());
        } else {
            EXPECT_THAT(WEXITSTATUS(status), testing::AnyOf(0, 130));
            EXPECT_THAT(files(), testing::AnyOf(IsEmpty(), testing::ElementsAre("out.png")));
            EXPECT_TRUE(WEXITSTATUS(status) == 130 || fs::exists(output));
            EXPECT_TRUE(!fs::exists(output) || platform::CGImageSource::open(output)->image().decoded()); // whole
        }
        fs::remove(output);
    }
}

} // namespace host
