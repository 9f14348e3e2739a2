#include "Host/Message.hpp"
#include "Host/TextWidth.hpp"
#include "Tests/Support/ProgramTest.hpp"

#include <gmock/gmock.h>

#include <regex>

namespace host {

using platform::contentOf;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// `text` without what is in the brackets of the pseudo language.
std::string outsideBrackets(const std::string& text) {
    constexpr std::string_view opening = "⟦", closing = "⟧";
    std::string outside;
    int depth = 0;
    for (std::size_t i = 0; i < text.size();) {
        const bool opens = text.compare(i, opening.size(), opening) == 0;
        const bool closes = text.compare(i, closing.size(), closing) == 0;
        depth += opens ? 1 : closes ? -1 : 0;
        if (!opens && !closes && depth == 0)
            outside += text[i];
        i += opens ? opening.size() : closes ? closing.size() : 1;
    }
    EXPECT_EQ(depth, 0) << text;
    return outside;
}

/// The words that people would read; names of files, options, commands and places are the same in all languages.
std::string words(const std::string& text) {
    static const std::regex same(
        "^  velmorant .*|velmorant( [a-z-]+| "
        "[0-9.]+$|:)?|--?[a-z-]+|[0-9A-F]{8}\\b|[0-9a-f]{8}\\b|\\[?[a-z]+\\.\\.\\.\\]?|"
        "[A-Za-z0-9_./-]*(/|\\.(png|jpg|html))[A-Za-z0-9_./-]*|^ *[a-z-]+( [A-Z|. ]*)?$|keep\\|drop|TEXT:\\{.*\\}|"
        "\\{false\\}|\\b(names|verb|Davren|Velmorant)\\b",
        std::regex::ECMAScript | std::regex::multiline);
    static const std::regex word("[A-Za-z]*[a-z]{3}[a-z]*");
    const std::string rest = std::regex_replace(text, same, "");
    std::string found;
    for (std::sregex_iterator at(rest.begin(), rest.end(), word), end; at != end; ++at)
        found += at->str() + ' ';
    return found;
}

} // namespace

class LanguageTest : public ProgramTest {
protected:
    Ran runIn(const char* language, const std::string& arguments) {
        environment = "LC_ALL=C.UTF-8 LANGUAGE=" + std::string(language);
        return run(arguments);
    }
};

TEST_F(LanguageTest, NoMessageBypassesTheTranslation) {
    const std::string one = quoted(shots[0].native());
    const std::string apart = inputsOf("unrelated");
    platform::writeFile(folder / "bad.png", "no picture");
    fs::create_directory(folder / "empty");
    std::vector<std::string> calls{"--together -o out.png bad.png none.png " + one + chat,
                                   "-o out.png" + chat,
                                   "--dry-run" + chat + apart,
                                   "--together -o no.png" + apart,
                                   "--together -o half.png" + chat + apart,
                                   "--quiet --dry-run" + apart,
                                   "--dry-run --report page.html --force" + chat + apart,
                                   "explain" + apart,
                                   "explain" + chat,
                                   "--library lib import" + chat + apart,
                                   "--library lib import" + chat};
    for (const char* call : {"", "--help", "--help-all", "stitch --help", "groups --help", "nonsense", "--jobs",
                             "cache", "empty", "none.png"})
        calls.emplace_back(call);
    for (const std::string call :
         {"--nonsense ", "--quality 0 ", "--interval -1 ", "--at x ", "--size 1 ", "--size 1x1 --width 5 ",
          "--format gif ", "-o out.gif ", "-o - --report page.txt ", "explain "})
        calls.push_back(call + one);
    for (const std::string call :
         {"items", "groups", "save --all", "save --all", "groups", "albums", "show 0", "ignore zzz", "delete", "trash",
          "trash empty", "permission limit nothing", "status"})
        calls.push_back("--library lib " + call);
    for (const std::string& arguments : calls) {
        const Ran ran = runIn("zxx", arguments);
        EXPECT_THAT(words(outsideBrackets(ran.out)), IsEmpty()) << arguments << '\n' << ran.out;
        EXPECT_THAT(words(outsideBrackets(ran.err)), IsEmpty()) << arguments << '\n' << ran.err;
    }

    std::string page = contentOf(folder / "page.html");
    EXPECT_THAT(page, HasSubstr("lang=\"⟦en⟧\""));
    for (std::size_t at; (at = page.find("data:image")) != std::string::npos;)
        page.erase(at, page.find('"', at) - at);
    for (const char* ours : {"style", "script"}) {
        const std::size_t begin = page.find("<" + std::string(ours) + " "), end = page.find("</" + std::string(ours));
        page.erase(begin, end - begin);
    }
    static const std::regex spoken(" (alt|aria-label)=\"([^\"]*)\"");
    for (std::sregex_iterator at(page.begin(), page.end(), spoken), end; at != end; ++at)
        EXPECT_THAT(words(outsideBrackets((*at)[2])), IsEmpty());
    EXPECT_THAT(words(outsideBrackets(std::regex_replace(page, std::regex("<[^>]*>"), " "))), IsEmpty());
}

