#pragma once

#include <stdexcept>
#include <string>

#include "cli/options.h"
#include "simulate/options.h"

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

// Each runs one command and gives its exit code. They throw CommandError and Interrupted (process.h).

int runInfo(const InfoOptions& options);
int runChannels(const ChannelsOptions& options);
int runMarkers(const TableOptions& options);
int runHeadCoils(const TableOptions& options);
int runExport(const ExportOptions& options);
int runScan(const ScanOptions& options);
int runCheck(const CheckOptions& options);
int runSimulate(const std::string& directory, const simulate::Options& options, bool quiet);

}  // namespace ctfmeg::cli
