#include "Platform/Foundation/WriteFailure.hpp"

#include "Platform/Dispatch/Mutex.hpp"
#include "Platform/Foundation/Device.hpp"

namespace platform {

namespace {

struct Kept {
    Mutex mutex;
    std::optional<WriteFailure> last VELMORANT_GUARDED_BY(mutex);
};

} // namespace

std::optional<WriteFailure> lastWriteFailure() {
    const auto kept = Device::shared<Kept>();
    const MutexLock lock(kept->mutex);
    return kept->last;
}

void keepWriteFailure(const std::filesystem::path& file, std::error_code error) {
    const auto kept = Device::shared<Kept>();
    const MutexLock lock(kept->mutex);
    kept->last = WriteFailure{file, error};
}

} // namespace platform
