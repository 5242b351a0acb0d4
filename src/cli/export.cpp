#include <cstdio>
#include <filesystem>

#include "cli/messages.h"
#include "cli/process.h"
#include "cli/selection.h"
#include <ctfmeg/path_text.h>
#include "output/npy.h"
#include "output/result_file.h"

namespace ctfmeg::cli {
namespace {

using output::ResultFile;

void writeRaw(ResultFile& file, const Trial& trial, const std::vector<Channel>& channels) {
  if (static_cast<int>(channels.size()) == trial.channels()) return file.write(std::as_bytes(trial.raw()));
  for (const Channel& channel : channels)
    file.write(std::as_bytes(trial.raw(channel.index)));
}

void writePhysical(ResultFile& file, const Trial& trial, const std::vector<Channel>& channels,
                   std::vector<double>& buffer) {
  buffer.resize(static_cast<std::size_t>(trial.samples()));
  for (const Channel& channel : channels) {
    trial.physical(channel.index, buffer);
    file.write(std::as_bytes(std::span<const double>(buffer)));
  }
}

void writeTrials(ResultFile& file, const Recording& recording, const std::vector<Channel>& channels,
                 bool physical) {
  const auto& trials = recording.trialNumbers();
  const std::string header =
      output::npyHeader(physical ? "<f8" : "<i4",
                        {static_cast<std::int64_t>(trials.size()), static_cast<std::int64_t>(channels.size()),
                         recording.trial(trials.front()).samples()});
  file.write(std::as_bytes(std::span(header)));
  std::vector<double> buffer;
  for (const int number : trials) {
    stopIfInterrupted();
    const Trial trial = recording.trial(number);
    if (physical)
      writePhysical(file, trial, channels, buffer);
    else
      writeRaw(file, trial, channels);
  }
}

/// Some systems take names that differ only in case for the same.
std::string lowered(std::string name) {
  for (char& c : name)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + ('a' - 'A'));
  return name;
}

/// A slip in a command line must not cost a recording one of its files.
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
    ResultFile file = openResult(options.output);
    const Recording recording = session.read(options.dataset, options.route.value_or(Whole{}));
    writeTrials(file, recording, selectChannels(recording.channels(), options.dataset, options.channels),
                options.physical);
    stopIfInterrupted();
    file.commit();
  });
  return session.exitCode();
}

}  // namespace ctfmeg::cli
