#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

namespace platform {

/// A universally unique identifier (RFC 4122).
struct UUID {
    std::array<std::uint8_t, 16> bytes = {};

    /// A fresh random one (version 4).
    static UUID make();

    /// As in "E621E1F8-C36C-495A-93FC-0C247A3E6E5F".
    std::string description() const;

    friend auto operator<=>(const UUID&, const UUID&) = default;
};

} // namespace platform

template <>
struct std::hash<platform::UUID> {
    std::size_t operator()(const platform::UUID& id) const noexcept {
        std::size_t random; // any part of it is
        std::memcpy(&random, id.bytes.data() + 8, sizeof random);
        return random;
    }
};
