#include "Tests/Support/ProgramTest.hpp"

#include <SQLiteCpp/Database.h>
#include <gmock/gmock.h>

#include <csignal>
#include <map>
#include <thread>

namespace host {

using platform::JSONValue;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class LibraryTest : public ProgramTest {
protected:
    Ran library(const std::string& words) { return run("--library lib " + words); }

    struct Item {
        std::string id, type, path;
        bool isMissing;
    };
    std::vector<Item> items() {
        std::vector<Item> found;
        readAnswer(library("items --json"), [&](const JSONValue& answer) {
            for (const JSONValue& item : answer["items"].elements())
                found.push_back({item["id"].string(), item["type"].string(), item["path"].string(),
                                 item.find("missing").has_value()});
        });
        return found;
    }
    /// The number of items of each group, newest first.
    std::vector<std::size_t> groups(const std::string& options = "") {
        std::vector<std::size_t> counts;
        readAnswer(library("groups --json " + options), [&](const JSONValue& answer) {
            for (const JSONValue& group : answer["groups"].elements())
                counts.push_back(group["items"].elements().size());
        });
        return counts;
    }
    /// The first word of the n-th line that `groups` prints.
    std::string shortId(std::size_t n, const std::string& options = "") {
        std::string table = library("groups " + options).out;
        for (; n > 0; --n)
            table = table.substr(table.find('\n') + 1);
        return table.substr(0, table.find(' '));
    }
    void importChat() { ASSERT_EQ(library("import" + chat).status, 0); }
};

TEST_F(LibraryTest, ImportsOnceAndListsByDate) {
    EXPECT_THAT(library("items").out, HasSubstr("empty"));
    EXPECT_FALSE(fs::exists(folder / "lib" / "Photos")); // a list makes nothing
    platform::writeFile(folder / "broken.png", "no picture");
    const Ran first = library("import broken.png" + chat + inputsOf("receipt"));
    EXPECT_EQ(first.status, 1);
    EXPECT_THAT(first.err, HasSubstr("broken.png: "));
    EXPECT_THAT(first.out, HasSubstr("8 screenshots"));
    const Ran second = library("import --json " + chat);
    EXPECT_EQ(second.status, 0);
    EXPECT_THAT(second.out, HasSubstr("\"screenshots\":0"));
    const auto listed = items();
    ASSERT_THAT(listed, SizeIs(8));
    EXPECT_EQ(platform::contentOf(listed[0].path), platform::contentOf(shots.back()));
    EXPECT_THAT(groups(), testing::ElementsAre(5, 3));
    fs::remove(listed[0].path);
    EXPECT_TRUE(items()[0].isMissing);

    fs::copy_file(fs::path(VELMORANT_SOURCE_DIR) / "Tests/Files/progressive.jpg", folder / "odd.jpg");
    EXPECT_THAT(library("import odd.jpg").out, HasSubstr("1 photographs"));
    EXPECT_THAT(library("import odd.jpg --as-screenshots").out, HasSubstr("1 screenshots"));
    EXPECT_THAT(items(), SizeIs(9));
}

TEST_F(LibraryTest, FilesEachRunOnceAndARunThatGrowsAnew) {
    ASSERT_EQ(library("import" + argumentsOf({shots.begin(), shots.end() - 1})).status, 0);
    const Ran saved = library("save --all");
    EXPECT_EQ(saved.status, 0) << saved.err;
    EXPECT_THAT(saved.out, HasSubstr("4 screenshots joined"));
    EXPECT_THAT(library("save --all").out, HasSubstr("nothing is left"));
    EXPECT_THAT(library("albums").out, HasSubstr("Davren  1 "));

    ASSERT_EQ(library("import" + argumentsOf({shots.back()})).status, 0);
    EXPECT_THAT(library("save --all").out, HasSubstr("5 screenshots joined"));
    EXPECT_THAT(library("albums").out, HasSubstr("Davren  1 ")); // the new one in place of the old one
    EXPECT_THAT(groups(), testing::ElementsAre(1, 5));
    EXPECT_EQ(items().back().type, "prestitched");
    EXPECT_EQ(items().back().path, folder / items().back().path); // absolute

    // Its own picture, exported and imported elsewhere, is filed as one.
    ASSERT_EQ(library("export -o out " + shortId(0)).status, 0);
    EXPECT_THAT(run("--library other import out").out, HasSubstr("1 finished picture"));
    EXPECT_THAT(run("--library other groups").out, HasSubstr("stitched"));
}

TEST_F(LibraryTest, AFileThatIsGoneCostsItsRunOnlyThat) {
    importChat();
    fs::remove(items().front().path);
    const Ran saved = library("save --all");
    EXPECT_EQ(saved.status, 1);
    EXPECT_THAT(saved.out, HasSubstr("4 screenshots joined"));
    EXPECT_THAT(saved.err, HasSubstr("there is no such file"));
}

TEST_F(LibraryTest, DecisionsAreRemembered) {
    importChat();
    const std::string group = shortId(0);
    ASSERT_EQ(library("ignore " + group).status, 0);
    EXPECT_THAT(groups(), IsEmpty());
    EXPECT_THAT(groups("--ignored"), testing::ElementsAre(5));
    ASSERT_EQ(library("unignore --all").status, 0);
    EXPECT_THAT(groups(), testing::ElementsAre(5));

    const auto all = items();
    ASSERT_EQ(library("combine " + all[4].id + " " + all[0].id.substr(0, 8)).status, 0);
    EXPECT_THAT(library("groups").out, HasSubstr("put together by hand"));
    EXPECT_EQ(library("separate " + group).status, 2); // that one is the program's own
    const std::string byHand = shortId(0) == group ? shortId(1) : shortId(0);
    EXPECT_EQ(library("separate " + byHand).status, 0);
    EXPECT_THAT(groups(), testing::ElementsAre(5));
    EXPECT_EQ(library("restore zz").status, 2);

    EXPECT_EQ(library("delete " + all[0].id).status, 1); // nobody can be asked
    EXPECT_THAT(items(), SizeIs(5));
    ASSERT_EQ(library("delete --yes " + all[0].id).status, 0);
    EXPECT_THAT(groups(), testing::ElementsAre(4));
    ASSERT_EQ(library("restore " + all[0].id).status, 0);
    EXPECT_THAT(library("trash").out, HasSubstr("empty"));
    ASSERT_EQ(library("combine " + all[0].id + " " + all[2].id + " " + all[4].id).status, 0);
    ASSERT_EQ(library("capture-note").status, 0);
    EXPECT_THAT(groups(), testing::UnorderedElementsAre(4, 2)); // without the newest
    EXPECT_THAT(items(), SizeIs(5));
    const std::string left =
        library("groups").out.find("by hand") < library("groups").out.find('\n') ? shortId(0) : shortId(1);
    EXPECT_EQ(library("separate " + left).status, 0);
    EXPECT_THAT(groups(), testing::ElementsAre(4));
}

TEST_F(LibraryTest, AccessIsTheUsersToGive) {
    importChat();
    const auto all = items();
    EXPECT_EQ(library("permission limit zz").status, 2);
    EXPECT_THAT(items(), SizeIs(5));
    EXPECT_EQ(library("permission limit " + all[0].id + " " + all[1].id).out, "limited\n");
    EXPECT_THAT(items(), SizeIs(2));
    EXPECT_EQ(library("permission deny").out, "denied\n");
    const Ran refused = library("items");
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.err, HasSubstr("velmorant permission"));
    EXPECT_EQ(library("permission grant").out, "allowed\n");
    EXPECT_THAT(items(), SizeIs(5));
}

