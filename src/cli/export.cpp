#include <cstdio>
#include <filesystem>
#include <type_traits>

#include "base/encoding.h"
#include "cli/messages.h"
#include "cli/process.h"
#include "cli/sample_windows.h"
#include "cli/selection.h"
#include "output/npy.h"
#include "output/result_file.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::cli {
namespace {

using output::ResultFile;

/// Channels that follow each other in the recording: read, and written, together.
struct Run {
  int first = 0, count = 0;
};

std::vector<Run> runsOf(const std::vector<Channel>& channels) {
  std::vector<Run> runs;
  for (const Channel& channel : channels)
    if (!runs.empty() && runs.back().first + runs.back().count == channel.index)
      ++runs.back().count;
    else
      runs.push_back({channel.index, 1});
  return runs;
}

/// Calls `visit` for windows of a source that are the array of some of its channels, one after another.
template <class Visit>
void forEachWindowOf(const Shape& shape, const std::vector<Run>& runs, std::int64_t most, Visit visit) {
  const auto window = [&](std::int64_t trial, std::int64_t trials, const Run& run) {
    forEachWindow({trial, trials, run.first, run.count, 0, shape.samples}, most, visit);
  };
  if (runs.size() == 1) return window(0, shape.trials, runs[0]);
  for (std::int64_t trial = 0; trial < shape.trials; ++trial)
    for (const Run& run : runs)
      window(trial, 1, run);
}

/// Writes the array of some channels, a window at a time, so that memory does not grow with the recording.
template <class Value>
void writeArray(ResultFile& file, const SampleSource& source, const std::vector<Channel>& channels,
                ProgressBar* bar) {
  constexpr bool kPhysical = std::is_same_v<Value, double>;
  const Shape shape = source.shape();
  const auto count = std::ssize(channels);
  const std::string header =
      output::npyHeader(kPhysical ? "<f8" : "<i4", {shape.trials, count, shape.samples});
  file.write(std::as_bytes(std::span(header)));
  std::vector<Value> values;
  double done = 0.0;
  const double all = static_cast<double>(shape.trials * count) * static_cast<double>(shape.samples);
  forEachWindowOf(shape, runsOf(channels), kBytesAtOnce / std::int64_t{sizeof(Value)},
                  [&](const Window& window) {
                    if (bar) bar->show(done, all);
                    stopIfInterrupted();
                    values.resize(static_cast<std::size_t>(window.trials * window.channels * window.samples));
                    if constexpr (kPhysical)
                      source.readPhysical(window, values);
                    else
                      source.read(window, values);
                    file.write(std::as_bytes(std::span(values)));
                    done += static_cast<double>(values.size());
                  });
  if (bar) bar->show(all, all);
}

/// A slip in a command line must not cost a recording one of its files. Some systems take names that differ
/// only in case for the same.
void refuseOwnFile(const std::string& dataset, const std::string& output) {
  namespace fs = std::filesystem;
  std::error_code unknown;
  const fs::path target = fs::weakly_canonical(pathFromText(output), unknown);
  if (unknown || !fs::exists(target, unknown) || lowered(textOf(target.extension())) == ".npy") return;
  const fs::path folder = fs::weakly_canonical(resolveDataset(pathFromText(dataset)), unknown).parent_path();
  const std::string name = lowered(textOf(target.filename()));
  const bool ofCtf =
      lowered(textOf(folder.extension())) == ".ds" || name.ends_with("meg4") || name.ends_with(".res4");
  if (fs::equivalent(target.parent_path(), folder, unknown) && ofCtf)
    throw CommandError(output, "belongs to the recording: not written over");
}

ResultFile openResult(const std::string& name) {
  return name == "-" ? ResultFile(stdout, "standard output")
                     : ResultFile(reachable(pathFromText(name)), name);
}

}  // namespace

int runExport(const ExportOptions& options) {
  if (options.output == "-" && outputIsTerminal())
    throw CommandError("standard output",
                       "is a terminal: name a file with -o, or send the output to a program");
  Session session(options.reading);
  session.attempt(options.dataset, [&] {
    refuseOwnFile(options.dataset, options.output);
    const Recording recording = session.open(options.dataset);
    const auto channels = selectChannels(recording.channels(), options.dataset, options.channels);
    ResultFile file = openResult(options.output);
    const SelectedSamples selected = session.select(options.dataset, recording, options.selection);
    session.sayWarnings(options.dataset, recording.warnings());
    session.sayWarnings(options.dataset, selected.findings);
    const auto bar = session.openBar(options.dataset);
    const auto write = options.physical ? writeArray<double> : writeArray<std::int32_t>;
    write(file, *selected.source, channels, bar.get());
    stopIfInterrupted();
    file.commit();
  });
  return session.exitCode();
}

}  // namespace ctfmeg::cli
