#include <algorithm>
#include <iostream>

#include "base/finding_codes.h"
#include "check_host/check_host.h"
#include "cli/json.h"
#include "cli/messages.h"
#include "cli/process.h"
#include "cli/sample_windows.h"
#include "output/table.h"
#include "output/visible_text.h"

#include <ctfmeg/inspect.h>
#include <ctfmeg/path_text.h>

namespace ctfmeg::cli {
namespace {

using output::visible;

void append(std::vector<Finding>& findings, const std::vector<Finding>& more) {
  findings.insert(findings.end(), more.begin(), more.end());
}

/// What is wrong or odd in a dataset. Throws `Error` when it can't be read.
class Check {
 public:
  Check(const CheckOptions& options, Session& session) : m_options(options), m_session(session) {}

  std::vector<Finding> run() {
    const Recording recording = m_session.open(m_options.dataset);
    append(m_findings, recording.warnings());
    const SelectedSamples samples = m_session.select(m_options.dataset, recording, {});
    append(m_findings, samples.findings);
    const std::uint64_t digest = digestOf(*samples.source, true);
    append(m_findings, inspect(recording));
    if (recording.rules() == Rules::plain) compareWithHost(recording, samples.source->shape().trials, digest);
    return std::move(m_findings);
  }

 private:
  /// A number that hardly any other samples have. All are read for it, and none kept.
  std::uint64_t digestOf(const SampleSource& source, bool shown) const {
    const Shape shape = source.shape();
    const auto bar = shown ? m_session.openBar(m_options.dataset) : nullptr;
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

  void compareWithHost(const Recording& plain, std::int64_t trials, std::uint64_t digest) {
    const auto lose = [this](Code code, const std::filesystem::path& file, const std::string& text) {
      m_findings.push_back(
          {Finding::Severity::remark, wordOf(code), textOf(file), "under host rules " + text});
    };
    try {
      const Recording host = m_session.open(textOf(plain.resourceFile()), Rules::host);
      append(m_findings, hostLosses(plain, host));
      const SelectedSamples theirs = m_session.select(m_options.dataset, host, {});
      if (theirs.source->shape().trials != trials)
        lose(Code::hostSamples, plain.resourceFile(),
             "has " + std::to_string(theirs.source->shape().trials) + " of " + std::to_string(trials) +
                 " trials");
      else if (digestOf(*theirs.source, false) != digest)
        lose(Code::hostSamples, plain.resourceFile(), "has other samples");
    } catch (const Error& error) {
      stopIfInterrupted();
      if (error.kind() == ErrorKind::outOfMemory) throw;
      lose(Code::hostUnread, error.path(), error.text());
    }
  }

  const CheckOptions& m_options;
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

/// Prints findings in the order of their weight.
void print(ShownDataset dataset, const char* verdict, const CheckOptions& options) {
  if (options.reading.quiet)
    std::erase_if(dataset.findings, [](const Finding& finding) { return !isOdd(finding); });
  std::stable_sort(dataset.findings.begin(), dataset.findings.end(),
                   [](const Finding& a, const Finding& b) { return a.severity > b.severity; });
  if (options.json) return writeCheck(std::cout, dataset, verdict);
  std::cout << visible(dataset.path) << ": " << verdict << '\n';
  printFindings(dataset.findings);
}

}  // namespace

int runCheck(const CheckOptions& options) {
  Session session(options.reading);
  int exitCode = kDone;
  session.attempt(
      options.dataset,
      [&] {
        ShownDataset checked;
        checked.path = options.dataset;
        checked.findings = Check(options, session).run();
        const bool odd = std::any_of(checked.findings.begin(), checked.findings.end(), isOdd);
        if (odd) exitCode = options.reading.strict ? kFailed : kOdd;
        print(shown(std::move(checked), options.reading), odd ? "odd but readable" : "sound", options);
      },
      [&](const ShownDataset& failed) { print(failed, "can't be read", options); });
  finishOutput();
  return session.exitCode() == kDone ? exitCode : session.exitCode();
}

}  // namespace ctfmeg::cli
