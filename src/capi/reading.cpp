#include "capi/reading.h"

#include <algorithm>
#include <limits>
#include <span>
#include <string>
#include <type_traits>

#include "base/threads.h"
#include "capi/failure.h"
#include "recording/sample_sources.h"

namespace ctfmeg::capi {
namespace {

std::size_t sizeOf(int type) {
  switch (type) {
    case CTFMEG_INT32:
    case CTFMEG_FLOAT32:
      return 4;
    case CTFMEG_FLOAT64:
      return 8;
    default:
      throw Misuse("the type must be CTFMEG_INT32, CTFMEG_FLOAT32 or CTFMEG_FLOAT64");
  }
}

/// Throws Misuse for more than can be addressed.
std::int64_t product(std::int64_t a, std::int64_t b) {
  if (b != 0 && a > std::numeric_limits<std::int64_t>::max() / b) throw Misuse("the part is too large");
  return a * b;
}

}  // namespace

std::vector<PartReading::Run> PartReading::runsOf(const char* what, const std::int64_t* places,
                                                  std::int64_t count, std::int64_t there) {
  if (places == nullptr) return {{0, there}};
  if (count < 0) throw Misuse(std::string("the number of ") + what + " is negative");
  std::vector<Run> runs;
  for (std::int64_t i = 0; i < count; ++i) {
    requireRange(what, places[i], 1, there);
    if (!runs.empty() && places[i] == runs.back().first + runs.back().count)
      ++runs.back().count;
    else
      runs.push_back({places[i], 1});
  }
  return runs;
}

PartReading::PartReading(const OpenView& view, const ctfmeg_part& part) : m_source(*view.source) {
  const Shape shape = m_source.shape();
  m_trials = runsOf("trials", part.trials, part.trial_count, shape.trials);
  m_channels = runsOf("channels", part.channels, part.channel_count, shape.channels);
  for (const Run& run : m_trials)
    m_trialCount += run.count;
  for (const Run& run : m_channels)
    m_channelCount += run.count;
  if (part.step < 0) throw Misuse("the step is negative");
  if (part.samples < -1) throw Misuse("the number of samples is negative");
  m_samples.step = std::max<std::int64_t>(part.step, 1);
  m_samples.first = part.first;
  requireRange("samples", part.first, 0, shape.samples);
  const std::int64_t left = shape.samples - part.first;
  m_samples.samples = part.samples >= 0 ? part.samples : left / m_samples.step + (left % m_samples.step != 0);
}

void PartReading::read(int type, Values values, void* out, std::size_t bytes,
                       const ProgressFunction& progress) const {
  const std::int64_t all = product(product(m_trialCount, m_channelCount), m_samples.samples);
  const std::size_t room = bytes / sizeOf(type);
  if (static_cast<std::uint64_t>(all) > room)
    throw Misuse("there is room for " + std::to_string(room) + " of " + std::to_string(all) + " values");
  if (all == 0) return;
  require(out, "out");
  if (type == CTFMEG_INT32) {
    if (values != Values::raw) throw Misuse("integers are raw values: CTFMEG_PHYSICAL needs a floating type");
    readAll(values, static_cast<std::int32_t*>(out), progress);
  } else if (type == CTFMEG_FLOAT32) {
    readAll(values, static_cast<float*>(out), progress);
  } else {
    readAll(values, static_cast<double*>(out), progress);
  }
}

template <class Value>
void PartReading::readAll(Values values, Value* out, const ProgressFunction& progress) const {
  // Enough to keep several processors busy, and so little that whoever watches sees it go on.
  constexpr std::int64_t kValuesAtOnce = std::int64_t{1} << 22;
  const std::int64_t ofTrial = m_channelCount * m_samples.samples;
  const std::int64_t most = std::max<std::int64_t>(kValuesAtOnce / ofTrial, 1);
  std::int64_t done = 0;
  const auto tell = [&] {
    const double fraction = static_cast<double>(done) / static_cast<double>(m_trialCount);
    if (progress && !progress({"Reading samples", fraction}))
      throw Error(ErrorKind::stopped, {}, "the reading was stopped");
  };
  const StopCheck check(tell);
  for (const Run& run : m_trials)
    for (std::int64_t first = 0; first < run.count;) {
      const Run some{run.first + first, std::min(most, run.count - first)};
      readTrials(some, values, out + done * ofTrial);
      first += some.count;
      done += some.count;
      tell();
    }
}

template <class Value>
void PartReading::readTrials(const Run& trials, Values values, Value* out) const {
  Window window = m_samples;
  const auto readWindow = [&](std::int64_t trial, std::int64_t count, const Run& channels) {
    window.trial = trial;
    window.trials = count;
    window.channel = static_cast<int>(channels.first);
    window.channels = static_cast<int>(channels.count);
    const std::span into(out, static_cast<std::size_t>(count * channels.count * window.samples));
    if constexpr (std::is_same_v<Value, std::int32_t>)
      m_source.read(window, into);
    else
      m_source.read(window, into, values);
    out += into.size();
  };
  if (m_channels.size() == 1) return readWindow(trials.first, trials.count, m_channels.front());
  for (std::int64_t i = 0; i < trials.count; ++i)
    for (const Run& channels : m_channels)
      readWindow(trials.first + i, 1, channels);
}

}  // namespace ctfmeg::capi
