#include "describe/scan_table.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <system_error>
#include <utility>

#include "base/dates.h"
#include "output/numbers.h"
#include "recording/catalog.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::describe {
namespace {

namespace fs = std::filesystem;

using output::Cell;

/// Seconds of all trials together; 0 without a sample rate.
double durationOf(const RecordInfo& record) {
  const double seconds = static_cast<double>(record.numTrials) * record.samplesPerTrial / record.sampleRate;
  return std::isfinite(seconds) && seconds > 0.0 ? seconds : 0.0;
}

Cell textCell(const std::string& text) { return text.empty() ? Cell() : Cell(text); }

/// "2 x 1200", or "1 of 2 x 1200" where trials are missing.
std::string trialsForPeople(const RecordInfo& record, std::int32_t there) {
  const std::string missing = there < record.numTrials ? std::to_string(there) + " of " : "";
  return missing + std::to_string(record.numTrials) + " x " + std::to_string(record.samplesPerTrial);
}

/// What people read after the status: the reason, or that there is more to be read elsewhere.
std::string remarkOn(const ScannedDataset& scanned) {
  const std::size_t warnings = scanned.dataset.warningCodes.size();
  if (!scanned.problem.empty() || warnings == 0) return scanned.problem;
  return std::to_string(warnings) + (warnings == 1 ? " warning" : " warnings");
}

}  // namespace

const std::vector<output::Column>& scanColumns() {
  static const std::vector<output::Column> kColumns{{"path", "dataset", output::rounded, output::kWholeText},
                                                    {"subject", "subject"},
                                                    {"date", nullptr},
                                                    {"time", nullptr},
                                                    {nullptr, "date"},
                                                    {"channels", "channels"},
                                                    {"trials", nullptr},
                                                    {nullptr, "trials"},
                                                    {"samplesPerTrial", nullptr},
                                                    {"sampleRate", "rate (Hz)"},
                                                    {"durationSeconds", "seconds"},
                                                    {"bytes", nullptr},
                                                    {nullptr, "size"},
                                                    {"status", "status"},
                                                    {"error", nullptr},
                                                    {nullptr, "", output::rounded, output::kWholeText},
                                                    {"isoDate", nullptr},
                                                    {"trialsThere", nullptr}};
  return kColumns;
}

std::vector<Cell> scanRow(const ScannedDataset& scanned) {
  const ShownDataset& dataset = scanned.dataset;
  const RecordInfo& record = dataset.record;
  const auto date = parseDate(record.dataDate);
  const std::string iso = date ? isoDate(*date) : "";
  std::vector<Cell> row{dataset.path, textCell(record.subjectId), textCell(record.dataDate),
                        textCell(record.dataTime), textCell(date ? iso : record.dataDate)};
  std::optional<std::int32_t> there;
  if (dataset.error) {
    row.resize(row.size() + 6);
  } else {
    there = dataset.files->trialsThere;
    row.emplace_back(record.numChannels);
    row.emplace_back(record.numTrials);
    row.emplace_back(trialsForPeople(record, *there));
    row.emplace_back(record.samplesPerTrial);
    row.emplace_back(record.sampleRate);
    row.emplace_back(durationOf(record));
  }
  row.emplace_back(scanned.bytes);
  row.emplace_back(output::bytes(scanned.bytes));
  row.emplace_back(nameOf(scanned.status));
  row.push_back(textCell(scanned.problem));
  row.emplace_back(remarkOn(scanned));
  row.push_back(textCell(iso));
  row.emplace_back(there);
  return row;
}

fs::path directoryToScan(const fs::path& given) {
  fs::path directory = reachable(given);
  std::error_code failed;
  const fs::file_status status = fs::status(directory, failed);
  const auto no = [&](ErrorKind kind, const std::error_code& reason) {
    return Error(kind, given, "can't be scanned: " + reason.message());
  };
  if (status.type() == fs::file_type::not_found)
    throw no(ErrorKind::notFound, std::make_error_code(std::errc::no_such_file_or_directory));
  if (failed) throw no(ErrorKind::noPermission, failed);
  if (!fs::is_directory(status))
    throw no(ErrorKind::notADataset, std::make_error_code(std::errc::not_a_directory));
  return directory;
}

std::string scanJson(const fs::path& given, const std::function<bool(double)>& goesOn) {
  const fs::path directory = directoryToScan(given);
  bool stopped = false;
  const Catalog found =
      findDatasets(directory, [&] { return stopped = stopped || (goesOn && !goesOn(0.0)); });
  if (stopped) throw Error(ErrorKind::stopped, given, "the scan was stopped");
  std::vector<std::string> paths;
  for (const fs::path& path : found.datasets)
    paths.push_back(textOf(path));
  const ScanReading reading{[](const std::string& path) { return Recording::open(pathFromText(path)); },
                            aboutSamples};
  std::vector<ScannedDataset> all = scanDatasets(paths, reading, [&](std::size_t read) {
    return !goesOn || goesOn(static_cast<double>(read) / static_cast<double>(paths.size()));
  });
  for (const Catalog::Problem& problem : found.problems) {
    const Error error(ErrorKind::noPermission, problem.path, problem.text);
    if (problem.path == directory) throw error;
    if (std::binary_search(found.datasets.begin(), found.datasets.end(), problem.path)) continue;
    all.push_back({.dataset = described(textOf(problem.path), error), .problem = problem.text});
  }
  std::ostringstream out;
  output::TableWriter table(out, output::TableForm::json, scanColumns());
  for (const ScannedDataset& scanned : all)
    table.add(scanRow(scanned));
  table.end(nullptr);
  std::string text = out.str();
  text.pop_back();
  return text;
}

}  // namespace ctfmeg::describe
