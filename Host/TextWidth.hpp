#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// Texts as a terminal shows them: characters of East Asia and pictures take two columns, marks over others none.
// UTF-8; each byte that is part of no character takes one. Any thread.

std::size_t columnsOf(std::string_view text);

/// As many whole characters from the beginning of `text` as fit into so many columns.
std::string_view fitted(std::string_view text, std::size_t columns);

/// Lines of cells, each column as wide as its widest cell, two blanks between; the last column is not filled up.
std::string tableOf(const std::vector<std::vector<std::string>>& lines);

} // namespace host