TEST_F(LibraryTest, ShowsAndRendersAGroup) {
    importChat();
    const std::string group = shortId(0);
    const Ran shown = library("show --json " + group);
    EXPECT_EQ(shown.status, 0);
    EXPECT_THAT(shown.out, HasSubstr("\"verdict\":\"matched\""));
    ASSERT_EQ(library("render -o out.png " + group).status, 0);
    ASSERT_EQ(run("--together -o same.png" + chat).status, 0);
    const auto size = [&](const char* name) { return platform::contentOf(folder / name).size(); };
    EXPECT_EQ(size("out.png"), size("same.png"));
    for (const char* wrong : {"show zz", "render -o x.png ''", "export -o o zz", "ignore zz", "show"})
        EXPECT_EQ(library(wrong).status, 2) << wrong;
}

TEST_F(LibraryTest, ACatalogueThatCannotBeReadIsNamedAndKept) {
    importChat();
    const fs::path catalogue = folder / "lib/Photos/Catalogue.sqlite";
    std::string onePage = platform::contentOf(catalogue);
    const int page = SQLite::Database(catalogue.native())
                         .execAndGet("SELECT rootpage FROM sqlite_schema WHERE name = 'assets'")
                         .getInt();
    onePage.replace(4096 * static_cast<std::size_t>(page - 1), 4096, 4096, 'x');
    for (const std::string& damaged : {std::string(5000, 'x'), onePage}) {
        platform::writeFile(catalogue, damaged);
        for (const std::string& words :
             {std::string("items"), std::string("groups"), "import" + chat, std::string("save --all"),
              std::string("trash"), std::string("export -o out 1"), std::string("ignore 1")}) {
            const Ran ran = library(words);
            EXPECT_NE(ran.status, 0) << words;
            EXPECT_THAT(ran.err, HasSubstr("Catalogue.sqlite: the catalogue is damaged")) << words;
        }
        EXPECT_EQ(platform::contentOf(catalogue), damaged);
    }
}

