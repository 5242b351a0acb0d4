#include "cli/messages.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <map>
#include <new>
#include <system_error>

#include "base/finding_codes.h"
#include "check_host/check_host.h"
#include "cli/process.h"
#include "output/result_file.h"
#include "output/visible_text.h"
#include "recording/catalog.h"
#include "recording/collected.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::cli {

using output::visible;

namespace {

/// Occurrences of the markers that a selection goes by, in trials that the run does not have.
std::vector<Finding> occurrencesElsewhere(const Recording& recording, const Selection& selection) {
  std::vector<Finding> findings;
  if (!selection.markers) return findings;
  for (const Marker& marker : recording.markers()) {
    const auto& names = *selection.markers;
    if (std::find(names.begin(), names.end(), marker.name) == names.end()) continue;
    for (const MarkerSample& sample : marker.samples)
      if (sample.trial < 0 || sample.trial >= recording.record().numTrials)
        findings.push_back({Finding::Severity::warning, wordOf(Code::markerTrial),
                            textOf(recording.resourceFile()),
                            "has no trial " + std::to_string(sample.trial) + ", in which marker " +
                                marker.name + " occurs"});
  }
  return findings;
}

/// What can be had of a trial that is cut short, for those who did not ask for it.
std::string partialHint(const Recording& recording, const Selection& selection) {
  const auto partial = recording.sampleFiles().partialTrial;
  const bool some = partial && partial->channels > 0 && selection.partial == Partial::leaveOut;
  return some ? " (--partial takes it)" : "";
}

/// A name that is no folder of datasets may be shown as it is; others may be a person's.
std::string shownFolder(const std::string& path, const ReadingOptions& options) {
  return options.noIdentity && !path.ends_with(".ds") ? "a folder" : shown(path, options);
}

/// What can be done about a folder that is no dataset and holds some.
std::string folderHint(const Error& error) {
  if (error.kind() != ErrorKind::notADataset) return "";
  int folders = 0;  // an archive may hold any number
  const Catalog below = findDatasets(error.path(), [&] { return interrupted() || ++folders > 1000; });
  return below.datasets.empty() || below.datasets.front() == error.path()
             ? ""
             : "; there are datasets below it, which \"ctfmeg scan\" lists";
}

ProcessedSamples samplesOf(const Recording& recording, const Selection& selection,
                           const Processing& processing, const ProgressFunction& progress, int threads) {
  try {
    return processed(recording, selection, processing, progress, threads);
  } catch (const Error& error) {
    std::string hint;
    for (const Finding& finding : error.findings())
      if (is(finding, Code::clockGap))
        hint = " (--gaps=nan fills them, --gaps=cut leaves them out)";
      else if (is(finding, Code::meg4Short) || is(finding, Code::meg4Empty))
        hint = partialHint(recording, selection);
    throw Error(error.kind(), error.path(), error.text() + hint, error.findings());
  }
}

/// The record information, with the counts and rates that samples have when they are processed.
RecordInfo recordOf(const Recording& recording, Selection selection, const Processing& processing,
                    const SampleSource& samples) {
  if (processing.decimate > 1) selection.step = processing.decimate;
  if (!processing.epochs) return recording.record(selection);
  RecordInfo record = recording.record();
  const Shape shape = samples.shape();
  record.samplesPerTrial = record.samplesPerTrialAcq =
      static_cast<std::int32_t>(std::min<std::int64_t>(shape.samples, INT32_MAX));
  record.sampleRate = record.sampleRateAcq = samples.sampleRate();
  record.numTrialsDone = static_cast<std::int32_t>(std::min<std::int64_t>(shape.trials, INT32_MAX));
  return record;
}

}  // namespace

std::pair<Selection, Processing> askedFor(const Recording& recording, const SelectionOptions& options) {
  Selection selection = options.selection;
  Processing processing{.compensation = options.compensation, .decimate = options.decimate};
  if (options.around) {
    const TimeSpan span = selection.seconds.value_or(TimeSpan{});
    selection.seconds.reset();
    processing.epochs = Epoching{.occurrences = occurrencesOf(recording, *options.around),
                                 .from = span.from.value_or(0.0),
                                 .to = span.to.value_or(0.0),
                                 .baseline = options.baseline,
                                 .skipBad = options.skipBad,
                                 .reject = options.reject};
  }
  return {selection, processing};
}

void say(const std::string& path, const std::string& text) {
  writeLine("ctfmeg: " + (path.empty() ? "" : visible(path) + ": ") + visible(text));
}

void requireFolderOf(const std::string& file) {
  const std::filesystem::path folder = pathFromText(file).parent_path();
  std::filesystem::path there = folder;  // as far as it is
  std::error_code unknown;
  while (!there.empty() && there != there.parent_path() &&
         !std::filesystem::exists(reachable(there), unknown))
    there = there.parent_path();
  if (!there.empty() && !std::filesystem::is_directory(reachable(there), unknown))
    throw CommandError(file, "can't be written: " + textOf(there) + " is no folder");
  if (there != folder)
    throw CommandError(file, "can't be written: the folder " + textOf(folder) + " does not exist");
}

void finishOutput() {
  errno = 0;
  std::cout.flush();
  if (!std::cout || std::fflush(stdout) != 0) {
    stopIfInterrupted();  // nobody reads it
    throw CommandError(
        "standard output",
        "can't be written" + (errno == 0 ? "" : ": " + std::generic_category().message(errno)));
  }
}

