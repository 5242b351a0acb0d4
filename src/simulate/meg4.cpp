#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulate/faults.h"
#include "simulate/files.h"
#include "simulate/output.h"
#include "simulate/random.h"
#include "simulate/signals.h"
#include "simulate/timeline.h"

namespace ctfmeg::simulate {

namespace {

/// Samples computed at once: the moments of all sources stay in the processor's cache for all channels.
constexpr std::int64_t kBlockSamples = 512;

std::int32_t toCounts(double value) {
  constexpr double kLowest = std::numeric_limits<std::int32_t>::min();
  constexpr double kHighest = std::numeric_limits<std::int32_t>::max();
  if (value >= kHighest) return std::numeric_limits<std::int32_t>::max();
  if (!(value > kLowest)) return std::numeric_limits<std::int32_t>::min();
  return static_cast<std::int32_t>(value + (value < 0 ? -0.5 : 0.5));  // half away from zero
}

/// Makes the trials of a recording one after another, each in the bytes of the file: channel after channel,
/// big-endian 32-bit counts, rounded and kept within their range.
class TrialSynthesis {
 public:
  TrialSynthesis(const Options& options, const std::vector<Channel>& channels)
      : m_options(options),
        m_random(options.seed),
        m_timeline(options),
        m_activity(m_random),
        m_triggers(options, m_timeline, m_random),
        m_moments(kBlockSamples),
        m_values(kBlockSamples),
        m_bytes(static_cast<std::size_t>(trialBytes(options))) {
    for (const Channel& channel : channels)
      m_rows.push_back({makeSignal(channel, m_rows.size(), options.rate), channel.gain()});
    if (options.commonNoise > 0) m_environment.emplace(options.commonNoise, options.rate, options.seed);
    for (const PlantedFault& planted : plantFaults(options, channels)) {
      std::unique_ptr<ChannelSignal>& signal = m_rows[planted.index].signal;
      signal = makeFaulty(planted, std::move(signal), channels[planted.index], options);
    }
  }

  /// Stays valid until the next call.
  std::span<const char> nextTrial() {
    m_triggers.beginTrial(m_trialsDone, m_random);
    for (std::int64_t first = 0; first < m_options.samples; first += kBlockSamples) {
      const auto samples = static_cast<std::size_t>(std::min(kBlockSamples, m_options.samples - first));
      TimeBlock block;
      block.rate = m_options.rate;
      block.firstInRecording = m_timeline.firstSample(m_trialsDone) + first;
      block.triggers = m_triggers.between(block.firstInRecording,
                                          block.firstInRecording + static_cast<std::int64_t>(samples));
      for (std::size_t i = 0; i < samples; ++i)
        m_moments[i] = momentsAt(block, i);
      block.moments = std::span(m_moments).first(samples);
      if (m_environment) {
        m_distantMoments.clear();
        for (std::size_t i = 0; i < samples; ++i)
          m_distantMoments.push_back(m_environment->next(block.secondsInRecording(i)));
        block.distantMoments = m_distantMoments;
      }
      fillCounts(block, first);
    }
    ++m_trialsDone;
    return m_bytes;
  }

 private:
  PerSource momentsAt(const TimeBlock& block, std::size_t sample) {
    m_tones.clear();
    for (const Trigger& trigger : block.triggers)
      m_tones.push_back({block.secondsAfter(trigger, sample), trigger.strength});
    return m_activity.at(block.secondsInRecording(sample), m_tones);
  }

  struct Row {
    std::unique_ptr<ChannelSignal> signal;
    double gain;
  };

  void fillCounts(const TimeBlock& block, std::int64_t firstInTrial) {
    const std::span<double> values = std::span(m_values).first(block.moments.size());
    std::int64_t sampleIndex = firstInTrial;
    for (const Row& row : m_rows) {
      row.signal->fill(block, m_random, values);
      char* out = m_bytes.data() + sampleIndex * std::int64_t{sizeof(std::int32_t)};
      for (const double value : values)
        out = putBigEndian(toCounts(value * row.gain), out);
      sampleIndex += m_options.samples;
    }
  }

  Options m_options;
  Random m_random;
  Timeline m_timeline;
  SourceActivity m_activity;
  Triggers m_triggers;
  std::vector<SourceActivity::Tone> m_tones;
  std::optional<Environment> m_environment;
  std::vector<Row> m_rows;
  std::vector<PerSource> m_moments;
  std::vector<PerDistantSource> m_distantMoments;
  std::vector<double> m_values;
  std::vector<char> m_bytes;
  int m_trialsDone = 0;
};

/// Writes the sample files. Each begins with the same header and holds whole trials, because a trial never
/// straddles two files.
class SampleFileSet {
 public:
  SampleFileSet(std::filesystem::path stem, int trialsPerFile)
      : m_stem(std::move(stem)), m_trialsPerFile(trialsPerFile) {}

  void writeTrial(std::span<const char> trial) {
    if (!m_file || m_trialsInFile == m_trialsPerFile) openNext();
    m_file->write(trial);
    ++m_trialsInFile;
  }

  void close() {
    if (m_file) m_file->close();
    m_file.reset();
  }

 private:
  static constexpr std::string_view kHeader{"MEG41CP\0", kMeg4HeaderBytes};

  void openNext() {
    close();
    m_file.emplace(m_stem, m_filesOpened == 0 ? ".meg4" : "." + std::to_string(m_filesOpened) + "_meg4");
    m_file->write(kHeader);
    ++m_filesOpened;
    m_trialsInFile = 0;
  }

  std::filesystem::path m_stem;
  int m_trialsPerFile;
  int m_filesOpened = 0;
  int m_trialsInFile = 0;
  std::optional<OutputFile> m_file;
};

}  // namespace

void writeMeg4(const std::filesystem::path& stem, const Options& options,
               const std::vector<Channel>& channels, const Progress& progress) {
  TrialSynthesis synthesis(options, channels);
  SampleFileSet files(stem, trialsPerFile(options));
  for (int trial = 0; trial < options.trials; ++trial) {
    files.writeTrial(synthesis.nextTrial());
    if (progress && !progress(trial + 1, options.trials)) throw Stopped{};
  }
  files.close();
}

}  // namespace ctfmeg::simulate
