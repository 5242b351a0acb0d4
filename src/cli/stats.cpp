#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>
#include <span>

#include "cli/dataset_table.h"
#include "cli/process.h"
#include "cli/sample_windows.h"

namespace ctfmeg::cli {
namespace {

/// For people: four digits.
std::string roughly(double value) {
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%.4g", value);
  return text.data();
}

bool isProcessed(const SelectionOptions& options) {
  return options.compensation || options.decimate > 1 || options.baseline;
}

/// The samples that processed ones are made of, or nearly: converters have stored these.
SelectionOptions stored(SelectionOptions options) {
  options.compensation.reset();
  options.decimate = 1;
  options.baseline.reset();
  return options;
}

/// Of values that come in any number.
class Moments {
 public:
  void add(std::span<const double> values) {
    for (const double value : values) {
      if (std::isnan(value)) continue;
      const double before = value - m_mean;
      m_mean += before / static_cast<double>(++m_count);
      m_squares += before * (value - m_mean);
      m_min = std::min(m_min, value);
      m_max = std::max(m_max, value);
    }
  }

  void writeTo(ChannelStatistics& channel) const {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    const bool any = m_count > 0;
    channel.min = any ? m_min : kNone;
    channel.max = any ? m_max : kNone;
    channel.mean = any ? m_mean : kNone;
    channel.std = any ? std::sqrt(m_squares / static_cast<double>(m_count)) : kNone;
  }

 private:
  std::int64_t m_count = 0;
  double m_mean = 0.0, m_squares = 0.0;
  double m_min = std::numeric_limits<double>::infinity(), m_max = -m_min;
};

/// Replaces what statistics say of values by those of processed ones.
void describeProcessed(const SampleSource& source, std::vector<ChannelStatistics>& all) {
  const Shape shape = source.shape();
  std::vector<Moments> moments(all.size());
  std::vector<double> values;
  // All channels at once: references of compensated ones are then read once.
  const std::int64_t most = std::max<std::int64_t>(kBytesAtOnce / 8 / std::max(shape.channels, 1), 1);
  for (std::int64_t trial = 0; trial < shape.trials; ++trial)
    for (std::int64_t first = 0; first < shape.samples; first += most) {
      stopIfInterrupted();
      const auto count = static_cast<std::size_t>(std::min(most, shape.samples - first));
      values.resize(count * all.size());
      source.read({.trial = trial,
                   .channels = shape.channels,
                   .first = first,
                   .samples = std::ssize(values) / shape.channels},
                  values);
      for (std::size_t c = 0; c < all.size(); ++c)
        moments[c].add(std::span(values).subspan(c * count, count));
    }
  for (std::size_t c = 0; c < all.size(); ++c)
    moments[c].writeTo(all[c]);
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
                              session.sayWarnings(path, selected.findings);
                              const auto raw =
                                  isProcessed(options.shown)
                                      ? session.select(path, recording, stored(options.shown)).source
                                      : selected.source;
                              auto all = statisticsOf(*raw, options.limits, session.progress(path),
                                                      options.reading.threads);
                              if (raw != selected.source) describeProcessed(*selected.source, all);
                              for (std::size_t i = 0; i < all.size(); ++i) {
                                const Channel& c = selected.source->channels()[i];
                                const ChannelStatistics& its = all[i];
                                table.add({c.name, nameOf(c.kind), c.unit, its.min, its.max, its.mean,
                                           its.std, its.flat, its.clipped, its.jumps, verdictOf(its)});
                              }
                            }});
}

}  // namespace ctfmeg::cli
