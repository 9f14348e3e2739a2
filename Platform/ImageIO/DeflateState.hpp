#pragma once

#include <isa-l/igzip_lib.h>

namespace platform::png {

/// The state of one call of ISA-L's deflate, at a place at which the same input gives the same bytes; the owner sets it
/// up. Any thread; as many at once as there are places, others wait for one.
class DeflateState {
public:
    DeflateState();
    ~DeflateState();
    DeflateState(const DeflateState&) = delete;
    DeflateState& operator=(const DeflateState&) = delete;

    isal_zstream& stream() { return *stream_; }

private:
    isal_zstream* const stream_;
};

} // namespace platform::png
