#pragma once

#include "Platform/ImageIO/PNGBand.hpp"

#include <memory>
#include <span>

namespace platform::png {

/// Deflates by runs of one byte alone, for rows that are nearly blank: a run of 258 takes two bits where ISA-L, which
/// refers to the last place that it keeps, takes nine. Of zlib, at a third of ISA-L's speed. Keeps its memory.
class RunDeflater {
public:
    RunDeflater();
    ~RunDeflater();

    /// A stream that does not end is flushed to a whole byte, and what follows does not refer to it. False where the
    /// deflater fails.
    bool deflate(std::span<const std::uint8_t> bytes, bool isLast, Deflated& result);

private:
    struct State;
    const std::unique_ptr<State> state_;
};

} // namespace platform::png
