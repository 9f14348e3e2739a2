#include "Host/Report/HTMLWriter.hpp"
#include "Tests/Support/MemorySink.hpp"
#include "Tests/Support/ProgramTest.hpp"

#include <gmock/gmock.h>

#include <map>
#include <set>

namespace host {

using platform::contentOf;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

/// A page as a strict parser sees it: the elements in order, and the text outside of style and script.
struct ParsedPage {
    struct Element {
        std::string name;
        std::map<std::string, std::string> attributes;
    };
    std::vector<Element> elements;
    std::string text;
    std::string error; ///< empty: well formed

    std::vector<const Element*> with(const std::string& attribute, const std::string& value) const {
        std::vector<const Element*> found;
        for (const Element& element : elements)
            if (const auto at = element.attributes.find(attribute);
                at != element.attributes.end() && at->second == value)
                found.push_back(&element);
        return found;
    }
};

ParsedPage parsed(std::string_view page) {
    ParsedPage result;
    std::vector<std::string> open;
    const auto fail = [&](const std::string& what, std::size_t at) {
        result.error = what + " at: " + std::string(page.substr(at, 80));
        return result;
    };
    constexpr std::string_view doctype = "<!DOCTYPE html>\n";
    if (!page.starts_with(doctype))
        return fail("no document type", 0);
    for (std::size_t at = doctype.size(); at < page.size();) {
        if (page[at] != '<') {
            const bool isOurs = !open.empty() && (open.back() == "style" || open.back() == "script");
            const std::size_t end =
                std::min(isOurs ? page.find("</" + open.back(), at) : page.find('<', at), page.size());
            if (!isOurs)
                result.text += page.substr(at, end - at);
            at = end;
            continue;
        }
        std::size_t end = page.find_first_of(" />", at + 2);
        if (page[at + 1] == '/') {
            const std::string name(page.substr(at + 2, end - at - 2));
            if (open.empty() || open.back() != name || page[end] != '>')
                return fail("ends what is not open", at);
            open.pop_back();
            at = end + 1;
            continue;
        }
        ParsedPage::Element element{std::string(page.substr(at + 1, end - at - 1)), {}};
        while (end < page.size() && page[end] == ' ') {
            const std::size_t equals = page.find("=\"", end), quote = page.find('"', equals + 2);
            const std::string value(page.substr(equals + 2, quote - equals - 2));
            if (quote == std::string_view::npos || value.find_first_of("<>") != std::string::npos)
                return fail("a broken attribute", at);
            if (!element.attributes.emplace(page.substr(end + 1, equals - end - 1), value).second)
                return fail("an attribute twice", at);
            end = quote + 1;
        }
        const bool isEmpty = page.substr(end, 2) == "/>";
        if (!isEmpty && page.substr(end, 1) != ">")
            return fail("a broken tag", at);
        if (!isEmpty)
            open.push_back(element.name);
        result.elements.push_back(std::move(element));
        at = end + (isEmpty ? 2 : 1);
    }
    return open.empty() ? result : fail(open.back() + " is not ended", page.size());
}

class ReportTest : public ProgramTest {
protected:
    ParsedPage page(const char* name) const { return parsed(contentOf(folder / name)); }
};

} // namespace

TEST(HTMLWriter, NothingInTextsBecomesMarkup) {
    platform::MemorySink sink;
    HTMLWriter html(sink);
    const std::string hostile = "</p><script>\"'&\x01\xff\xc3\xa9";
    html.begin("div").element("p", {{"title", hostile}}, hostile).empty("br", {});
    ASSERT_TRUE(html.finish()); // ends the div
    const std::string safe = "&lt;/p&gt;&lt;script&gt;&quot;&#39;&amp;\xef\xbf\xbd\xef\xbf\xbd\xc3\xa9";
    EXPECT_EQ(sink.bytes, "<!DOCTYPE html>\n<div><p title=\"" + safe + "\">" + safe + "</p>\n<br/>\n</div>\n");
}

