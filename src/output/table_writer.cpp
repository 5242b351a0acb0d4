#include "output/table_writer.h"

#include <nlohmann/json.hpp>
#include <utility>

#include "output/json.h"
#include "output/visible_text.h"

namespace ctfmeg::output {
namespace {

constexpr const char* kNone = "-";

template <class... Function>
struct Overloaded : Function... {
  using Function::operator()...;
};
template <class... Function>
Overloaded(Function...) -> Overloaded<Function...>;

Json jsonOf(const Cell& cell) {
  return std::visit(
      Overloaded{[](std::monostate) { return Json(); }, [](const auto& value) { return Json(value); }},
      cell.value());
}

std::string csvOf(const Cell& cell) {
  return std::visit(Overloaded{[](std::monostate) { return std::string(); },
                               [](const std::string& text) { return csvText(text); },
                               [](std::int64_t count) { return std::to_string(count); },
                               [](double number) { return shortest(number); },
                               [](bool truth) { return std::string(truth ? "true" : "false"); }},
                    cell.value());
}

std::string textOf(const Cell& cell, const Column& column) {
  return std::visit(
      Overloaded{[](std::monostate) { return std::string(kNone); },
                 [&](const std::string& text) { return clipped(visible(text), column.mostColumns); },
                 [](std::int64_t count) { return std::to_string(count); },
                 [&](double number) { return column.shown(number); },
                 [](bool truth) { return std::string(truth ? "yes" : "no"); }},
      cell.value());
}

}  // namespace

TableWriter::TableWriter(std::ostream& out, TableForm form, std::vector<Column> columns, bool severalDatasets)
    : m_out(out), m_form(form), m_columns(std::move(columns)), m_severalDatasets(severalDatasets) {
  if (severalDatasets) m_columns.insert(m_columns.begin(), {"dataset", "dataset", rounded, kWholeText});
  std::vector<std::string> names;
  for (const Column& column : m_columns)
    if (const char* name = form == TableForm::text ? column.heading : column.key) names.emplace_back(name);
  if (form == TableForm::csv) m_out << csvLine(names);
  if (form == TableForm::text) m_text.push_back(std::move(names));
}

void TableWriter::beginDataset(const std::string& path) {
  endDataset();
  m_dataset = path;
}

void TableWriter::add(std::vector<Cell> row) {
  ++m_rowsOfDataset;
  if (m_severalDatasets) row.insert(row.begin(), m_dataset);
  write(row);
}

void TableWriter::addForPeople(std::vector<Cell> row) {
  if (m_form == TableForm::text) add(std::move(row));
}

void TableWriter::write(const std::vector<Cell>& row) {
  std::vector<std::string> cells;
  Json object;
  for (std::size_t i = 0; i < m_columns.size(); ++i) {
    const Column& column = m_columns[i];
    if (m_form == TableForm::text && column.heading != nullptr)
      cells.push_back(textOf(row[i], column));
    else if (m_form == TableForm::csv && column.key != nullptr)
      cells.push_back(csvOf(row[i]));
    else if (m_form == TableForm::json && column.key != nullptr)
      object[column.key] = jsonOf(row[i]);
  }
  if (m_form == TableForm::json) m_out << (m_rows == 0 ? "[\n" : ",\n") << dump(object);
  if (m_form == TableForm::csv) m_out << csvLine(cells);
  if (m_form == TableForm::text) m_text.push_back(std::move(cells));
  ++m_rows;
}

void TableWriter::endDataset() {
  const bool isMissed = m_severalDatasets && !m_dataset.empty() && m_rowsOfDataset == 0;
  if (isMissed && m_form == TableForm::text) {
    m_text.push_back(std::vector<std::string>(m_text.front().size(), kNone));
    m_text.back().front() = textOf(m_dataset, m_columns.front());
  }
  m_rowsOfDataset = 0;
}

void TableWriter::end(const char* ifEmpty) {
  endDataset();
  if (m_form == TableForm::json) m_out << (m_rows == 0 ? "[]\n" : "\n]\n");
  if (m_form != TableForm::text) return;
  if (m_rows > 0)
    writeTable(m_out, m_text);
  else if (ifEmpty != nullptr)
    m_out << ifEmpty << '\n';
}

}  // namespace ctfmeg::output
