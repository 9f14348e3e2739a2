#include "Platform/Photos/ChangeTransaction-inl.hpp"

namespace platform {

namespace {

thread_local ChangeTransaction* running = nullptr;

} // namespace

ChangeTransaction* ChangeTransaction::current() {
    return running;
}

ChangeTransaction::Prepared ChangeTransaction::perform(const std::function<void()>& changes,
                                                       PhotoCatalogue& catalogue) {
    ChangeTransaction transaction;
    running = &transaction;
    changes();
    running = nullptr;
    for (const Request& request : transaction.requests_)
        if (request.prepare)
            if (auto prepared = request.prepare(); !prepared) {
                for (const Request& other : transaction.requests_)
                    if (other.undo)
                        other.undo();
                return prepared;
            }
    if (transaction.requests_.empty())
        return {};
    return catalogue.write([&](SQLite::Database& database) {
        for (const Request& request : transaction.requests_)
            request.apply(database);
    });
}

} // namespace platform
