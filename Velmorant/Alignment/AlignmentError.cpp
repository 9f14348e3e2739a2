#include "Velmorant/Alignment/AlignmentError.hpp"

#include <string>

namespace velmorant {

namespace {

class Category final : public std::error_category {
    const char* name() const noexcept override { return "Velmorant.AlignmentError"; }
    std::string message(int) const override { return "no alignment"; }
};

} // namespace

const std::error_category& alignmentErrorCategory() {
    static const Category category;
    return category;
}

std::error_code make_error_code(AlignmentError error) {
    return {static_cast<int>(error), alignmentErrorCategory()};
}

} // namespace velmorant