TEST_F(LanguageTest, ProgramsHearTheSameInEveryLanguage) {
    const std::string mixed = "--together --dry-run --no-cache bad.png" + chat + inputsOf("unrelated");
    platform::writeFile(folder / "bad.png", "no picture");
    const Ran english = runIn("en", "--json " + mixed), german = runIn("de", "--json " + mixed);
    EXPECT_THAT(english.out, HasSubstr("rows of the page agree"));
    EXPECT_EQ(english.out, german.out);
    EXPECT_EQ(english.status, german.status);

    const Ran told = runIn("de", "--verbose " + mixed);
    EXPECT_THAT(told.out, HasSubstr("5 Bildschirmfotos ab"));
    EXPECT_THAT(told.err, HasSubstr("bad.png: kein Bild eines bekannten Formats"));
    EXPECT_THAT(told.err, HasSubstr("Processing beginning [")); // a log is a log
    environment = "LC_ALL=de_DE.UTF-8";                         // whether the system has it or not
    EXPECT_THAT(run("--dry-run" + chat).out, HasSubstr("würden zusammengefügt"));
    environment = "LC_ALL=C LANGUAGE=de"; // as every program reads it
    EXPECT_THAT(run("--dry-run" + chat).out, HasSubstr("would be joined"));
}

TEST(TextWidth, CountsColumnsAndCutsBetweenCharacters) {
    struct Case {
        const char* text;
        std::size_t columns;
    };
    for (const auto& [text, columns] : {Case{"", 0}, Case{"abc", 3}, Case{"größe", 5}, Case{"日本語", 6},
                                        Case{"e\u0301", 1}, Case{"שלום", 4}, Case{"\xff\xfe", 2}})
        EXPECT_EQ(columnsOf(text), columns) << text;
    EXPECT_EQ(fitted("日本語", 5), "日本");
    EXPECT_EQ(fitted("größer", 3), "grö");
    EXPECT_EQ(fitted("abc", 9), "abc");
    EXPECT_EQ(tableOf({{"日本", "1", "a"}, {"abcdef", "22", ""}}), "日本    1   a\nabcdef  22\n");
}

TEST(Message, ShowsNamesThatCannotTurnALineAround) {
    EXPECT_EQ(shown("plain name.png"), "plain name.png");
    EXPECT_EQ(shown("a\x1b[2J\u0085\xff.png"), "a\\x1b[2J\\xc2\\x85\\xff.png");
    EXPECT_EQ(shown("gnp\u202etxt"), "gnp\\u202etxt");
    EXPECT_EQ(shown("שלום.png"), "\u2068שלום.png\u2069");
    EXPECT_EQ(message("{}: {2} of {1}", {"a", "b"}), "a: b of a");
    EXPECT_EQ(message("no {hole} at {}{", {"b"}), "no {hole} at b{");
}

} // namespace host
