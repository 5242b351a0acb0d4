#include <algorithm>
#include <array>
#include <iostream>
#include <numeric>

#include "base/finding_codes.h"
#include "check_host/check_host.h"
#include "cli/found_datasets.h"
#include "cli/messages.h"
#include "cli/process.h"
#include "describe/json.h"
#include "output/table.h"
#include "output/visible_text.h"
#include "recording/sample_windows.h"

#include <ctfmeg/inspect.h>
#include <ctfmeg/path_text.h>

namespace ctfmeg::cli {
namespace {

using output::visible;

void append(std::vector<Finding>& findings, const std::vector<Finding>& more) {
  findings.insert(findings.end(), more.begin(), more.end());
}

/// A number that hardly any other samples have. All are read for it, and none kept.
std::uint64_t digestOf(const SampleSource& source, ProgressBar* bar) {
  const Shape shape = source.shape();
  std::vector<std::int32_t> values;
  std::uint64_t digest = 14695981039346656037U;  // FNV-1a, a value at a time
  forEachWindow({0, shape.trials, 0, shape.channels, 0, shape.samples},
                kBytesAtOnce / std::int64_t{sizeof(std::int32_t)}, [&](const Window& window) {
                  stopIfInterrupted();
                  if (bar) bar->show(static_cast<double>(window.trial), static_cast<double>(shape.trials));
                  values.resize(static_cast<std::size_t>(window.trials * window.channels * window.samples));
                  source.read(window, values);
                  for (const std::int32_t value : values)
                    digest = (digest ^ static_cast<std::uint32_t>(value)) * 1099511628211U;
                });
  return digest;
}

/// What is wrong or odd in one dataset. Throws `Error` when it can't be read.
class DatasetCheck {
 public:
  DatasetCheck(const std::string& dataset, Session& session) : m_dataset(dataset), m_session(session) {}

  std::vector<Finding> run(const CheckOptions& options) {
    const Recording recording = m_session.open(m_dataset);
    append(m_findings, recording.warnings());
    if (recording.sampleFiles().status == SampleStatus::broken) failWithAll(recording);
    append(m_findings, describe::aboutSamples(recording));
    append(m_findings, inspect(recording));
    if (options.signals && recording.sampleFiles().trialsThere > 0)
      append(m_findings, inspectSignals(recording, options.limits, m_session.progress(m_dataset)));
    if (options.host && recording.rules() == Rules::plain) compareWithHost(recording);
    return std::move(m_findings);
  }

 private:
  /// Throws why the samples can't be read, with everything else that is wrong.
  void failWithAll(const Recording& recording) {
    try {
      (void)recording.samples();
    } catch (const Error& error) {
      append(m_findings, error.findings());
      append(m_findings, inspect(recording));
      throw Error(error.kind(), error.path(), error.text(), m_findings);
    }
  }

  /// Samples of a recording; null where it has no whole trial.
  std::shared_ptr<const SampleSource> samplesOf(const Recording& recording) const {
    return recording.sampleFiles().trialsThere > 0 ? m_session.select(m_dataset, recording).source : nullptr;
  }

  void compareWithHost(const Recording& plain) {
    const auto lose = [this](Code code, const std::filesystem::path& file, const std::string& text) {
      m_findings.push_back(
          {Finding::Severity::remark, wordOf(code), textOf(file), "under host rules " + text});
    };
    try {
      const Recording host = m_session.open(textOf(plain.resourceFile()), Rules::host);
      append(m_findings, hostLosses(plain, host));
      const auto theirs = m_session.select(m_dataset, host).source;
      const auto ours = samplesOf(plain);
      const std::int64_t trials = ours ? ours->shape().trials : 0;
      if (theirs->shape().trials != trials)
        return lose(
            Code::hostSamples, plain.resourceFile(),
            "has " + std::to_string(theirs->shape().trials) + " of " + std::to_string(trials) + " trials");
      const auto bar = m_session.openBar(m_dataset);
      if (ours && digestOf(*ours, bar.get()) != digestOf(*theirs, nullptr))
        lose(Code::hostSamples, plain.resourceFile(), "has other samples");
    } catch (const Error& error) {
      stopIfInterrupted();
      if (error.kind() == ErrorKind::outOfMemory) throw;
      lose(Code::hostUnread, error.path(), error.text());
    }
  }