/// Names that people would not give, a run that joins, one that does not, a stray shot, a broken file and one named
/// twice.
TEST_F(ReportTest, ShowsAllThatBecameOfAFolder) {
    fs::create_directory(folder / "shots");
    const std::string hostile = "<img src=x onerror=alert(1)>&\"'\x1b\xff";
    for (const fs::path& shot : shots)
        fs::copy(shot, folder / "shots" / (shot.stem().native() + hostile + ".png"));
    fs::copy(examples / "unrelated", folder / "shots");
    fs::copy(shots[0], folder / "shots/Screenshot_20260401-120000.png");
    fs::copy(shots[0], folder / "shots/z-Screenshot_20260301-101112.png");
    platform::writeFile(folder / "shots/broken<b>.png", "no picture");

    for (int time = 0; time < 2; ++time) { // the second time alignments are known, and seams are told all the same
        EXPECT_EQ(run("shots -o pictures/ --force --report page.html").status, 1);
        const ParsedPage page = this->page("page.html");
        ASSERT_THAT(page.error, IsEmpty());
        EXPECT_EQ(std::ranges::count(page.elements, "details", &ParsedPage::Element::name), 2);
        EXPECT_THAT(page.with("class", "group good"), SizeIs(1));
        EXPECT_THAT(page.with("class", "group bad"), SizeIs(1));
        EXPECT_THAT(page.with("class", "seam good"), SizeIs(4));
        EXPECT_THAT(page.with("class", "seam bad"), SizeIs(1));
        EXPECT_THAT(page.with("class", "mark"), SizeIs(4));
        EXPECT_THAT(page.with("class", "in"), SizeIs(7));
        EXPECT_THAT(page.text, HasSubstr("from row 1330 on"));
        EXPECT_THAT(page.text, HasSubstr("Screenshot_20260401-120000.png"));
        EXPECT_THAT(page.text, HasSubstr("not an image of a known format"));
        EXPECT_THAT(page.text, HasSubstr("it counts once"));
        EXPECT_THAT(page.text, HasSubstr("onerror=alert(1)&gt;&amp;&quot;&#39;\\x1b\\xff"));

        std::set<std::string> ids;
        for (const ParsedPage::Element& element : page.elements) {
            const auto& attributes = element.attributes;
            EXPECT_FALSE(attributes.contains("style")); // the policy would drop it
            const auto id = attributes.find("id");
            EXPECT_TRUE(id == attributes.end() || ids.insert(id->second).second) << id->second;
            if (element.name == "img") {
                EXPECT_TRUE(attributes.contains("alt"));
                EXPECT_THAT(attributes.at("src"), testing::StartsWith("data:image/jpeg;base64,/9j/"));
            }
        }
        for (const ParsedPage::Element& element : page.elements)
            for (const char* reference : {"data-seam", "data-upper", "data-lower", "aria-labelledby"}) {
                const auto at = element.attributes.find(reference);
                EXPECT_TRUE(at == element.attributes.end() || ids.contains(at->second)) << at->second;
            }
        EXPECT_THAT(page.with("http-equiv", "Content-Security-Policy").at(0)->attributes.at("content"),
                    HasSubstr("default-src &#39;none&#39;"));
        EXPECT_THAT(contentOf(folder / "page.html"), Not(HasSubstr("://")));
    }
}

TEST_F(ReportTest, IsThereWholeOrNotAtAll) {
    platform::writeFile(folder / "there.html", "mine");
    struct Case {
        const char* arguments;
        int status;
        const char* err;
        std::vector<std::string> left;
    };
    for (const auto& [arguments, status, err, left] : std::vector<Case>{
             {"--dry-run --report page.html", 0, "", {"page.html", "there.html"}},
             {"--dry-run --quiet --report there.html --force", 0, "", {"there.html"}},
             {"--dry-run --report page.txt", 2, ".html", {"there.html"}},
             {"-o out.png --report there.html", 2, "--force", {"there.html"}},
             {"-o out.png --report none/page.html", 2, "there is no folder", {"there.html"}},
         }) {
        const Ran ran = run(arguments + chat);
        EXPECT_EQ(ran.status, status) << arguments << ran.err;
        EXPECT_THAT(ran.err, HasSubstr(err)) << arguments;
        EXPECT_EQ(files(), left) << arguments;
        fs::remove(folder / "page.html");
    }
    EXPECT_THAT(page("there.html").error, IsEmpty());
}

TEST_F(ReportTest, TellsOfALibrarysGroups) {
    ASSERT_EQ(run("--library library import " + chat + inputsOf("unrelated")).status, 0);
    EXPECT_EQ(run("--library library groups --report page.html").status, 1); // one of the two does not join
    const ParsedPage page = this->page("page.html");
    ASSERT_THAT(page.error, IsEmpty());
    EXPECT_THAT(page.with("class", "group good"), SizeIs(1));
    EXPECT_THAT(page.with("class", "group bad"), SizeIs(1));
    EXPECT_EQ(run("--library library groups --report page.html").status, 2);
}

} // namespace host
