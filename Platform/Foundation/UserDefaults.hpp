#pragma once

#include "Platform/Foundation/RegularFile.hpp"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

/// Small values that outlive the process, by key: one JSON file a key in the device's defaults folder, named by the key
/// (bytes other than letters, digits, "-", "_" and "." as "%2F"). Every call reads or writes the file, so what another
/// process wrote is seen, and what was set is on the disk when the call returns. Any thread. Failures to write show in
/// `lastWriteFailure`; without a defaults folder nothing is kept.
class UserDefaults {
public:
    /// Nothing where there is none, or a value of another kind.
    static std::optional<std::vector<std::string>> stringArray(std::string_view key);

    /// Replaces what was there. A file that is no JSON is set aside first, as `FileManager::setAsideDamaged` does.
    static void set(std::string_view key, const std::vector<std::string>& strings);

    static void remove(std::string_view key);

    /// Tells whether a value may have been written since, by whomever. Nothing where there is none.
    static std::optional<FileIdentity> version(std::string_view key);
};

} // namespace platform
