#include <algorithm>
#include <array>
#include <iostream>
#include <utility>

#include "cli/found_datasets.h"
#include "cli/messages.h"
#include "cli/process.h"
#include "describe/scan_table.h"
#include "output/numbers.h"

namespace ctfmeg::cli {
namespace {

using describe::ScannedDataset;

/// All headers, with a bar for as long as it takes: nothing else is written meanwhile.
std::vector<ScannedDataset> scanAll(const std::vector<std::string>& datasets, const ScanOptions& options,
                                    const Session& session) {
  const std::string title =
      "Scanning " + std::to_string(datasets.size()) + (datasets.size() == 1 ? " dataset" : " datasets");
  const auto bar = options.reading.quiet ? nullptr : openProgressBar(title);
  const describe::ScanReading reading{[&](const std::string& path) { return session.open(path); },
                                      describe::aboutSamples};
  return describe::scanDatasets(datasets, reading, [&](std::size_t read) {
    stopIfInterrupted();
    if (bar) bar->show(static_cast<double>(read), static_cast<double>(datasets.size()));
    return true;
  });
}

/// " line 12", where a finding is about a line.
std::string placeWords(const Finding& finding) {
  return finding.line ? " line " + std::to_string(*finding.line) : "";
}

/// On standard error: why a dataset is not what it should be, or the first of its warnings.
void sayOf(const ScannedDataset& scanned) {
  const ShownDataset& dataset = scanned.dataset;
  if (!scanned.problem.empty()) return say(dataset.path, scanned.problem);
  if (dataset.warningCodes.empty()) return;
  const auto& findings = dataset.findings;
  const auto first = std::find_if(findings.begin(), findings.end(), [](const Finding& finding) {
    return finding.severity != Finding::Severity::remark;
  });
  const std::size_t others = dataset.warningCodes.size() - 1;
  say(dataset.path,
      "warning: " +
          (first == findings.end() ? "see info"
                                   : lastName(first->file) + placeWords(*first) + " " + first->text) +
          (others > 0 ? "; and " + std::to_string(others) + " more" : ""));
}

/// How many datasets have each status, and their size.
class Summary {
 public:
  void add(const ScannedDataset& scanned) {
    ++m_counts.at(static_cast<std::size_t>(scanned.status));
    m_bytes += scanned.bytes;
    if (scanned.status != SampleStatus::ok || !scanned.dataset.warningCodes.empty()) m_warned = true;
  }

  /// "12 datasets, 3.4 GB: 10 ok, 1 short, 1 broken".
  std::string sentence() const {
    int all = 0;
    std::string counts;
    for (std::size_t i = m_counts.size(); i-- > 0;) {
      all += m_counts[i];
      if (m_counts[i] == 0) continue;
      counts += (counts.empty() ? "" : ", ") + std::to_string(m_counts[i]) + " " +
                nameOf(static_cast<SampleStatus>(i));
    }
    return std::to_string(all) + (all == 1 ? " dataset, " : " datasets, ") + output::bytes(m_bytes) + ": " +
           counts;
  }

  int exitCode(bool strict) const {
    if (of(SampleStatus::broken) > 0 || (strict && m_warned)) return kFailed;
    return of(SampleStatus::noSamples) + of(SampleStatus::tooShort) + of(SampleStatus::extra) > 0 ? kOdd
                                                                                                  : kDone;
  }

 private:
  int of(SampleStatus status) const { return m_counts[static_cast<std::size_t>(status)]; }

  std::array<int, static_cast<std::size_t>(SampleStatus::ok) + 1> m_counts{};
  std::int64_t m_bytes = 0;
  bool m_warned = false;
};

}  // namespace

int runScan(const ScanOptions& options) {
  Session session(options.reading);
  const auto datasets = datasetsBelow(options.directories, session);
  std::vector<ScannedDataset> all = scanAll(datasets, options, session);

  output::TableWriter table(std::cout, options.form, describe::scanColumns());
  Summary summary;
  for (ScannedDataset& scanned : all) {
    scanned.dataset = shown(std::move(scanned.dataset), options.reading);
    table.add(describe::scanRow(scanned));
    sayOf(scanned);
    summary.add(scanned);
  }
  table.end(session.exitCode() == kDone ? "no datasets" : nullptr);
  if (options.form == output::TableForm::text && !all.empty()) std::cout << summary.sentence() << '\n';
  finishOutput();
  return session.exitCode() == kDone ? summary.exitCode(options.reading.strict) : session.exitCode();
}

}  // namespace ctfmeg::cli
