#include "Platform/ImageIO/CGImageSource.hpp"
#include "Tests/Support/ProgramTest.hpp"

#include <gmock/gmock.h>

namespace host {

using platform::JSONValue;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class ExplainTest : public ProgramTest {
protected:
    /// Screenshots of the chat by their numbers, the first 1, as arguments.
    std::string chatShots(const std::vector<std::size_t>& numbers) const {
        std::vector<fs::path> files;
        for (const std::size_t number : numbers)
            files.push_back(shots.at(number - 1));
        return argumentsOf(files);
    }
};

/// The verdicts and offsets of the only group's seams, as in "matched 520".
std::vector<std::string> seamsOf(const Ran& ran) {
    std::vector<std::string> seams;
    readAnswer(ran, [&](const JSONValue& answer) {
        for (const JSONValue& seam : answer["groups"].elements().at(0)["seams"].elements()) {
            const bool placed = seam["verdict"].string() == "matched" || seam["verdict"].string() == "byHand";
            EXPECT_EQ(seam["confidence"].number() > 0.5, placed);
            EXPECT_FALSE(seam["reason"].string().empty());
            seams.push_back(seam["verdict"].string() + (placed ? " " + std::to_string(seam["offset"].integer()) : ""));
        }
    });
    return seams;
}

} // namespace

TEST_F(ExplainTest, TellsOfEveryPair) {
    const Ran together = run("explain" + chatShots({1, 2}) + " --image why.png");
    EXPECT_EQ(together.status, 0);
    EXPECT_THAT(together.out, AllOf(HasSubstr(": joined"), HasSubstr("rows below the first"), HasSubstr("confidence")));
    const auto picture = platform::CGImageSource::open(folder / "why.png");
    ASSERT_TRUE(picture);
    EXPECT_GT(picture->properties().width, 780); // both beside each other
    EXPECT_TRUE(picture->image().decoded());

    const Ran apart = run("explain" + chatShots({1, 5}) + inputsOf("receipt"));
    EXPECT_EQ(apart.status, 1);
    EXPECT_THAT(apart.out, AllOf(HasSubstr(": not joined"), HasSubstr("their widths differ"), HasSubstr(": joined")));
}

TEST_F(ExplainTest, RefusesWhatItCannotTell) {
    struct Case {
        std::string arguments, message;
    };
    for (const auto& [arguments, message] : std::vector<Case>{
             {chatShots({1}), "nothing to compare"},
             {chatShots({1}) + " nowhere.png", "nowhere.png"},
             {chat + " --image why.png", "--image draws one pair"},
             {chatShots({1, 2}) + " --image why.txt", "why.txt"},
         }) {
        const Ran ran = run("explain " + arguments);
        EXPECT_EQ(ran.status, 2) << arguments;
        EXPECT_THAT(ran.err, HasSubstr(message));
    }
    EXPECT_TRUE(files().empty());
}

TEST_F(ExplainTest, StitchTellsOfItsSeams) {
    for (int call = 0; call < 2; ++call) { // the second time the alignment is remembered, why it came about is not
        const Ran joined = run("stitch --together --json --force -o out.png" + chatShots({1, 2, 5}));
        EXPECT_EQ(joined.status, 1);
        EXPECT_EQ(seamsOf(joined).size(), 2u);
        EXPECT_THAT(seamsOf(joined).front(), HasSubstr("matched "));
    }
    const Ran refused = run("stitch --together --no-cache -o none.png" + chatShots({1, 5}));
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.out, AllOf(HasSubstr("no rows in common"), HasSubstr("--at FILE=ROWS")));
}

TEST_F(ExplainTest, AScreenshotIsPlacedByHand) {
    const std::string name = shots.at(4).native();
    const Ran ran = run("stitch --together --json -o out.png --at " + quoted(name + "=700") + chatShots({1, 2, 5}));
    EXPECT_EQ(ran.status, 0);
    ASSERT_EQ(seamsOf(ran).size(), 2u);
    EXPECT_EQ(seamsOf(ran).back(), "byHand 700");
    const Ran remembered = run("stitch --together --json --force -o out.png" + chatShots({1, 2, 5}));
    EXPECT_EQ(remembered.status, 1); // what was placed by hand is not taken for a finding

    EXPECT_EQ(run("stitch --together -o no.png --at nowhere.png=5" + chat).status, 2);
    EXPECT_EQ(run("stitch --together -o no.png --at " + quoted(name + "=low") + chat).status, 2);
}

} // namespace host
