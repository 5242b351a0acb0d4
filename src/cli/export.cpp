#include <atomic>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <set>
#include <thread>
#include <type_traits>

#include "base/encoding.h"
#include "base/threads.h"
#include "cli/description.h"
#include "cli/messages.h"
#include "cli/process.h"
#include "output/npy.h"
#include "output/result_file.h"
#include "output/table.h"
#include "output/visible_text.h"
#include "recording/sample_windows.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::cli {
namespace {

namespace fs = std::filesystem;
using output::ResultFile;

constexpr const char* kStandardOutput = "-";

Values valuesOf(const ExportOptions& options) {
  const SelectionOptions& samples = options.samples;
  const bool isProcessed =
      options.average || samples.compensation || samples.baseline || samples.decimate > 1;
  return options.physical || isProcessed ? Values::physical : Values::raw;
}

/// Whether values may be missing, or are no integers.
bool needsFloat(const ExportOptions& options) {
  const Selection& selection = options.samples.selection;
  return valuesOf(options) == Values::physical || selection.gaps == Gaps::fill ||
         selection.partial == Partial::fill;
}

ValueType typeOf(const ExportOptions& options) {
  return options.type.value_or(needsFloat(options) ? ValueType::float64 : ValueType::int32);
}

/// Threads that read samples; 0: as many as pay.
int threadsOf(const ExportOptions& options) {
  if (options.threads > 0 || options.jobs == 1) return options.threads;
  return std::max(usableProcessors() / options.jobs, 1);
}

/// What NumPy calls it in a file.
const char* descrOf(ValueType type) {
  return type == ValueType::int32 ? "<i4" : type == ValueType::float32 ? "<f4" : "<f8";
}

/// Where an array of that name replaces a file, or begins one; elsewhere is a device or a pipe.
bool isFile(const std::string& name) {
  std::error_code unknown;
  const fs::file_status status = fs::status(reachable(pathFromText(name)), unknown);
  return name != kStandardOutput && (!fs::exists(status) || fs::is_regular_file(status));
}

/// The dataset's own name, without its ending.
std::string nameOfArray(const std::string& dataset) {
  std::string path = dataset;
  if (lastName(path) == "." || lastName(path) == "..") {
    std::error_code unknown;
    path = textOf(fs::weakly_canonical(pathFromText(dataset), unknown));
  }
  return textOf(pathFromText(lastName(path)).stem()) + ".npy";
}

std::string outputOf(const ExportOptions& options, const std::string& dataset) {
  if (!options.outputDirectory) return options.output;
  return textOf(pathFromText(*options.outputDirectory) / pathFromText(nameOfArray(dataset)));
}

/// How far several pieces of work are, as one bar.
class SharedProgress {
 public:
  SharedProgress(std::unique_ptr<ProgressBar> bar, std::size_t works)
      : m_bar(std::move(bar)), m_done(works) {}

  void show(std::size_t work, double done) {
    if (!m_bar) return;
    const std::lock_guard lock(m_mutex);
    m_done[work] = done;
    double all = 0.0;
    for (const double each : m_done)
      all += each;
    m_bar->show(all, static_cast<double>(m_done.size()));
  }

