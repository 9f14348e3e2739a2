#pragma once

#include <functional>
#include <string>

namespace velmorant {

/// From the least to the most severe.
enum class LogStoreType { debug, info, default_, error, fault };

/// Where the library's diagnostic messages go; the application implements it. Called on any thread, on several at once.
class LogStore {
public:
    /// Produces the text when called. Valid only during the call it is passed to, and costly at times: a store that
    /// does not record a level need not call it.
    using Message = std::function<std::string()>;

    virtual ~LogStore() = default;

    virtual void store(const Message& message, LogStoreType type) = 0;

    void debug(const Message& message) { store(message, LogStoreType::debug); }
    void info(const Message& message) { store(message, LogStoreType::info); }
    void log(const Message& message, LogStoreType type) { store(message, type); }
    void error(const Message& message) { store(message, LogStoreType::error); }
    void fault(const Message& message) { store(message, LogStoreType::fault); }
};

} // namespace velmorant
