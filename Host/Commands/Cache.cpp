#include "Host/Commands/Cache.hpp"

#include "Host/Console.hpp"
#include "Host/Message.hpp"
#include "Platform/Foundation/WriteFailure.hpp"
#include "Velmorant/Alignment/AlignerDiskCache.hpp"

namespace host {

ExitStatus clearCache() {
    velmorant::AlignerDiskCache::clear();
    if (const auto failure = platform::lastWriteFailure()) {
        complain(message("{}: the cache could not be removed ({})", {shown(failure->file), failure->error.message()}));
        return ExitStatus::incomplete;
    }
    return ExitStatus::success;
}

} // namespace host
