#pragma once

#include "Velmorant/Model/LogStore.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace velmorant {

struct Silence final : LogStore {
    void store(const Message&, LogStoreType) override {}
};

/// Keeps what is logged, for debugging or as an error.
struct Lines final : LogStore {
    void store(const Message& message, LogStoreType type) override {
        EXPECT_TRUE(type == LogStoreType::debug || type == LogStoreType::error);
        lines.push_back((type == LogStoreType::error ? "error: " : "") + message());
    }
    std::vector<std::string> lines;
};

} // namespace velmorant
