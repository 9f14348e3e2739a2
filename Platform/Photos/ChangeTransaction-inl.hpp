#pragma once

#include "Platform/Photos/PhotoCatalogue-inl.hpp"

#include <expected>
#include <functional>
#include <vector>

namespace platform {

/// The requests of one change block, carried out together when it ends.
class ChangeTransaction {
public:
    using Prepared = std::expected<void, PhotoLibraryError>;

    /// The one whose change block runs on this thread; null outside.
    static ChangeTransaction* current();

    /// `prepare` brings files to the disk before the catalogue changes, and `undo` removes them where another request's
    /// fails; both may be empty. `apply` changes the catalogue, within one transaction for all requests.
    void add(std::function<Prepared()> prepare, std::function<void(SQLite::Database&)> apply,
             std::function<void()> undo = {}) {
        requests_.push_back({std::move(prepare), std::move(apply), std::move(undo)});
    }

    /// Runs the change block, then carries out what it asks for. The caller holds the library's lock.
    [[nodiscard]] static Prepared perform(const std::function<void()>& changes, PhotoCatalogue& catalogue);

private:
    struct Request {
        std::function<Prepared()> prepare;
        std::function<void(SQLite::Database&)> apply;
        std::function<void()> undo;
    };
    std::vector<Request> requests_;
};

} // namespace platform
