#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "output/table_writer.h"
#include "simulate/options.h"

#include <ctfmeg/edit.h>
#include <ctfmeg/processing.h>
#include <ctfmeg/recording.h>
#include <ctfmeg/statistics.h>
#include <ctfmeg/stimulus.h>

namespace ctfmeg::cli {

inline constexpr int kDone = 0;
inline constexpr int kFailed = 1;  ///< could not read, could not write, or refused
inline constexpr int kWrongUsage = 2;
inline constexpr int kOdd = 3;  ///< readable, but something is wrong with it
inline constexpr int kInterrupted = 130;

/// A command could not do what was asked; `what()` is a sentence for standard error, about the file `path()`.
class CommandError : public std::runtime_error {
 public:
  CommandError(std::string path, const std::string& text)
      : std::runtime_error(text), m_path(std::move(path)) {}
  const std::string& path() const { return m_path; }

 private:
  std::string m_path;
};

/// What the commands that read have in common.
struct ReadingOptions {
  Rules rules = Rules::plain;
  bool yes = false;
  bool no = false;
  bool quiet = false;
  bool strict = false;
  bool noIdentity = false;  ///< nothing that can name a person is shown
  int threads = 0;          ///< that read samples; 0: as many as may be used and pay
};

/// Which samples are wanted.
struct SelectionOptions {
  Selection selection;
  std::optional<int> compensation{};  ///< gradient order of MEG channels
  int decimate = 1;
  /// Markers around whose occurrences epochs are; the selection's seconds are then theirs.
  std::optional<std::vector<std::string>> around{};
  std::optional<Epoching::Baseline> baseline{};
  bool skipBad = false;
  std::vector<PeakToPeak> reject{};
  /// Options and what was given with them, in their order.
  std::vector<std::pair<std::string, std::string>> asked;
};

struct InfoOptions {
  ReadingOptions reading;
  SelectionOptions samples;
  std::vector<std::string> datasets;
  bool json = false;
};

/// Of commands that print a table of each dataset.
struct TableOptions {
  ReadingOptions reading;
  std::vector<std::string> datasets;
  SelectionOptions shown;  ///< which channels; for `channels`, `stats` and `events` only
  output::TableForm form = output::TableForm::text;
};

/// `shown` is all of a selection.
struct StatsOptions : TableOptions {
  SignalLimits limits;
};

/// `shown` is all of a selection.
struct EventsOptions : TableOptions {
  StimulusOptions changes;
  std::optional<std::string> marker;  ///< that they are compared with
};

struct ScanOptions {
  ReadingOptions reading;
  std::vector<std::string> directories;
  output::TableForm form = output::TableForm::text;
};

struct CheckOptions {
  ReadingOptions reading;
  std::vector<std::string> datasets;  ///< or directories that hold some
  bool signals = false;               ///< what the samples are like, too
  SignalLimits limits;
  bool host = false;  ///< show what host rules would lose, too
  bool json = false;
};

/// What the values of an array are.
enum class ValueType { int32, float32, float64 };

/// By NumPy's name, such as "int32".
std::optional<ValueType> valueTypeOf(const std::string& name);

struct ExportOptions {
  ReadingOptions reading;
  SelectionOptions samples;
  std::vector<std::string> datasets;
  std::string output;                          ///< "-": standard output
  std::optional<std::string> outputDirectory;  ///< in the place of `output`: a file for each dataset
  bool physical = false;
  bool average = false;  ///< of the trials, with its standard error

  std::optional<ValueType> type;  ///< without one the type that fits
  bool description = true;
  bool skipExisting = false;
  int jobs = 1;     ///< datasets at once
  int threads = 0;  ///< that read; 0: all processors, divided by `jobs`
};

struct SimulateOptions {
  std::string directory;
  simulate::Options dataset;
  std::optional<std::string> gaps, bad, damage;  ///< as given
  std::optional<std::string> commonNoise;        ///< "true" without a value
  bool quiet = false;
};

/// Of commands that copy a dataset with changes, and of `mark`.
struct EditOptions {
  ReadingOptions reading;  ///< how warnings and progress are shown
  std::string in, out;     ///< of `bids` the study's folder, of `mark` only `in`
  bool json = false;       ///< the report as JSON
};

struct AnonymiseOptions : EditOptions {
  Anonymising how;
};

struct CropOptions : EditOptions {
  SelectionOptions part;
};

struct MarkOptions : EditOptions {
  Marks marks;
};

struct BidsOptions : EditOptions {
  BidsRecording recording;
};

// Each runs one command and returns its exit code. They throw CommandError and Interrupted (process.h).

int runInfo(const InfoOptions& options);
int runChannels(const TableOptions& options);
int runMarkers(const TableOptions& options);
int runHeadCoils(const TableOptions& options);
int runStats(const StatsOptions& options);
int runEvents(const EventsOptions& options);
/// Why the options can't be used together; empty when they can.
std::string problemOf(const ExportOptions& options);
int runExport(const ExportOptions& options);
int runScan(const ScanOptions& options);
int runCheck(const CheckOptions& options);
/// A line for each way in which `simulate` can damage a dataset.
std::string damageList();
int runRename(const EditOptions& options);
int runAnonymise(const AnonymiseOptions& options);
int runCrop(const CropOptions& options);
int runMark(const MarkOptions& options);
int runBids(const BidsOptions& options);
int runSimulate(const SimulateOptions& options);

}  // namespace ctfmeg::cli
