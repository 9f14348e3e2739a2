#pragma once

#include "Velmorant/Alignment/AlignerCache.hpp"

#include <memory>

namespace host {

/// Keeps nothing: every group is matched anew.
class NoCache final : public velmorant::AlignerCache {
public:
    std::optional<velmorant::Alignment> alignment(const std::string&) const override { return std::nullopt; }
    void setAlignment(const std::string&, std::optional<velmorant::Alignment>) override {}
};

/// Keeps what is found, but answers nothing: where one wants to hear why, every group is matched anew.
class KeepingCache final : public velmorant::AlignerCache {
public:
    explicit KeepingCache(std::shared_ptr<velmorant::AlignerCache> cache) : cache_(std::move(cache)) {}
    std::optional<velmorant::Alignment> alignment(const std::string&) const override { return std::nullopt; }
    void setAlignment(const std::string& id, std::optional<velmorant::Alignment> alignment) override {
        cache_->setAlignment(id, std::move(alignment));
    }

private:
    const std::shared_ptr<velmorant::AlignerCache> cache_;
};

} // namespace host
