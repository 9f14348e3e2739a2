#pragma once

#include <system_error>

namespace velmorant {

/// Why a group has no alignment. It carries no detail: what the pattern maker found says why.
enum class AlignmentError { noAlignment = 1 };

/// The category "Velmorant.AlignmentError".
const std::error_category& alignmentErrorCategory();

std::error_code make_error_code(AlignmentError error);

} // namespace velmorant

template <>
struct std::is_error_code_enum<velmorant::AlignmentError> : std::true_type {};