 private:
  std::unique_ptr<ProgressBar> m_bar;
  std::mutex m_mutex;
  std::vector<double> m_done;  // 0 to 1
};

/// How the array of a source is written: a window at a time, so that memory does not grow with the recording.
struct Writing {
  Values values = Values::raw;
  int threads = 0;  ///< with more than one a window is written while the next one is read
  /// Where the array begins in a file whose bytes may come in any order; then no window lacks any of the
  /// channels, which other channels are needed for. Elsewhere they come in the order of the array.
  std::optional<std::uint64_t> begin{};
};

template <class Value, class Show>
void writeValues(ResultFile& file, const SampleSource& source, const Writing& how, Show show) {
  constexpr std::int64_t kBytes = 1 << 22;  // still in the processor's own memory when they are written
  constexpr std::int64_t kMost = kBytes / std::int64_t{sizeof(Value)};
  const Shape shape = source.shape();
  std::vector<Value> before, next;  // read already, and being read
  Window written, reading;          // they are of
  Workers both(std::min(how.threads > 0 ? how.threads : usableProcessors(), 2));
  const auto writer = std::this_thread::get_id();  // signals about pipes reach this thread alone
  double done = 0.0;
  const double all = static_cast<double>(shape.trials) * shape.channels * static_cast<double>(shape.samples);
  const std::int64_t span = std::max<std::int64_t>(kMost / std::max(shape.channels, 1), 1);
  const bool anyOrder = how.begin && span < shape.samples;
  const auto write = [&] {
    const auto bytes = std::as_bytes(std::span(before));
    if (!anyOrder) file.write(bytes);
    for (int c = 0; c < written.channels && anyOrder; ++c) {
      const std::int64_t place = (written.trial * shape.channels + c) * shape.samples + written.first;
      file.goTo(*how.begin + static_cast<std::uint64_t>(place) * sizeof(Value));
      const std::size_t row = bytes.size() / static_cast<std::size_t>(written.channels);
      file.write(bytes.subspan(static_cast<std::size_t>(c) * row, row));
    }
    done += static_cast<double>(before.size());
  };
  const auto read = [&](const Window& window) {
    reading = window;
    next.resize(static_cast<std::size_t>(window.trials * window.channels * window.samples));
    if constexpr (std::is_same_v<Value, std::int32_t>)
      source.read(window, next);
    else
      source.read(window, next, how.values);
  };
  const Window everything{0, shape.trials, 0, shape.channels, 0, shape.samples};
  const auto step = [&](const Window& window) {
    show(done / all);
    stopIfInterrupted();
    if (before.empty()) {
      read(window);
    } else {
      std::atomic_flag begun;
      both.run([&] {
        if (std::this_thread::get_id() == writer) write();
        if (!begun.test_and_set()) read(window);
      });
    }
    std::swap(before, next);
    written = reading;
  };
  if (!anyOrder) forEachWindow(everything, kMost, step);
  for (std::int64_t t = 0; t < shape.trials && anyOrder; ++t)
    for (std::int64_t s = 0; s < shape.samples; s += span)
      step({t, 1, 0, shape.channels, s, std::min(span, shape.samples - s)});
  stopIfInterrupted();
  write();
  show(1.0);
}

/// Exports datasets of one command.
class Export {
 public:
  Export(const ExportOptions& options, Session& session)
      : m_options(options),
        m_session(session),
        m_progress(options.datasets.size() == 1
                       ? session.openBar(options.datasets[0])
                       : session.openBar(std::to_string(options.datasets.size()) + " datasets"),
                   options.datasets.size()) {}

  /// Returns the array's shape as text.
  std::string write(std::size_t work, const std::string& output) {
    const std::string& dataset = m_options.datasets[work];
    if (output != kStandardOutput) requireFolderOf(output);
    const Recording recording = m_session.open(dataset);
    m_session.sayWarnings(dataset, recording.warnings());
    const double judging = m_options.samples.reject.empty() ? 0.0 : 0.5;  // share of the work
    const auto judged = [&](const Progress& now) {
      m_progress.show(work, now.fraction * judging);
      return !interrupted();
    };
    const SelectedSamples selected = m_session.select(dataset, recording, m_options.samples, judged);
    m_session.sayWarnings(dataset, recording, selected, m_options.samples.selection);

    const auto written = m_options.average ? averaged(selected.source, interrupted) : selected.source;
    const SampleSource& source = *written;
    const ValueType type = typeOf(m_options);
    const Values values = valuesOf(m_options);
    const ArrayDescription array{dataset,
                                 recording,
                                 source,
                                 selected,
                                 descrOf(type),
                                 values,
                                 m_options.average,
                                 m_options.samples.asked};
    const bool file = isFile(output);
    ResultFile result = file || output != kStandardOutput
                            ? ResultFile(reachable(pathFromText(output)), output)
                            : ResultFile(stdout, "standard output");
    const std::string header = output::npyHeader(array.descr, array.shape());
    result.write(std::as_bytes(std::span(header)));
    Writing how{values, threadsOf(m_options)};
    if (file && m_options.samples.compensation) how.begin = header.size();
    const auto show = [&](double done) { m_progress.show(work, judging + (1.0 - judging) * done); };
    if (type == ValueType::int32)
      writeValues<std::int32_t>(result, source, how, show);
    else if (type == ValueType::float32)
      writeValues<float>(result, source, how, show);
    else
      writeValues<double>(result, source, how, show);
    stopIfInterrupted();
    if (file && m_options.description) {
      ResultFile described(reachable(pathFromText(output + ".json")), output + ".json");
      const std::string text = descriptionOf(array, m_options.reading);
      described.write(std::as_bytes(std::span(text)));
      result.finish();
      described.commit();  // so that an array that is in its place is complete
    }
    result.commit();
    return array.shapeText();
  }

