#pragma once

#include <cstddef>
#include <expected>
#include <filesystem>
#include <span>
#include <system_error>

namespace platform {

/// The one door to the disk for whatever must survive: every write, flush and rename passes here, so that a test can
/// make the n-th of them fail.
namespace systemCalls {

using Result = std::expected<void, std::error_code>;

/// All of `bytes`, however many calls that takes.
Result writeAll(int descriptor, std::span<const std::byte> bytes);
Result flush(int descriptor);
/// Without `replace` fails with `file_exists` where `to` is taken, without a race.
Result rename(const std::filesystem::path& from, const std::filesystem::path& to, bool replace);
/// Makes the names in a folder durable.
Result flushFolder(const std::filesystem::path& folder);

/// For tests, one at a time: the `n`-th call (from 1) through this door fails with "no space left on device".
class FailingCall {
public:
    explicit FailingCall(int n);
    ~FailingCall();
    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;
    /// Whether there was an n-th call.
    bool happened() const;
};

} // namespace systemCalls

} // namespace platform
