#include <algorithm>
#include <cmath>
#include <limits>
#include <span>

#include <ctfmeg/statistics.h>

namespace ctfmeg {
inline namespace v1 {
namespace {

bool isComputed(const Processing& processing) {
  return processing.compensation || processing.decimate > 1 ||
         (processing.epochs && processing.epochs->baseline);
}

/// What leaves the samples that computed ones are made of, or nearly: converters have stored these.
Processing storedOf(Processing processing, const std::vector<Occurrence>& epochs) {
  processing.compensation.reset();
  processing.decimate = 1;
  if (!processing.epochs) return processing;
  processing.epochs->baseline.reset();
  if (!processing.epochs->reject.empty()) {
    processing.epochs->occurrences = epochs;  // stored values go beyond a limit in others
    processing.epochs->reject.clear();
  }
  return processing;
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
    channel.samples = m_count;
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

/// `step`, called before each window with the share of samples that have been read, may throw.
template <class Step>
void describeValues(const SampleSource& source, std::vector<ChannelStatistics>& all, Step step) {
  constexpr std::int64_t kValuesAtOnce = std::int64_t{1} << 21U;
  const Shape shape = source.shape();
  std::vector<Moments> moments(all.size());
  std::vector<double> values;
  // All channels at once: references of compensated ones are then read once.
  const std::int64_t most = std::max<std::int64_t>(kValuesAtOnce / std::max(shape.channels, 1), 1);
  const double samples = static_cast<double>(shape.trials) * static_cast<double>(shape.samples);
  for (std::int64_t trial = 0; trial < shape.trials; ++trial)
    for (std::int64_t first = 0; first < shape.samples; first += most) {
      step(static_cast<double>(trial * shape.samples + first) / samples);
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

std::vector<ChannelStatistics> statisticsOf(const ProcessedSamples& made, const Recording& recording,
                                            const Selection& selection, const Processing& processing,
                                            const SignalLimits& limits, const ProgressFunction& progress,
                                            int threads) {
  if (!isComputed(processing)) return statisticsOf(*made.source, limits, progress, threads);
  const auto half = [&](double done) { return !progress || progress({"Reading samples", done / 2.0}); };
  const auto stored = processed(recording, selection, storedOf(processing, made.epochs), {}, threads).source;
  auto all = statisticsOf(
      *stored, limits, [&](const Progress& now) { return half(now.fraction); }, threads);
  describeValues(*made.source, all, [&](double done) {
    if (!half(1.0 + done))
      throw Error(ErrorKind::stopped, recording.resourceFile(), "the reading was stopped");
  });
  return all;
}

std::vector<ChannelStatistics> statisticsOf(const Recording& recording, const Selection& selection,
                                            const Processing& processing, const SignalLimits& limits,
                                            const ProgressFunction& progress, int threads) {
  return statisticsOf(processed(recording, selection, processing, {}, threads), recording, selection,
                      processing, limits, progress, threads);
}

}  // namespace v1
}  // namespace ctfmeg
