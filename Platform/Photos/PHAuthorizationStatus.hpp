#pragma once

namespace platform {

/// What the user lets an application do with the photo library. The values are stored.
enum class PHAuthorizationStatus : int {
    notDetermined = 0, ///< the user has not been asked
    restricted = 1,    ///< the device forbids it, whatever the user wants
    denied = 2,
    authorized = 3,
    limited = 4, ///< the assets that the user chose, and those that the application makes
};

enum class PHAccessLevel : int { addOnly = 1, readWrite = 2 };

inline bool isAccessGranted(PHAuthorizationStatus status) {
    return status == PHAuthorizationStatus::authorized || status == PHAuthorizationStatus::limited;
}

} // namespace platform
