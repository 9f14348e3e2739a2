#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace platform {

/// What an image's values mean: sRGB, or whatever an ICC profile says. A cheap handle over shared immutable bytes.
/// Two spaces are equal when their profiles are equal byte for byte; images without a profile are sRGB.
class CGColorSpace {
public:
    static CGColorSpace sRGB() { return {}; }

    /// `profile` is an ICC profile for RGB values; an empty one is sRGB. It is not checked here.
    static CGColorSpace icc(std::vector<std::byte> profile) {
        CGColorSpace space;
        if (!profile.empty())
            space.profile_ = std::make_shared<const std::vector<std::byte>>(std::move(profile));
        return space;
    }

    /// The ICC profile; empty for sRGB.
    std::span<const std::byte> profile() const {
        return profile_ ? std::span<const std::byte>(*profile_) : std::span<const std::byte>();
    }
    bool isSRGB() const { return !profile_; }

    friend bool operator==(const CGColorSpace& a, const CGColorSpace& b) {
        return a.profile_ == b.profile_ || (a.profile_ && b.profile_ && *a.profile_ == *b.profile_);
    }

private:
    std::shared_ptr<const std::vector<std::byte>> profile_;
};

} // namespace platform
