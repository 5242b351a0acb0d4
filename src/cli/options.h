#pragma once

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
  bool noIdentity = false;  ///< nothing that can name a person is shown
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

struct ExportOptions {
  ReadingOptions reading;
  std::optional<Route> route;
  std::string dataset;
  std::string output;                   ///< "-": standard output
  std::optional<std::string> channels;  ///< a list; without it all
  bool physical = false;
};

}  // namespace ctfmeg::cli
