#include <algorithm>
#include <iostream>

#include "cli/json.h"
#include "cli/messages.h"
#include "cli/process.h"
#include <ctfmeg/inspect.h>
#include <ctfmeg/path_text.h>
#include "output/table.h"
#include "output/visible_text.h"

namespace ctfmeg::cli {
namespace {

using output::visible;

/// The samples that a reading stored, without keeping them.
struct SamplesDigest {
  std::size_t trials;
  std::uint64_t digest;
};

void append(std::vector<Finding>& findings, std::vector<Finding> more) {
  findings.insert(findings.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

/// What is wrong or odd in a dataset. Throws `Error` when it can't be read.
class Check {
 public:
  Check(const CheckOptions& options, Session& session) : m_options(options), m_session(session) {}

  std::vector<Finding> run() {
    const Rules rules = m_options.reading.rules;
    m_file = resolveDataset(pathFromText(m_options.dataset));
    const Recording header = m_session.readSilently(m_options.dataset, std::nullopt, rules);
    m_file = m_file.parent_path() / pathFromText(header.name() + ".res4");
    const SamplesDigest samples = readSamples(rules);
    append(m_findings, inspect(header, m_file));
    if (rules == Rules::plain) compareWithHost(header, samples);
    stopIfInterrupted();
    return std::move(m_findings);
  }

 private:
  SamplesDigest readSamples(Rules rules) {
    const Recording recording = m_session.readSilently(m_options.dataset, Whole{}, rules);
    if (rules == m_options.reading.rules) m_findings = recording.warnings();
    SamplesDigest samples{recording.trialNumbers().size(), 0};
    for (const int number : recording.trialNumbers()) {
      stopIfInterrupted();
      samples.digest = digestOfSamples(recording.trial(number), samples.digest);
    }
    return samples;
  }

  void compareWithHost(const Recording& header, const SamplesDigest& samples) {
    const auto lose = [this](const char* code, const std::filesystem::path& file, const std::string& text) {
      m_findings.push_back({Finding::Severity::remark, code, textOf(file), "under host rules " + text});
    };
    try {
      append(
          m_findings,
          hostLosses(header, m_session.readSilently(m_options.dataset, std::nullopt, Rules::host), m_file));
      const SamplesDigest theirs = readSamples(Rules::host);
      if (theirs.trials != samples.trials)
        lose("host.samples", m_file,
             "has " + std::to_string(theirs.trials) + " of " + std::to_string(samples.trials) + " trials");
      else if (theirs.digest != samples.digest)
        lose("host.samples", m_file, "has other samples");
    } catch (const Error& error) {
      if (error.kind() == ErrorKind::outOfMemory) throw;
      lose("host.unread", error.path(), error.text());
    }
  }

  const CheckOptions& m_options;
  Session& m_session;
  std::filesystem::path m_file;
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
