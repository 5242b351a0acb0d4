#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/usage.h"

namespace ctfmeg::cli {

// The commands and their options, for CLI11.

/// The program's command line while commands are added to it. One command runs at a time, so its exit code is
/// the program's.
class Definitions {
 public:
  Definitions();
  Definitions(const Definitions&) = delete;
  Definitions& operator=(const Definitions&) = delete;

  /// `examples` are lines, each a command and what it does. `run` keeps what the command's options fill in.
  CLI::App* add(const char* name, const char* summary, const char* examples, std::function<int()> run);

  CLI::App& app() { return m_app; }
  int exitCode() const { return m_exitCode; }

 private:
  void addHelp();

  CLI::App m_app{"Reads MEG recordings made on CTF systems", "ctfmeg"};
  int m_exitCode = kDone;
};

// Each adds one command, or several of one kind.

void addInfo(Definitions& definitions);
void addTables(Definitions& definitions);
void addExport(Definitions& definitions);
void addScan(Definitions& definitions);
void addCheck(Definitions& definitions);
void addEdit(Definitions& definitions);
void addSimulate(Definitions& definitions);

// What several commands take.

inline constexpr const char* kDatasetHelp = "a .ds directory or a file of a dataset";

void addDatasets(CLI::App* command, std::vector<std::string>& datasets);
/// `help` says what can name a person there.
void addNoIdentity(CLI::App* command, ReadingOptions& options,
                   const char* help = "leave out what can name a person");
void addReading(CLI::App* command, ReadingOptions& options);
/// Older scripts give these. What the samples need is decided by what is read.
void addMemory(CLI::App* command);

/// A table as CSV or JSON.
void addForm(CLI::App* command, output::TableForm& form);
/// A number of things, or of what is done at once.
CLI::Option* addCount(CLI::App* command, const char* name, int& count, const char* help);
void addThreads(CLI::App* command, int& threads);
/// From where on signals are faulty. Gives what was added.
std::vector<CLI::Option*> addSignalLimits(CLI::App* command, SignalLimits& limits);

/// Which changes of a stimulus channel are events.
void addStimulus(CLI::App* command, StimulusOptions& options);

/// Which samples.
void addSelection(CLI::App* command, SelectionOptions& options);
/// Which part of a dataset: trials, a span of each, channels.
void addPart(CLI::App* command, SelectionOptions& options);
/// Which samples, of a command that is about epochs alone.
void addEpochSelection(CLI::App* command, SelectionOptions& options);
/// What is done with them; after one of the two.
void addProcessing(CLI::App* command, SelectionOptions& options);
/// Which epochs are left out for their values; after `addProcessing`.
void addRejection(CLI::App* command, SelectionOptions& options);
/// Which channels; a part of the former.
void addChannelSelection(CLI::App* command, SelectionOptions& options);
/// Another name of --channels.
void addChannelNames(CLI::App* command, SelectionOptions& options);

}  // namespace ctfmeg::cli
