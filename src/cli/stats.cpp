#include <array>
#include <cstdio>

#include "cli/dataset_table.h"

namespace ctfmeg::cli {
namespace {

/// For people: four digits.
std::string roughly(double value) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.4g", value);
  return text.data();
}

}  // namespace

int runStats(const StatsOptions& options) {
  return runTable(options, {{{"channel", "channel"},
                             {"kind", "kind"},
                             {"unit", "unit"},
                             {"min", "min", roughly},
                             {"max", "max", roughly},
                             {"mean", "mean", roughly},
                             {"std", "std", roughly},
                             {"flat", "flat"},
                             {"clipped", "clipped"},
                             {"jumps", "jumps"},
                             {"verdict", "verdict"}},
                            "no channels",
                            [&](Session& session, const std::string& path, const Recording& recording,
                                output::TableWriter& table) {
                              const SelectedSamples selected = session.select(path, recording, options.shown);
                              session.sayWarnings(path, recording, selected, options.shown.selection);
                              const auto [selection, processing] = askedFor(recording, options.shown);
                              const auto all = statisticsOf({selected.source, selected.epochs}, recording,
                                                            selection, processing, options.limits,
                                                            session.progress(path), options.reading.threads);
                              for (std::size_t i = 0; i < all.size(); ++i) {
                                const Channel& c = selected.source->channels()[i];
                                const ChannelStatistics& its = all[i];
                                table.add({c.name, nameOf(c.kind), c.unit, its.min, its.max, its.mean,
                                           its.std, its.flat, its.clipped, its.jumps, verdictOf(its)});
                              }
                            }});
}

}  // namespace ctfmeg::cli