  const std::string& m_dataset;
  Session& m_session;
  std::vector<Finding> m_findings;
};

bool isOdd(const Finding& finding) { return finding.severity != Finding::Severity::remark; }

std::string placeOf(const Finding& finding) {
  if (finding.line) return "line " + std::to_string(*finding.line);
  return finding.offset ? "byte " + std::to_string(*finding.offset) : "";
}

void printFindings(const std::vector<Finding>& findings) {
  output::Rows rows{{"", "code", "file", "place", "what"}};
  for (const Finding& finding : findings)
    rows.push_back({nameOf(finding.severity), visible(finding.code), visible(lastName(finding.file)),
                    placeOf(finding), visible(finding.text)});
  if (rows.size() > 1) output::writeTable(std::cout, rows);
}

enum Verdict { sound, odd, unreadable };
constexpr std::array<const char*, 3> kVerdicts{"sound", "odd but readable", "can't be read"};

/// Adds why a dataset could not be read to its findings, for people, where none of them says so.
void addReason(ShownDataset& dataset) {
  const auto& findings = dataset.findings;
  const bool known = std::any_of(findings.begin(), findings.end(), [](const Finding& finding) {
    return finding.severity == Finding::Severity::error;
  });
  if (dataset.error && !known)
    dataset.findings.push_back(
        {Finding::Severity::error, nameOf(dataset.error->kind), dataset.error->file, dataset.error->text});
}

/// Prints what was found of each dataset, as it comes, and what came of all of them.
class CheckPrinter {
 public:
  /// `many`: whether there may be more than one dataset.
  CheckPrinter(const CheckOptions& options, bool many) : m_options(options), m_many(many) {
    if (options.json && many) std::cout << "[\n";
  }

  /// Findings in the order of their weight.
  void add(ShownDataset dataset, Verdict verdict) {
    const bool first = std::all_of(m_counts.begin(), m_counts.end(), [](int count) { return count == 0; });
    ++m_counts.at(verdict);
    if (!m_options.json) addReason(dataset);
    if (m_options.reading.quiet)
      std::erase_if(dataset.findings, [](const Finding& finding) { return !isOdd(finding); });
    std::stable_sort(dataset.findings.begin(), dataset.findings.end(),
                     [](const Finding& a, const Finding& b) { return a.severity > b.severity; });
    if (m_options.json) {
      if (!first) std::cout << ",\n";
      return describe::writeCheck(std::cout, dataset, kVerdicts.at(verdict));
    }
    std::cout << visible(dataset.path) << ": " << kVerdicts.at(verdict) << '\n';
    printFindings(dataset.findings);
    std::cout.flush();  // a study takes its time
  }

  void end() const {
    if (m_options.json) {
      std::cout << (m_many ? "\n]\n" : "\n");
    } else if (m_many) {
      const int all = std::accumulate(m_counts.begin(), m_counts.end(), 0);
      std::cout << all << (all == 1 ? " dataset: " : " datasets: ") << m_counts[sound] << " sound, "
                << m_counts[odd] << " odd but readable, " << m_counts[unreadable] << " can't be read\n";
    }
  }

  int exitCode() const {
    if (m_counts[unreadable] > 0 || (m_counts[odd] > 0 && m_options.reading.strict)) return kFailed;
    return m_counts[odd] > 0 ? kOdd : kDone;
  }

 private:
  const CheckOptions& m_options;
  bool m_many;
  std::array<int, kVerdicts.size()> m_counts{};
};

}  // namespace

int runCheck(const CheckOptions& options) {
  Session session(options.reading);
  const auto datasets = datasetsAtOrBelow(options.datasets, session);
  const bool many = options.datasets.size() > 1 || isFolderOfDatasets(options.datasets.front());
  CheckPrinter printer(options, many);
  for (const std::string& dataset : datasets)
    session.attempt(
        dataset,
        [&] {
          ShownDataset checked;
          checked.path = dataset;
          checked.findings = DatasetCheck(dataset, session).run(options);
          const bool isSound = std::none_of(checked.findings.begin(), checked.findings.end(), isOdd);
          printer.add(shown(std::move(checked), options.reading), isSound ? sound : odd);
        },
        [&](const ShownDataset& failed) { printer.add(failed, unreadable); });
  printer.end();
  finishOutput();
  return session.exitCode() == kDone ? printer.exitCode() : session.exitCode();
}

}  // namespace ctfmeg::cli
