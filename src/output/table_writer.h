#pragma once

#include <cmath>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "output/numbers.h"
#include "output/table.h"

namespace ctfmeg::output {

/// How a table is written: in columns for people, as CSV, or as a JSON array of objects.
enum class TableForm { text, csv, json };

/// A value of a table, or none: an empty cell, in JSON null, for people a dash. A number that is not finite
/// is none. Texts are as the file has them: they are made harmless for each form.
class Cell {
 public:
  Cell() = default;
  Cell(std::string text) : m_value(std::move(text)) {}
  Cell(const char* text) : m_value(std::string(text)) {}
  Cell(bool truth) : m_value(truth) {}
  Cell(double number) {
    if (std::isfinite(number)) m_value = number;
  }
  template <class Value>
  Cell(const std::optional<Value>& value) {
    if (value) *this = Cell(*value);
  }
  template <std::integral Count>
  Cell(Count count) : m_value(static_cast<std::int64_t>(count)) {}

  using Value = std::variant<std::monostate, std::string, std::int64_t, double, bool>;
  const Value& value() const { return m_value; }

 private:
  Value m_value;
};

inline constexpr std::size_t kWholeText = SIZE_MAX;

struct Column {
  const char* key;                         ///< in CSV and JSON; null where only people see the column
  const char* heading;                     ///< for people; null where only scripts see it
  std::string (*shown)(double) = rounded;  ///< how people see its numbers
  std::size_t mostColumns = 60;            ///< of its texts that people see
};

/// Writes one table: CSV and JSON row by row, text at the end, when the widths of its columns are known.
class TableWriter {
 public:
  /// With `severalDatasets` a first column `dataset` says which one a row is of.
  TableWriter(std::ostream& out, TableForm form, std::vector<Column> columns, bool severalDatasets = false);

  /// The rows that follow are of this dataset. For people one without rows gets a row of dashes.
  void beginDataset(const std::string& path);
  /// A cell for each of the columns.
  void add(std::vector<Cell> row);
  /// A row that scripts do not get.
  void addForPeople(std::vector<Cell> row);
  /// Writes what is left; for people `ifEmpty`, unless it is null, where there was no row at all.
  void end(const char* ifEmpty);

 private:
  void write(const std::vector<Cell>& row);
  void endDataset();

  std::ostream& m_out;
  TableForm m_form;
  std::vector<Column> m_columns;
  bool m_severalDatasets;
  std::string m_dataset;
  std::size_t m_rows = 0, m_rowsOfDataset = 0;
  Rows m_text;
};

}  // namespace ctfmeg::output
