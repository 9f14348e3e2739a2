#include "Codecs/NamedProfile.hpp"

#include <lcms2.h>

#include <memory>
#include <optional>

namespace codecs {

namespace {

struct Curve {
    void operator()(cmsToneCurve* curve) const { cmsFreeToneCurve(curve); }
};
struct Profile {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};

constexpr cmsCIExyY whiteD65{0.3127, 0.3290, 1};

/// H.273, table 2.
std::optional<cmsCIExyYTRIPLE> primariesOf(int number) {
    switch (number) {
    case 1: // BT.709
        return cmsCIExyYTRIPLE{{0.640, 0.330, 1}, {0.300, 0.600, 1}, {0.150, 0.060, 1}};
    case 9: // BT.2020
        return cmsCIExyYTRIPLE{{0.708, 0.292, 1}, {0.170, 0.797, 1}, {0.131, 0.046, 1}};
    case 12: // P3 with the white of sRGB
        return cmsCIExyYTRIPLE{{0.680, 0.320, 1}, {0.265, 0.690, 1}, {0.150, 0.060, 1}};
    default:
        return std::nullopt;
    }
}

/// H.273, table 3: as the parametric curve 4 of ICC, or plain powers.
std::unique_ptr<cmsToneCurve, Curve> curveOf(int number) {
    const auto made = [](std::initializer_list<double> parameters) {
        return std::unique_ptr<cmsToneCurve, Curve>(parameters.size() == 1
                                                        ? cmsBuildGamma(nullptr, *parameters.begin())
                                                        : cmsBuildParametricToneCurve(nullptr, 4, parameters.begin()));
    };
    switch (number) {
    case 4:
        return made({2.2});
    case 5:
        return made({2.8});
    case 8:
        return made({1});
    case 1: // BT.709, and the same curve under other names; screens show it as sRGB
    case 6:
    case 14:
    case 15:
    case 2: // not said
    case 13:
        return made({2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045});
    default: // of high dynamic range
        return nullptr;
    }
}

} // namespace

std::vector<std::byte> namedProfile(int primaries, int transfer) {
    const auto colours = primariesOf(primaries);
    const auto curve = curveOf(transfer);
    const bool isSRGB = primaries == 1 && transfer != 4 && transfer != 5 && transfer != 8;
    if (!colours || !curve || isSRGB)
        return {};
    cmsToneCurve* curves[] = {curve.get(), curve.get(), curve.get()};
    const std::unique_ptr<void, Profile> profile(cmsCreateRGBProfile(&whiteD65, &*colours, curves));
    cmsUInt32Number size = 0;
    if (!profile || !cmsSaveProfileToMem(profile.get(), nullptr, &size))
        return {};
    std::vector<std::byte> bytes(size);
    return cmsSaveProfileToMem(profile.get(), bytes.data(), &size) ? bytes : std::vector<std::byte>();
}

} // namespace codecs
