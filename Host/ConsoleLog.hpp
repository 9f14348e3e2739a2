#pragma once

#include "Velmorant/Model/LogStore.hpp"

namespace host {

/// The library's messages from a level on, each a line on standard error.
class ConsoleLog final : public velmorant::LogStore {
public:
    explicit ConsoleLog(velmorant::LogStoreType least) : least_(least) {}

    void store(const Message& message, velmorant::LogStoreType type) override;

private:
    const velmorant::LogStoreType least_;
};

} // namespace host
