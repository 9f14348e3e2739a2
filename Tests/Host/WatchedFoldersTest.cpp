#include "Host/WatchedFolders.hpp"

#include "Tests/Support/TestDevice.hpp"

#include <gmock/gmock.h>

namespace host {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(WatchedFoldersTest, TriesAFileAgainEverLaterAndNotForever) {
    const platform::TestDevice device;
    const auto folder = platform::Device::current().folders.home / "inbox";
    const auto full = folder / "full.png", fine = folder / "fine.png";
    std::filesystem::create_directories(folder);
    platform::writeFile(full, "1");
    platform::writeFile(fine, "1");
    WatchedFolders watched({folder}, {}, [] {});
    const std::chrono::steady_clock::time_point begin{100h};
    EXPECT_THAT(watched.ripe(begin), IsEmpty()); // it may be growing still
    EXPECT_TRUE(watched.areSomeGreen());
    EXPECT_THAT(watched.ripe(begin + 1s), ElementsAre(fine, full));
    EXPECT_TRUE(watched.retry(full, begin + 1s));

    std::vector<std::chrono::seconds> tries;
    for (auto after = 2s; after < 5h; after += 1s)
        if (const auto ripe = watched.ripe(begin + after); !ripe.empty()) {
            EXPECT_THAT(ripe, ElementsAre(full));
            EXPECT_FALSE(watched.retry(full, begin + after));
            tries.push_back(after - 1s);
        }
    EXPECT_THAT(tries, ElementsAre(30s, 90s, 210s, 450s, 930s, 1890s, 3810s, 7650s));

    platform::writeFile(full, "another");
    EXPECT_THAT(watched.ripe(begin + 6h), IsEmpty());
    EXPECT_THAT(watched.ripe(begin + 6h + 1s), ElementsAre(full));
    EXPECT_TRUE(watched.retry(full, begin + 6h + 1s));
}

} // namespace host
