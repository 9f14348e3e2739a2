#pragma once

#include "Platform/Dispatch/DispatchQueue.hpp"
#include "Velmorant/Alignment/Alignment.hpp"
#include "Velmorant/Model/Group.hpp"

#include <expected>
#include <functional>
#include <system_error>

namespace velmorant {

/// Finds where the items of a group lie in one canvas.
class Aligner {
public:
    using Result = std::expected<Alignment, std::error_code>;
    using Completion = std::function<void(Result)>;

    virtual ~Aligner() = default;

    /// Returns at once. `completion` runs once, always as an asynchronous work item of `queue` with `flags`, so under
    /// the synchronization that the caller chose. `group` is not prestitched.
    virtual void alignment(const Group& group, const platform::DispatchQueue& queue,
                           platform::DispatchWorkItemFlags flags, Completion completion) = 0;
};

} // namespace velmorant
