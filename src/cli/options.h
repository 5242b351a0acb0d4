#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/recording.h"

namespace ctfmeg::cli {

/// What the commands share.
struct ReadingOptions {
  Rules rules = Rules::plain;
  bool yes = false;
  bool no = false;
  bool quiet = false;
  bool strict = false;
  bool noIdentity = false;   ///< nothing that can name a person is shown
  std::uint64_t memory = 0;  ///< bytes of samples to keep in memory; 0: as the reader chooses
  std::string spillFolder;   ///< for samples beyond that; empty: as the reader chooses
};

struct InfoOptions {
  ReadingOptions reading;
  std::optional<Route> route;  ///< without one only headers are read
  std::vector<std::string> datasets;
  bool json = false;
};

struct ChannelsOptions {
  ReadingOptions reading;
  std::vector<std::string> datasets;
  std::optional<std::string> channels;  ///< a list; without it all
  bool csv = false;
};

/// Of commands that print a table of each dataset.
struct TableOptions {
  ReadingOptions reading;
  std::vector<std::string> datasets;
  bool csv = false;
};

struct ScanOptions {
  ReadingOptions reading;
  std::string directory;
  bool csv = false;
  bool json = false;
};

struct CheckOptions {
  ReadingOptions reading;
  std::string dataset;
  bool json = false;
};

struct ExportOptions {
  ReadingOptions reading;
  std::optional<Route> route;
  std::string dataset;
  std::string output;                   ///< "-": standard output
  std::optional<std::string> channels;  ///< a list; without it all
  bool physical = false;
};

}  // namespace ctfmeg::cli
