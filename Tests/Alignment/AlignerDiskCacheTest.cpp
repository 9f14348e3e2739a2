#include "Velmorant/Alignment/AlignerDiskCache.hpp"

#include "Platform/Foundation/FailingWrites.hpp"
#include "Tests/Support/TestDevice.hpp"
#include "Tests/Support/TestItems.hpp"

#include <gmock/gmock.h>

#include <thread>

namespace velmorant {

namespace fs = std::filesystem;
using platform::contentOf;
using platform::writeFile;

namespace {

class AlignerDiskCacheTest : public testing::Test {
protected:
    static Alignment alignment(std::int64_t height) { return Alignment({{itemsOf("a")[0], {}}}, {100, height, 1}); }

    static std::shared_ptr<AlignerDiskCache> loaded(std::int64_t version = 3) {
        auto cache = AlignerDiskCache::make(version);
        cache->waitUntilLoaded();
        return cache;
    }

    static void save(AlignerDiskCache& cache, const std::string& id, std::int64_t height) {
        cache.setAlignment(id, alignment(height));
        cache.waitUntilSaved();
    }

    /// The height of the canvas that is stored; 0 for nothing.
    static std::int64_t height(const AlignerDiskCache& cache, const std::string& id) {
        const auto found = cache.alignment(id);
        return found ? found->size().height : 0;
    }

    const platform::TestDevice device;
    const fs::path folder = device.home() / "Caches/com.velmorant.host/Alignments";
};

} // namespace

TEST_F(AlignerDiskCacheTest, OutlivesTheObjectForItsVersion) {
    {
        const auto cache = loaded();
        cache->setAlignment("one", alignment(1));
        cache->setAlignment("two", alignment(2));
        cache->setAlignment("two", std::nullopt);
        cache->setAlignment("tri\"", alignment(3));
        EXPECT_EQ(height(*cache, "one"), 1); // ordered after the write
        EXPECT_EQ(height(*cache, "two"), 0);
        cache->waitUntilSaved();
    }
    const auto again = loaded();
    EXPECT_EQ(again->alignment("one"), alignment(1));
    EXPECT_EQ(height(*again, "two"), 0);
    EXPECT_EQ(height(*again, "tri\""), 3);
    EXPECT_EQ(height(*loaded(4), "one"), 0);
    EXPECT_TRUE(fs::exists(folder / "3"));

    AlignerDiskCache::clear();
    EXPECT_FALSE(fs::exists(folder));
    EXPECT_EQ(height(*again, "one"), 1); // what is in memory stays
    save(*again, "more", 4);
    EXPECT_FALSE(fs::exists(folder)); // and is written nowhere
}

TEST_F(AlignerDiskCacheTest, WhatIsSetWhileTheFileLoadsWins) {
    const auto first = loaded();
    first->setAlignment("key", alignment(1));
    first->setAlignment("gone", alignment(1));
    save(*first, "kept", 1);

    const auto second = AlignerDiskCache::make(3);
    second->setAlignment("key", alignment(2));
    second->setAlignment("gone", std::nullopt);
    second->waitUntilSaved();
    const auto third = loaded();
    EXPECT_EQ(height(*third, "key"), 2);
    EXPECT_EQ(height(*third, "gone"), 0);
    EXPECT_EQ(height(*third, "kept"), 1);
}

TEST_F(AlignerDiskCacheTest, KeepsWhatAnotherProcessWrote) {
    const auto a = loaded(), b = loaded();
    save(*a, "a", 1);
    save(*b, "b", 2);
    const auto both = loaded();
    EXPECT_EQ(height(*both, "a"), 1);
    EXPECT_EQ(height(*both, "b"), 2);
}

TEST_F(AlignerDiskCacheTest, SetsADamagedFileAsideBeforeItIsReplaced) {
    fs::create_directories(folder);
    for (const std::string damaged : {"no JSON", "{\"one\":{\"positions\":[]}}", "[]"}) {
        writeFile(folder / "3", damaged);
        const auto cache = loaded();
        EXPECT_EQ(height(*cache, "one"), 0);
        EXPECT_EQ(contentOf(folder / "3"), damaged); // reading changes nothing
        save(*cache, "one", 1);
        EXPECT_EQ(height(*loaded(), "one"), 1);
    }
    EXPECT_EQ(contentOf(folder / "3.damaged-1"), "no JSON");
    EXPECT_TRUE(fs::exists(folder / "3.damaged-3"));

    writeFile(folder / "3", "{}");
    EXPECT_EQ(height(*loaded(), "one"), 0);
}

TEST_F(AlignerDiskCacheTest, AFullDiskCostsNoMoreThanTheFile) {
    const auto cache = loaded();
    save(*cache, "one", 1);
    const std::string before = contentOf(folder / "3");
    {
        const platform::FailingWrites full(1);
        save(*cache, "two", 2);
        EXPECT_TRUE(full.happened());
    }
    EXPECT_EQ(contentOf(folder / "3"), before);
    save(*cache, "three", 3);
    EXPECT_EQ(height(*loaded(), "two"), 2);
}

TEST_F(AlignerDiskCacheTest, IsSetFromManyThreads) {
    const auto cache = AlignerDiskCache::make(3);
    std::vector<std::jthread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([&, thread] {
            for (int i = 100 * thread; i < 100 * (thread + 1); ++i) {
                cache->setAlignment(std::to_string(i), alignment(i + 1));
                EXPECT_EQ(height(*cache, std::to_string(i)), i + 1);
            }
        });
    threads.clear();
    cache->waitUntilSaved();
    const auto again = loaded();
    for (int i = 0; i < 400; ++i)
        EXPECT_EQ(height(*again, std::to_string(i)), i + 1);
}

TEST(AlignerDiskCache, LivesInMemoryWithoutACachesFolder) {
    const platform::Device device({});
    const auto cache = AlignerDiskCache::make(3);
    cache->setAlignment("one", Alignment({}, {1, 1, 1}));
    cache->waitUntilSaved();
    EXPECT_TRUE(cache->alignment("one"));
}

} // namespace velmorant
