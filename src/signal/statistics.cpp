#include <ctfmeg/statistics.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <map>
#include <mutex>
#include <thread>

#include "base/threads.h"
#include "signal/tally.h"

namespace ctfmeg {
inline namespace v1 {

const char* nameOf(SignalFault fault) {
  constexpr std::array kNames{"flat", "clipped", "jumps", "noisy"};
  return kNames[static_cast<std::size_t>(fault)];
}

std::string verdictOf(const ChannelStatistics& channel) {
  std::string text;
  for (const SignalFault fault : channel.faults)
    text += (text.empty() ? "" : ",") + std::string(nameOf(fault));
  return text.empty() ? "ok" : text;
}

namespace {

/// Samples that are read at once: as many as stay in a processor's own memory.
constexpr std::int64_t kSamplesAtOnce = std::int64_t{1} << 16U;
static_assert(kSamplesAtOnce % kBlockSamples == 0, "blocks are not cut where reading is");

bool isJudged(ChannelKind kind) {
  return kind == ChannelKind::refMagnetometer || kind == ChannelKind::refGradiometer ||
         kind == ChannelKind::magnetometer || kind == ChannelKind::gradiometer || kind == ChannelKind::eeg ||
         kind == ChannelKind::eegRef;
}

/// A channel is noisy compared with the others of its kind.
constexpr std::size_t kEnoughOfAKind = 5;

/// Reads a source once, in the order of its files, divided among those who call `work`.
class Walk {
 public:
  explicit Walk(const SampleSource& source)
      : m_source(source),
        m_shape(source.shape()),
        m_missing(source.hasMissing()),
        m_channels(atOnce(m_shape.samples, m_shape.channels)),
        m_trials(atOnce(m_shape.samples * m_channels, m_shape.trials)),
        m_groups((m_shape.channels + m_channels - 1) / m_channels),
        m_windows((m_shape.trials + m_trials - 1) / m_trials * m_groups) {
    const std::vector<Gap> gaps = source.gaps();
    const std::vector<Piece> pieces = gaps.empty() ? std::vector<Piece>() : source.pieces(0);
    for (const Gap& gap : gaps)
      for (const Piece& piece : pieces)
        if (piece.fileTrial > gap.afterTrial) {
          m_breaks.push_back(piece.at);
          break;
        }
  }

  /// Adds samples to the tallies of their channels as long as there are more; after each window `show` is
  /// told the share of them that has been begun.
  template <class Show>
  void work(std::vector<Tally>& tallies, Show show) {
    // The first is the sample before a window.
    std::vector<std::int32_t> samples(kSamplesAtOnce + 1);
    std::vector<double> values(m_missing ? kSamplesAtOnce + 1 : 1);
    try {
      for (std::int64_t next = 0; (next = m_next++) < m_windows;) {
        Window window{.trial = next / m_groups * m_trials,
                      .channel = static_cast<int>(next % m_groups * m_channels)};
        window.trials = std::min(m_trials, m_shape.trials - window.trial);
        window.channels =
            static_cast<int>(std::min<std::int64_t>(m_channels, m_shape.channels - window.channel));
        for (; window.first < m_shape.samples; window.first += window.samples) {
          window.samples = std::min(kSamplesAtOnce, m_shape.samples - window.first);
          samples.front() = samples.back();
          values.front() = values.back();
          if (m_missing)
            m_source.read(window, std::span(values).subspan(1), Values::raw);
          else
            m_source.read(window, std::span(samples).subspan(1));
          addWindow(window, tallies, samples.data() + 1, values.data() + 1);
        }
        show(static_cast<double>(next + 1) / static_cast<double>(m_windows));
      }
    } catch (...) {
      m_next = m_windows;  // the others need not go on
      throw;
    }
  }

 private:
  /// How many of `count` things of a size are read together.
  static std::int64_t atOnce(std::int64_t size, std::int64_t count) {
    return std::clamp<std::int64_t>(kSamplesAtOnce / std::max<std::int64_t>(size, 1), 1,
                                    std::max<std::int64_t>(count, 1));
  }

  void addWindow(const Window& window, std::vector<Tally>& tallies, std::int32_t* samples,
                 const double* values) const {
    for (std::int64_t t = 0; t < window.trials; ++t)
      for (int c = 0; c < window.channels; ++c) {
        const SamplePlace first{window.trial + t, window.first};
        Tally& tally = tallies[static_cast<std::size_t>(window.channel) + static_cast<std::size_t>(c)];
        if (m_missing)
          addPresent(tally, values, samples, window.samples, first);
        else
          addUnbroken(tally, samples, window.samples, first, first.sample > 0);
        samples += window.samples;
        values += m_missing ? window.samples : 0;
      }
  }

  /// Adds the values that are there, as the integers that they are, by way of `samples`.
  void addPresent(Tally& tally, const double* values, std::int32_t* samples, std::int64_t count,
                  SamplePlace first) const {
    for (std::int64_t begin = 0, end = 0; begin < count; begin = end + 1) {
      for (end = begin; end < count && !std::isnan(values[end]); ++end)
        samples[end] = static_cast<std::int32_t>(values[end]);
      const bool goesOn = begin == 0 && first.sample > 0 && !std::isnan(values[-1]);
      addUnbroken(tally, samples + begin, end - begin, {first.trial, first.sample + begin}, goesOn);
    }
  }

  /// Adds samples of which those do not follow each other between which a run has a gap.
  void addUnbroken(Tally& tally, const std::int32_t* samples, std::int64_t count, SamplePlace first,
                   bool goesOn) const {
    auto next = std::lower_bound(m_breaks.begin(), m_breaks.end(), first.sample);
    if (next != m_breaks.end() && *next == first.sample) {
      goesOn = false;
      ++next;
    }
    const std::int64_t now = next == m_breaks.end() ? count : std::min(*next - first.sample, count);
    tally.add(samples, now, first, goesOn);
    if (now < count) addUnbroken(tally, samples + now, count - now, {first.trial, first.sample + now}, false);
  }

  const SampleSource& m_source;
  Shape m_shape;
  bool m_missing;
  std::int64_t m_channels, m_trials;   // of a window
  std::int64_t m_groups, m_windows;    // of channels; in all
  std::vector<std::int64_t> m_breaks;  // of a run: samples that do not follow the one before
  std::atomic<std::int64_t> m_next = 0;
};

std::vector<Tally> talliesOf(const SampleSource& source) {
  constexpr std::int64_t kStepsWanted = 4096;  // say what is usual to a few percent
  const Shape shape = source.shape();
  const std::int64_t stepsToOne = std::max<std::int64_t>(shape.trials * shape.samples / kStepsWanted, 1) | 1;
  std::vector<Tally> tallies;
  for (const Channel& channel : source.channels())
    tallies.emplace_back(isJudged(channel.kind), stepsToOne);
  return tallies;
}

double median(std::vector<double> values) {
  const auto middle = values.begin() + std::ssize(values) / 2;
  std::nth_element(values.begin(), middle, values.end());
  if (values.size() % 2 == 1) return *middle;
  return (*middle + *std::max_element(values.begin(), middle)) / 2.0;
}

/// `noises` of the channels of one kind, by their place in `all`; none is 0.
void compareNoise(const std::map<std::size_t, double>& noises, const SignalLimits& limits,
                  std::vector<ChannelStatistics>& all) {
  constexpr double kFar = 5.0, kDeviationsToMedian = 1.4826;  // the latter of a normal distribution
  if (noises.size() < kEnoughOfAKind) return;
  std::vector<double> sizes, above;
  for (const auto& [place, noise] : noises)
    sizes.push_back(std::log(noise));
  const double middle = median(sizes);
  for (const double size : sizes)
    if (size >= middle) above.push_back(size - middle);
  const double far = std::max(std::log(limits.noise), kFar * kDeviationsToMedian * median(above));
  for (const auto& [place, noise] : noises) {
    all[place].noise = noise / std::exp(middle);
    if (std::log(noise) - middle > far) all[place].faults.push_back(SignalFault::noisy);
  }
}

}  // namespace

std::vector<ChannelStatistics> statisticsOf(const SampleSource& source, const SignalLimits& limits,
                                            const ProgressFunction& progress, int threads) {
  std::vector<Tally> tallies = talliesOf(source);
  Walk walk(source);
  std::mutex mutex;  // for `tallies`
  const auto caller = std::this_thread::get_id();
  Workers(threads).run([&] {
    std::vector<Tally> own = talliesOf(source);
    walk.work(own, [&](double share) {
      if (progress && std::this_thread::get_id() == caller && !progress({"Reading samples", share}))
        throw Error(ErrorKind::stopped, {}, "the reading was stopped");
    });
    const std::lock_guard lock(mutex);
    for (std::size_t i = 0; i < tallies.size(); ++i)
      tallies[i].add(own[i]);
  });

  const auto length = static_cast<double>(source.shape().samples);
  const double flatLength = limits.flatSeconds * source.sampleRate();
  constexpr double kFewest = 10.0;  // that may be equal by chance
  const double mostFlat = std::max(flatLength < length ? flatLength : length, kFewest);
  std::vector<ChannelStatistics> all;
  std::map<ChannelKind, std::map<std::size_t, double>> noises;
  for (std::size_t i = 0; i < tallies.size(); ++i) {
    const Channel& channel = source.channels()[i];
    all.push_back(tallies[i].statistics(channel.gain, limits, static_cast<std::int64_t>(mostFlat)));
    // A channel whose gain can't be has raw values, which compare with nothing.
    const double noise = channel.unit == "1" ? 0.0 : tallies[i].noise() / std::abs(channel.gain);
    if (noise > 0.0 && std::isfinite(noise)) noises[channel.kind].emplace(i, noise);
  }
  for (const auto& [kind, ofKind] : noises)
    if (isJudged(kind)) compareNoise(ofKind, limits, all);
  return all;
}

}  // namespace v1
}  // namespace ctfmeg
