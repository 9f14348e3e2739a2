#pragma once

namespace platform {

/// For tests, one at a time: the `n`-th write, flush, link or rename from now on, counted from 1, fails with "no space
/// left on device"; a write has written half of its bytes by then.
class FailingWrites {
public:
    explicit FailingWrites(int n);
    ~FailingWrites();
    FailingWrites(const FailingWrites&) = delete;
    FailingWrites& operator=(const FailingWrites&) = delete;

    /// Whether there was an n-th one.
    bool happened() const;

    /// For SystemCalls.cpp: counts one, and answers whether it is to fail.
    static bool isToFail();
};

/// For tests: a file system that knows neither files without a name nor renames that keep what is there.
class SimpleFileSystem {
public:
    SimpleFileSystem();
    ~SimpleFileSystem();
    SimpleFileSystem(const SimpleFileSystem&) = delete;
    SimpleFileSystem& operator=(const SimpleFileSystem&) = delete;

    static bool isSet();
};

} // namespace platform
