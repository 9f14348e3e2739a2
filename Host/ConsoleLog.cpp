#include "Host/ConsoleLog.hpp"

#include "Host/Console.hpp"

namespace host {

void ConsoleLog::store(const Message& message, velmorant::LogStoreType type) {
    if (type >= least_)
        complain(message());
}

} // namespace host
