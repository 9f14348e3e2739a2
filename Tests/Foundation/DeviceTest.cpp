#include "Platform/Foundation/Device.hpp"

#include "Platform/Foundation/Calendar.hpp"
#include "Platform/Foundation/FileManager.hpp"
#include "Platform/Foundation/WriteFailure.hpp"
#include "Tests/Support/TestDevice.hpp"

#include <gmock/gmock.h>

#include <functional>
#include <optional>
#include <thread>

namespace platform {

namespace fs = std::filesystem;

namespace {

/// An environment variable for one test; none: it is not set.
class Variable {
public:
    Variable(const char* name, const char* value) : name_(name) {
        if (const char* former = std::getenv(name))
            former_ = former;
        value ? setenv(name, value, 1) : unsetenv(name);
    }
    ~Variable() { former_ ? setenv(name_, former_->c_str(), 1) : unsetenv(name_); }

private:
    const char* const name_;
    std::optional<std::string> former_;
};

std::vector<std::string> ended;

struct First {
    ~First() { ended.push_back("first"); }
};
struct Second {
    const std::shared_ptr<First> first = Device::shared<First>();
    std::function<void()> handler;
    ~Second() { ended.push_back("second"); }
};

} // namespace

TEST(Device, SharesNothingWithTheNext) {
    ended.clear();
    fs::path former;
    const auto handled = std::make_shared<int>();
    {
        const TestDevice device("Europe/Berlin");
        former = device.home().path();
        EXPECT_EQ(FileManager::documentsDirectory(), former / "Documents");
        EXPECT_EQ(Calendar::current().components(Date{0}).hour, 1);
        keepWriteFailure("file", std::make_error_code(std::errc::io_error));
        Device::shared<Second>()->handler = [handled] {};
        EXPECT_EQ(Device::shared<Second>(), Device::shared<Second>());
        EXPECT_EQ(handled.use_count(), 2);
    }
    EXPECT_THAT(ended, testing::ElementsAre("second", "first")); // the last made first
    EXPECT_EQ(handled.use_count(), 1);
    EXPECT_FALSE(fs::exists(former));

    const TestDevice device;
    EXPECT_NE(FileManager::documentsDirectory(), former / "Documents");
    EXPECT_EQ(Calendar::current().components(Date{0}).hour, 0);
    EXPECT_FALSE(lastWriteFailure());
    EXPECT_FALSE(Device::shared<Second>()->handler);
}

TEST(Device, HasOneSharedObjectForAllThreads) {
    const TestDevice device;
    std::vector<std::shared_ptr<First>> seen(8);
    std::vector<std::jthread> threads;
    for (auto& object : seen)
        threads.emplace_back([&object] { object = Device::shared<First>(); });
    threads.clear();
    EXPECT_THAT(seen, testing::Each(Device::shared<First>()));
}

TEST(Device, WithoutOneNoFolderIsTouched) {
    EXPECT_EQ(FileManager::documentsDirectory(), std::nullopt);
    EXPECT_EQ(FileManager::cachesDirectory(), std::nullopt);
    EXPECT_GE(Device::current().operatingSystem, (OperatingSystemVersion{14, 0}));
    EXPECT_EQ(Device::current().screenScale, 1);
}

TEST(DeviceFolders, OfTheUserFollowTheXDGRules) {
    const Variable home("HOME", "/home/ada");
    {
        const Variable data("XDG_DATA_HOME", nullptr), caches("XDG_CACHE_HOME", "not/absolute");
        const auto folders = DeviceFolders::ofUser("app");
        EXPECT_EQ(folders.documents, "/home/ada/.local/share/app");
        EXPECT_EQ(folders.defaults, "/home/ada/.local/share/app");
        EXPECT_EQ(folders.caches, "/home/ada/.cache/app");
        EXPECT_EQ(folders.photoLibrary, "");
    }
    const Variable none("HOME", nullptr);
    const Variable data("XDG_DATA_HOME", "/data"), caches("XDG_CACHE_HOME", nullptr);
    const auto folders = DeviceFolders::ofUser("app");
    EXPECT_EQ(folders.documents, "/data/app");
    EXPECT_EQ(folders.caches, "");
}

} // namespace platform
