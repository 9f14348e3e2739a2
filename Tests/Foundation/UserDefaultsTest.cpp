#include "Platform/Foundation/UserDefaults.hpp"

#include "Platform/Foundation/FailingWrites.hpp"
#include "Platform/Foundation/NotificationCenter.hpp"
#include "Platform/Foundation/UUID.hpp"
#include "Platform/Foundation/WriteFailure.hpp"
#include "Tests/Support/TestDevice.hpp"

#include <gmock/gmock.h>

#include <set>

namespace platform {

using Strings = std::vector<std::string>;

TEST(UserDefaults, KeepsStringsByKey) {
    const TestDevice device;
    EXPECT_EQ(UserDefaults::stringArray("key"), std::nullopt);
    UserDefaults::set("key", {"a", "", "\"\\\n"});
    UserDefaults::set("other/../key", {"b"});
    EXPECT_EQ(UserDefaults::stringArray("key"), (Strings{"a", "", "\"\\\n"}));
    EXPECT_EQ(UserDefaults::stringArray("other/../key"), Strings{"b"});
    UserDefaults::set("key", {});
    EXPECT_EQ(UserDefaults::stringArray("key"), Strings());
    UserDefaults::remove("key");
    UserDefaults::remove("key");
    EXPECT_EQ(UserDefaults::stringArray("key"), std::nullopt);
    EXPECT_EQ(lastWriteFailure(), std::nullopt);
}

TEST(UserDefaults, TakesNothingElseForStringsAndSetsDamageAside) {
    const TestDevice device;
    const auto folder = device.home() / "Defaults";
    std::filesystem::create_directory(folder);
    for (const char* content : {"\"a\"", "[1,2]", "[\"a\",1]", "{}", "[\"a\"", ""}) {
        writeFile(folder / "key.json", content);
        EXPECT_EQ(UserDefaults::stringArray("key"), std::nullopt) << content;
        UserDefaults::set("key", {"new"});
        EXPECT_EQ(UserDefaults::stringArray("key"), Strings{"new"}) << content;
    }
    EXPECT_EQ(contentOf(folder / "key.json.damaged-1"), "[\"a\""); // JSON of another kind is overwritten
    EXPECT_EQ(contentOf(folder / "key.json.damaged-2"), "");
}

TEST(UserDefaults, SurviveWritesThatFail) {
    const TestDevice device;
    UserDefaults::set("key", {"old"});
    for (int n = 1;; ++n) {
        const FailingWrites fault(n);
        UserDefaults::set("key", {"new"});
        if (!fault.happened())
            break;
        EXPECT_TRUE(lastWriteFailure());
        EXPECT_THAT(*UserDefaults::stringArray("key"), testing::AnyOf(Strings{"old"}, Strings{"new"}));
    }
    EXPECT_EQ(UserDefaults::stringArray("key"), Strings{"new"});
}

TEST(NotificationCenter, CallsTheObserversOfANameInOrder) {
    std::string called;
    {
        const TestDevice device;
        const auto center = NotificationCenter::defaultCenter();
        center->addObserver("shot", [&] {
            called += 'a';
            center->addObserver("shot", [&] { called += 'c'; });
        });
        center->addObserver("other", [&] { called += 'x'; });
        center->addObserver("shot", [&] { called += 'b'; });
        center->post("shot");
        EXPECT_EQ(called, "ab");
        center->post("shot");
        EXPECT_EQ(called, "ababc");
    }
    const TestDevice another;
    NotificationCenter::defaultCenter()->post("shot"); // the former device's observers are gone
    EXPECT_EQ(called, "ababc");
}

TEST(UUID, IsRandomAndOfVersionFour) {
    std::set<UUID> seen;
    for (int i = 0; i < 1000; ++i) {
        const UUID id = UUID::make();
        EXPECT_TRUE(seen.insert(id).second);
        EXPECT_THAT(id.description(),
                    testing::MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"));
    }
}

} // namespace platform
