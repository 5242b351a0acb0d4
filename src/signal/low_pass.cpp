#include <ctfmeg/low_pass.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "base/threads.h"
#include "signal/weighted_sum.h"
#include "signal/wrapped.h"

#include <ctfmeg/finding.h>

namespace ctfmeg {
inline namespace v1 {
namespace {

constexpr double kAttenuation = 82.0;  // dB
constexpr double kCutOff = 0.8;        // of the new Nyquist frequency

/// Samples that are weighted on each side of one.
std::int64_t reachOf(int factor) { return factor == 1 ? 0 : std::int64_t{13} * factor; }

/// The modified Bessel function of the first kind and order 0, by its series.
double besselI0(double x) {
  double sum = 1.0, term = 1.0;
  for (int k = 1; term > sum * std::numeric_limits<double>::epsilon() / 4; ++k) {
    term *= x / (2 * k) * (x / (2 * k));
    sum += term;
  }
  return sum;
}

constexpr std::int64_t kFilteredAtOnce = 4096;   // of a channel, with those around them
constexpr std::int64_t kValuesAround = 1 << 18;  // of several channels

/// Memory of one thread.
struct Room {
  std::vector<double> values;   // of a part
  std::vector<double> stretch;  // and what it goes on as beyond its ends
  std::vector<double> sums;
};

class LowPassedSamples : public WrappedSource {
 public:
  LowPassedSamples(std::shared_ptr<const SampleSource> source, int factor, int threads)
      : WrappedSource(std::move(source)),
        m_factor(factor),
        m_reach(reachOf(factor)),
        m_shape(this->source().shape()),
        m_missing(this->source().hasMissing()),
        m_breaks(breaksOf(this->source())),
        m_workers(threads) {
    requireLength(0, m_shape.samples);
    for (const auto& breaks : m_missing ? Breaks() : m_breaks)
      for (std::size_t i = 0; i <= breaks.size(); ++i) {
        const std::int64_t first = i == 0 ? 0 : breaks[i - 1];
        requireLength(first, (i == breaks.size() ? m_shape.samples : breaks[i]) - first);
      }
    m_weights = lowPassWeights(factor);
  }

 protected:
  void readInto(const Window& window, const Target& target) const override {
    if (target.values != Values::physical)
      throw std::invalid_argument("filtered values are physical: there are no raw ones");
    std::visit(
        [&](auto* out) {
          if constexpr (std::is_floating_point_v<std::remove_pointer_t<decltype(out)>>) readAll(window, out);
        },
        target.out);
  }

 private:
  /// Of each trial, the samples that do not go on from those before them; nothing without gaps.
  using Breaks = std::vector<std::vector<std::int64_t>>;

  static Breaks breaksOf(const SampleSource& source) {
    const std::vector<Gap> gaps = source.gaps();
    Breaks all;
    for (std::int64_t trial = 0; !gaps.empty() && trial < source.shape().trials; ++trial) {
      const std::vector<Piece> pieces = source.pieces(trial);
      auto& breaks = all.emplace_back();
      auto gap = gaps.begin();
      for (std::size_t i = 1; i < pieces.size(); ++i) {
        while (gap != gaps.end() && gap->afterTrial < pieces[i - 1].fileTrial)
          ++gap;
        if (gap != gaps.end() && gap->afterTrial < pieces[i].fileTrial) breaks.push_back(pieces[i].at);
      }
    }
    return all;
  }

  void requireLength(std::int64_t first, std::int64_t samples) const {
    if (samples > m_reach) return;
    throw Error(ErrorKind::refused, {},
                "has only " + std::to_string(samples) + " samples in a row from sample " +
                    std::to_string(first) + " on, and decimation by " + std::to_string(m_factor) + " needs " +
                    std::to_string(m_reach + 1));
  }

  template <class Value>
  void readAll(Window window, Value* out) const {
    if (window.samples == 1) window.step = 1;  // it may be any
    const std::int64_t around = 2 * m_reach + 1;
    // Of samples that are far from one another, each is read by itself.
    const std::int64_t together =
        window.step > around ? 1 : (std::max(kFilteredAtOnce, 8 * around) - around) / window.step + 1;
    const std::int64_t most = std::min(together, window.samples);
    const auto channelsAtOnce =
        std::clamp<std::int64_t>(kValuesAround / ((most - 1) * window.step + around), 1, window.channels);
    const std::int64_t perChannel = (window.samples + most - 1) / most;
    const std::int64_t perTrial = (window.channels + channelsAtOnce - 1) / channelsAtOnce * perChannel;
    shareOut<Room>(m_workers, perTrial * window.trials, [&](std::int64_t i, Room& room) {
      const std::int64_t trial = i / perTrial, done = i % perChannel * most;
      const std::int64_t channel = i % perTrial / perChannel * channelsAtOnce;
      Window part = window;
      part.trial += trial;
      part.trials = 1;
      part.channel += static_cast<int>(channel);
      part.channels = static_cast<int>(std::min(channelsAtOnce, window.channels - channel));
      part.first += done * window.step;
      part.samples = std::min(most, window.samples - done);
      readPart(part, room, out + (trial * window.channels + channel) * window.samples + done, window.samples);
    });
  }

  /// Reads a part of one trial; a channel's values begin `stride` after those of the one before.
  template <class Value>
  void readPart(const Window& part, Room& room, Value* out, std::int64_t stride) const {
    Window around = part;
    around.step = 1;
    around.first = std::max<std::int64_t>(part.first - m_reach, 0);
    around.samples =
        std::min(part.first + (part.samples - 1) * part.step + m_reach + 1, m_shape.samples) - around.first;
    room.values.resize(static_cast<std::size_t>(around.samples * part.channels));
    source().read(around, room.values);
    room.sums.resize(static_cast<std::size_t>(part.samples));
    for (int c = 0; c < part.channels; ++c) {
      const double* values = room.values.data() + c * around.samples;
      std::fill(room.sums.begin(), room.sums.end(), std::numeric_limits<double>::quiet_NaN());
      for (std::int64_t first = 0, end = 0; first < around.samples; first = end) {
        end = endOfStretch(values, around, first);
        if (end > first)
          filter(values + first, around.first + first, end - first, part, room);
        else
          ++end;  // the value is missing
      }
      std::transform(room.sums.begin(), room.sums.end(), out + c * stride,
                     [](double sum) { return static_cast<Value>(sum); });
    }
  }

  /// Where what follows `first` without a break ends, counted from the window's first sample.
  std::int64_t endOfStretch(const double* values, const Window& window, std::int64_t first) const {
    std::int64_t end = window.samples;
    if (!m_breaks.empty()) {
      const auto& breaks = m_breaks[static_cast<std::size_t>(window.trial)];
      const auto next = std::upper_bound(breaks.begin(), breaks.end(), window.first + first);
      if (next != breaks.end()) end = std::min(end, *next - window.first);
    }
    if (!m_missing) return end;
    return std::find_if(values + first, values + end, [](double value) { return std::isnan(value); }) -
           values;
  }

  /// Filters what `part` wants of a stretch, or of as much of it as is needed for that: `samples` from
  /// `first` on. What ends short of `m_reach` from a wanted sample is the stretch's own end.
  void filter(const double* values, std::int64_t first, std::int64_t samples, const Window& part,
              Room& room) const {
    const std::int64_t skipped = std::max<std::int64_t>((first - part.first + part.step - 1) / part.step, 0);
    const std::int64_t end =
        std::min((first + samples - part.first + part.step - 1) / part.step, part.samples);
    if (first + samples <= part.first || skipped >= end) return;
    const std::int64_t begin = part.first + skipped * part.step - first;
    const std::int64_t last = begin + (end - skipped - 1) * part.step;
    const double* from = nullptr;
    if (begin >= m_reach && last + m_reach < samples) {
      from = values + (begin - m_reach);
    } else {
      requireLength(first, samples);
      room.stretch.resize(static_cast<std::size_t>(samples + 2 * m_reach));
      double* const x = room.stretch.data() + m_reach;
      std::copy_n(values, samples, x);
      for (std::int64_t i = 1; i <= m_reach; ++i) {
        x[-i] = 2 * x[0] - x[i];
        x[samples - 1 + i] = 2 * x[samples - 1] - x[samples - 1 - i];
      }
      from = x + (begin - m_reach);
    }
    weightedSums(m_weights, from, static_cast<std::size_t>(part.step),
                 static_cast<std::size_t>(end - skipped), room.sums.data() + skipped);
  }

  int m_factor;
  std::int64_t m_reach;
  Shape m_shape;
  bool m_missing;
  Breaks m_breaks;
  std::vector<double> m_weights;
  mutable Workers m_workers;
};

void requireFactor(int factor) {
  if (factor < 1) throw std::invalid_argument("a factor of " + std::to_string(factor) + " is none from 1 on");
}

}  // namespace

std::vector<double> lowPassWeights(int factor) {
  requireFactor(factor);
  const std::int64_t reach = reachOf(factor);
  std::vector<double> weights(static_cast<std::size_t>(2 * reach + 1), 1.0);
  if (reach == 0) return weights;
  const double beta = 0.1102 * (kAttenuation - 8.7);
  double* const middle = weights.data() + reach;
  double sum = 0.0;  // of one side, the smallest first
  for (std::int64_t k = reach; k > 0; --k) {
    const double x = std::numbers::pi * kCutOff * static_cast<double>(k) / factor;
    const double place = static_cast<double>(k) / static_cast<double>(reach);
    middle[k] = std::sin(x) / x * besselI0(beta * std::sqrt((1.0 - place) * (1.0 + place)));
    sum += middle[k];
  }
  const double scale = 1.0 / (besselI0(beta) + 2.0 * sum);
  long double rest = 1.0;  // what is left for the middle takes up the rounding
  for (std::int64_t k = reach; k > 0; --k) {
    middle[k] *= scale;
    middle[-k] = middle[k];
    rest -= 2.0L * middle[k];
  }
  *middle = static_cast<double>(rest);
  return weights;
}

std::shared_ptr<const SampleSource> lowPassed(std::shared_ptr<const SampleSource> source, int factor,
                                              int threads) {
  requireFactor(factor);
  if (factor == 1) return source;
  return std::make_shared<LowPassedSamples>(std::move(source), factor, threads);
}

}  // namespace v1
}  // namespace ctfmeg