Recording Session::open(const std::string& dataset, Rules rules) const {
  const auto answer = [&](const std::string& question) {
    if (m_options.yes || m_options.no) return m_options.yes;
    return ask(visible(shown(dataset, m_options) + ": " + question));
  };
  try {
    return Recording::open(pathFromText(dataset),
                           {.rules = rules, .answer = answer, .threads = m_options.threads});
  } catch (const Error& error) {
    throw Error(error.kind(), error.path(), error.text() + folderHint(error), error.findings());
  }
}

SelectedSamples Session::select(const std::string& dataset, const Recording& recording,
                                const SelectionOptions& samples, const ProgressFunction& progress) const {
  const Selection& selection = samples.selection;
  CollectedFindings findings;
  for (const Finding& known : recording.warnings())
    findings.report(known);
  const auto beyondKnown = [&](const std::vector<Finding>& more) {
    for (const Finding& finding : more)
      findings.report(finding);
    for (const Finding& finding : occurrencesElsewhere(recording, selection))
      findings.report(finding);
    auto all = findings.take();
    all.erase(all.begin(), all.begin() + std::ssize(recording.warnings()));
    return all;
  };
  if (recording.rules() == Rules::plain) {
    const auto [wanted, processing] = askedFor(recording, samples);
    ProcessedSamples left = samplesOf(recording, wanted, processing, progress, m_options.threads);
    for (const Finding& finding : left.source->warnings())
      findings.report(finding);
    RecordInfo record = recordOf(recording, wanted, processing, *left.source);
    return {std::move(record),      std::move(left.source),
            selection.continuous,   beyondKnown(describe::aboutSamples(recording)),
            std::move(left.epochs), left.leftOut};
  }
  if (samples.compensation || samples.decimate > 1 || samples.around)
    throw Error(ErrorKind::refused, recording.resourceFile(),
                "can't be processed under host rules: they know no gradient compensation, filter or epoch");
  // The resource file was found: nothing is left to be asked.
  HostReading reading = readAsHost(recording.resourceFile(), selection, {}, this->progress(dataset));
  return {std::move(reading.record), std::move(reading.samples), false, beyondKnown(reading.findings)};
}

SelectedSamples Session::lookAt(const Recording& recording) const {
  return {recording.record(), nullptr, false, describe::aboutSamples(recording)};
}

void Session::sayFailure(const std::string& path, const std::string& text) {
  m_failed = true;
  say(shownFolder(path, m_options), text);
}

ProgressFunction Session::progress(const std::string& dataset) const {
  const std::shared_ptr<ProgressBar> bar = openBar(dataset);
  return [bar](const Progress& now) {
    if (bar) bar->show(now.fraction, 1.0);
    return !interrupted();
  };
}

std::unique_ptr<ProgressBar> Session::openBar(const std::string& dataset) const {
  return m_options.quiet ? nullptr : openProgressBar("Reading " + visible(shown(dataset, m_options)));
}

void Session::attempt(const std::string& dataset, const std::function<void()>& work,
                      const std::function<void(const ShownDataset&)>& onError) {
  const auto fail = [&](const Error& error) {
    m_failed = true;
    const ShownDataset failed = shown(describe::described(dataset, error), m_options);
    say(failed.error->file, failed.error->text);
    if (onError) onError(failed);
  };
  try {
    work();
  } catch (const Error& error) {
    stopIfInterrupted();  // what was stopped is no error of the dataset
    // A source of samples that knows no file leaves the path empty.
    fail(error.path().empty() ? Error(error.kind(), pathFromText(dataset), error.text(), error.findings())
                              : error);
  } catch (const CommandError& error) {
    fail({ErrorKind::refused, pathFromText(error.path()), error.what()});
  } catch (const output::WriteError& error) {
    stopIfInterrupted();
    fail({ErrorKind::refused, pathFromText(error.name()), error.what()});
  } catch (const std::bad_alloc&) {
    fail({ErrorKind::outOfMemory, pathFromText(dataset), "needs more memory than there is"});
  }
}

void Session::sayWarnings(const std::string& dataset, const Recording& recording,
                          const SelectedSamples& selected, const Selection& selection) {
  std::vector<Finding> findings = selected.findings;
  for (Finding& finding : findings)
    if (is(finding, Code::meg4Short) || is(finding, Code::meg4Empty))
      finding.text += partialHint(recording, selection);
  sayWarnings(dataset, findings);
}

void Session::sayWarnings(const std::string& dataset, const std::vector<Finding>& findings) {
  constexpr int kLinesOfAKind = 5;  // a header may be wrong about thousands of channels
  for (const Finding& finding : findings)
    if (finding.severity != Finding::Severity::remark) m_warned = true;
  std::map<std::string, int> said;  // by the words before the text, and the code
  const auto tell = [&](const std::string& file, const std::string& text) {
    say(file.empty() ? shown(dataset, m_options) : file, text);
  };
  for (const Finding& finding : shown(findings, m_options)) {
    const bool remark = finding.severity == Finding::Severity::remark;
    if (remark && m_options.quiet) continue;
    const std::string kind = remark ? "" : "warning: ";
    const int count = ++said[kind + finding.code];
    const std::string place = finding.line ? "line " + std::to_string(*finding.line) + " " : "";
    if (count <= kLinesOfAKind) tell(finding.file, kind + place + finding.text);
    if (count == kLinesOfAKind + 1) tell(finding.file, kind + "and more of this kind (" + finding.code + ")");
  }
}

int Session::exitCode() const { return m_failed || (m_warned && m_options.strict) ? kFailed : kDone; }

}  // namespace ctfmeg::cli
