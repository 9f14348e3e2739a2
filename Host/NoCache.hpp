#pragma once

#include "Velmorant/Alignment/AlignerCache.hpp"

namespace host {

/// Keeps nothing: every group is matched anew.
class NoCache final : public velmorant::AlignerCache {
public:
    std::optional<velmorant::Alignment> alignment(const std::string&) const override { return std::nullopt; }
    void setAlignment(const std::string&, std::optional<velmorant::Alignment>) override {}
};

} // namespace host
