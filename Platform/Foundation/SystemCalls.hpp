#pragma once

#include <cstddef>
#include <expected>
#include <filesystem>
#include <span>
#include <system_error>

/// The one door to the disk for whatever must survive: every write, flush, link and rename passes here, so that a test
/// can make the n-th of them fail (FailingWrites.hpp).
namespace platform::systemCalls {

using Result = std::expected<void, std::error_code>;

/// What `errno` says.
std::error_code lastError();

/// All of `bytes`, however many calls that takes.
[[nodiscard]] Result writeAll(int descriptor, std::span<const std::byte> bytes);

[[nodiscard]] Result flush(int descriptor);

/// Makes the names in a folder durable, where that can be done: a folder that may not be read cannot be flushed.
[[nodiscard]] Result flushFolder(const std::filesystem::path& folder);

/// A new file in `folder`, open for writing, that has no name and vanishes with its descriptor.
[[nodiscard]] std::expected<int, std::error_code> openUnnamed(const std::filesystem::path& folder);

/// Gives a file from `openUnnamed` a name; fails with `file_exists` where it is taken, without a race.
[[nodiscard]] Result name(int descriptor, const std::filesystem::path& file);

enum class Target { replace, keep };

/// `Target::keep` fails with `file_exists` where `to` is taken, without a race.
[[nodiscard]] Result rename(const std::filesystem::path& from, const std::filesystem::path& to, Target target);

} // namespace platform::systemCalls
