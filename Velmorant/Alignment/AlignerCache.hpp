#pragma once

#include "Velmorant/Alignment/Alignment.hpp"

#include <optional>
#include <string>

namespace velmorant {

/// Alignments computed earlier, by the id of their group. Any thread; a read followed by a write is not one step.
class AlignerCache {
public:
    virtual ~AlignerCache() = default;
    virtual std::optional<Alignment> alignment(const std::string& groupId) const = 0;
    /// Replaces what was stored; nothing removes it.
    virtual void setAlignment(const std::string& groupId, std::optional<Alignment> alignment) = 0;
};

} // namespace velmorant