  /// That nothing of a dataset is left to do, whatever became of it.
  void showDone(std::size_t work) { m_progress.show(work, 1.0); }

 private:
  const ExportOptions& m_options;
  Session& m_session;
  SharedProgress m_progress;
};

void exportAll(const ExportOptions& options, Session& session) {
  std::error_code failed;
  fs::create_directories(reachable(pathFromText(*options.outputDirectory)), failed);
  if (failed) {
    requireFolderOf(*options.outputDirectory);
    throw CommandError(*options.outputDirectory, "can't be made: " + failed.message());
  }
  struct Result {
    std::string shape, what = "failed";
  };
  std::vector<Result> results(options.datasets.size());
  {
    Export all(options, session);
    std::atomic<std::size_t> next{0};
    Workers(options.jobs).run([&] {
      for (std::size_t i = 0; (i = next++) < results.size();) {
        const std::string output = outputOf(options, options.datasets[i]);
        std::error_code unknown;
        if (options.skipExisting && fs::is_regular_file(reachable(pathFromText(output)), unknown))
          results[i].what = "skipped: it is there already";
        else
          session.attempt(options.datasets[i], [&] {
            results[i].shape = all.write(i, output);
            results[i].what = "written";
          });
        all.showDone(i);
      }
    });
  }
  output::Rows rows{{"dataset", "array", "shape", "what became of it"}};
  for (std::size_t i = 0; i < results.size(); ++i)
    rows.push_back({output::visible(shown(options.datasets[i], options.reading)),
                    output::visible(outputOf(options, options.datasets[i])), results[i].shape,
                    results[i].what});
  output::writeTable(std::cout, rows);
}

}  // namespace

std::optional<ValueType> valueTypeOf(const std::string& name) {
  if (name == "int32") return ValueType::int32;
  if (name == "float32") return ValueType::float32;
  return name == "float64" ? std::optional(ValueType::float64) : std::nullopt;
}

std::string problemOf(const ExportOptions& options) {
  if (!options.outputDirectory) {
    const std::string command = options.average ? "average" : "export";
    if (options.output.empty()) return command + " needs -o FILE or --output-dir DIR";
    if (options.datasets.size() > 1) return command + " needs --output-dir DIR for several datasets";
    if (isFile(options.output) && !lowered(options.output).ends_with(".npy"))
      return options.output + " does not end in .npy: only NumPy arrays can be written";
  }
  if (options.outputDirectory && options.outputDirectory->empty())
    return "--output-dir needs a folder, and is empty";
  if (options.average && options.samples.selection.partial == Partial::fill)
    return "average takes --partial=drop: the mean of what is missing in one epoch would be missing";
  if (options.type == ValueType::int32 && needsFloat(options))
    return "--dtype int32 can't hold physical or missing values: take float32 or float64";
  std::set<std::string> outputs;
  for (const std::string& dataset : options.datasets)
    if (const std::string output = outputOf(options, dataset); !outputs.insert(lowered(output)).second)
      return "several datasets would be written to " + output;
  return "";
}

int runExport(const ExportOptions& options) {
  if (options.output == kStandardOutput && outputIsTerminal())
    throw CommandError("standard output",
                       "is a terminal: name a file with -o, or send the output to a program");
  ReadingOptions reading = options.reading;
  reading.threads = threadsOf(options);
  Session session(reading);
  if (options.outputDirectory) {
    exportAll(options, session);
    finishOutput();
  } else {
    session.attempt(options.datasets[0], [&] { Export(options, session).write(0, options.output); });
  }
  return session.exitCode();
}

}  // namespace ctfmeg::cli
