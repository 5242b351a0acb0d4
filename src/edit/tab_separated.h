#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// Tables as studies of the BIDS standard have them: UTF-8, a heading, cells between tabs, "n/a" where nothing
// is known.

namespace ctfmeg::edit {

/// A line with its end. What would break the table, or how programs read its cells, becomes a blank or an
/// apostrophe: tabs, line ends and other control characters, and double quotes.
std::string tabSeparated(std::vector<std::string> cells);

/// What a row has in columns of these names; the first one is what it is about.
using NamedCells = std::vector<std::pair<std::string, std::string>>;

/// The table with such a row, a new table where it is empty. Columns of others, and bytes of other rows,
/// stay; cells for columns that the table does not have are left out. A row about the same thing stays as it
/// is, or, with `update`, gets these cells. Throws `Error` about `path` where there is no column for the
/// first cell.
std::string withRow(std::string_view table, const NamedCells& cells, bool update,
                    const std::filesystem::path& path);

}  // namespace ctfmeg::edit