/// The imports of several processes into one library, with some of them killed: what was acknowledged is there once.
TEST_F(LibraryTest, ProcessesShareALibraryWhateverHappensToThem) {
    fs::create_directories(folder / "shots");
    std::size_t count = 0;
    for (const fs::path& shot : shots)
        for (int copy = 0; copy < 6; ++copy, ++count) // other bytes behind the picture's end make it another file
            platform::writeFile(folder / "shots" / ("Screenshot_20260301-1" + std::to_string(10000 + count) + ".png"),
                                platform::contentOf(shot) + std::to_string(count));
    const std::string command = "cd " + quoted(folder.path().native()) + " && exec " + quoted(VELMORANT_PROGRAM) +
                                " --library lib import --quiet shots 2>/dev/null";
    std::vector<std::thread> processes;
    for (const char* seconds : {"0.05", "0.1", "0.2", "0.3", "60", "60", "60", "60"})
        processes.emplace_back([=] {
            std::ignore =
                std::system(("timeout -s KILL " + std::string(seconds) + " sh -c " + "\"" + command + "\"").c_str());
        });
    for (std::thread& process : processes)
        process.join();
    const auto listed = items();
    EXPECT_THAT(listed, SizeIs(count));
    std::map<std::string, int> contents;
    for (const Item& item : listed)
        EXPECT_EQ(++contents[platform::contentOf(item.path)], 1);
    std::size_t files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder / "lib/Photos/Originals"))
        files += entry.is_regular_file();
    EXPECT_EQ(files, count);
}

/// As a synced phone folder delivers them: one by one, one in two pieces, a late one, one that is not wanted.
TEST_F(LibraryTest, AWatchImportsAndFilesWhatArrives) {
    const fs::path inbox = folder / "inbox";
    fs::create_directory(inbox);
    const std::string there = "cd " + quoted(folder.path().native()) + " && ";
    int status = 0;
    std::thread watch([&] {
        const std::string call = " --library lib watch inbox --save --json --exclude 'Draft*' >.out 2>.err";
        status =
            std::system((there + "{ " + quoted(VELMORANT_PROGRAM) + call + " & echo $! >.pid; wait $!; }").c_str());
    });
    const auto other = [&](const std::string& words) { // `run` would write into the watch's files
        const std::string call = " --library lib " + words + " >.other 2>&1";
        std::ignore = std::system((there + quoted(VELMORANT_PROGRAM) + call).c_str());
        return platform::contentOf(folder / ".other");
    };
    const auto becomes = [&](const std::string& words, const std::string& part) {
        for (int i = 0; i < 300; ++i, std::this_thread::sleep_for(std::chrono::milliseconds(100)))
            if (other(words).find(part) != std::string::npos)
                return true;
        return false;
    };
    EXPECT_TRUE(becomes("status", "is running"));
    fs::copy_file(examples / "unrelated" / "Screenshot_20260301-201500.png", inbox / "Draft.png");
    const std::string bytes = platform::contentOf(shots[0]);
    platform::writeFile(inbox / shots[0].filename(), bytes.substr(0, bytes.size() / 2));
    for (const auto i : {1u, 2u, 3u})
        fs::copy_file(shots[i], inbox / shots[i].filename());
    platform::writeFile(inbox / shots[0].filename(), bytes);
    EXPECT_TRUE(becomes("groups", "4 of 390 x 844   filed"));
    fs::copy_file(shots[4], inbox / shots[4].filename());
    EXPECT_TRUE(becomes("groups", "5 of 390 x 844   filed"));
    EXPECT_THAT(other("albums"), HasSubstr("Davren  1 "));
    EXPECT_THAT(other("status --json"), HasSubstr("\"imported\":5,\"filed\":2"));
    EXPECT_THAT(other("watch"), HasSubstr("another watch"));
    kill(std::stoi(platform::contentOf(folder / ".pid")), SIGTERM);
    watch.join();
    EXPECT_EQ(WEXITSTATUS(status), 130);
    const std::string told = platform::contentOf(folder / ".out");
    EXPECT_THAT(told, StartsWith("{\"additions\":["));
    EXPECT_THAT(told, HasSubstr("\"count\":4"));
    EXPECT_THAT(told, HasSubstr("\"count\":5"));
    EXPECT_THAT(platform::contentOf(folder / ".err"), IsEmpty());
    EXPECT_THAT(library("status").out, HasSubstr("no watch"));
}

} // namespace host
