#include "recording/sample_sources.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include "base/byte_order.h"
#include "recording/physical.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg {
namespace {

/// What reading files throws as what users of a recording know.
template <class Operation>
void reading(Operation operation) {
  try {
    operation();
  } catch (const FileError& error) {
    Finding finding = findingOf(error);
    const ErrorKind kind = kindOf(finding);
    throw Error(kind, pathFromText(error.path()), error.text(), {std::move(finding)});
  }
}

}  // namespace

inline namespace v1 {
SampleSource::~SampleSource() = default;
}  // namespace v1

void requireRange(const char* what, std::int64_t first, std::int64_t count, std::int64_t there) {
  if (first >= 0 && count >= 0 && first <= there && count <= there - first) return;
  throw std::out_of_range(std::string(what) + ": " + std::to_string(count) + " from " +
                          std::to_string(first) + " on are not within 0 to " + std::to_string(there - 1));
}

std::int64_t valuesOf(const Window& window, const Shape& shape, std::size_t room) {
  requireRange("trials", window.trial, window.trials, shape.trials);
  requireRange("channels", window.channel, window.channels, shape.channels);
  requireRange("samples", window.first, window.samples, shape.samples);
  const std::int64_t values = window.trials * window.channels * window.samples;
  if (static_cast<std::uint64_t>(values) > room)
    throw std::invalid_argument("there is room for " + std::to_string(room) + " of " +
                                std::to_string(values) + " values");
  return values;
}

double timeOf(const Origin& from, std::int64_t sample, std::int64_t preTrigSamples, double sampleRate) {
  return static_cast<double>(from.firstSample + sample * from.step - preTrigSamples) / sampleRate;
}

FileSamples::FileSamples(std::shared_ptr<const void> owner, const SampleSet& set, const SampleScale& scale,
                         std::vector<Piece> pieces, std::int64_t samples, std::int64_t step, int threads)
    : m_owner(std::move(owner)),
      m_set(set),
      m_scale(scale),
      m_pieces(std::move(pieces)),
      m_shape{std::ssize(m_pieces), set.counts().channels, samples},
      m_step(step),
      m_parallel(threads) {}

Origin FileSamples::origin(std::int64_t trial) const {
  requireRange("trials", trial, 1, m_shape.trials);
  return {piece(trial).fileTrial, piece(trial).firstSample, m_step};
}

double FileSamples::time(std::int64_t trial, std::int64_t sample) const {
  requireRange("samples", sample, 1, m_shape.samples);
  return timeOf(origin(trial), sample, m_scale.preTrigSamples, m_scale.sampleRate);
}

bool FileSamples::isWholeBlocks(const Window& window) const {
  return m_step == 1 && window.samples == m_set.counts().samples;
}

void FileSamples::readTogether(const File& file, std::uint64_t offset, std::span<std::int32_t> out) const {
  std::unique_lock helpers(m_parallelMutex, std::defer_lock);
  if (out.size_bytes() >= ParallelRead::kWorthIt && helpers.try_lock()) {
    if (!m_parallel.read(file, offset, out)) SampleSet::failChanged(file);
    return;
  }
  // In pieces that are still in the processor's own memory when their bytes are swapped.
  constexpr std::size_t kPiece = std::size_t{1} << 16;
  while (!out.empty()) {
    const auto now = out.first(std::min(kPiece, out.size()));
    if (file.readAt(offset, std::as_writable_bytes(now)) != now.size_bytes()) SampleSet::failChanged(file);
    samplesToHostOrder(now);
    offset += now.size_bytes();
    out = out.subspan(now.size());
  }
}

void FileSamples::readWholeTrials(const Window& window, std::span<std::int32_t> out) const {
  const std::uint64_t bytes = m_set.counts().trialBytes();
  const auto values = static_cast<std::size_t>(bytes / sizeof(std::int32_t));
  for (std::int64_t trial = window.trial; trial < window.trial + window.trials;) {
    const auto start = m_set.placeOf(piece(trial).fileTrial, 0);
    // Trials that follow each other in one file are read at once: they may be short.
    std::int64_t count = 1;
    while (trial + count < window.trial + window.trials) {
      const auto next = m_set.placeOf(piece(trial + count).fileTrial, 0);
      if (next.file != start.file || next.offset != start.offset + static_cast<std::uint64_t>(count) * bytes)
        break;
      ++count;
    }
    const auto now = out.first(static_cast<std::size_t>(count) * values);
    readTogether(*start.file, start.offset, now);
    out = out.subspan(now.size());
    trial += count;
  }
}

void FileSamples::readBlock(std::int64_t trial, int channel, std::int64_t first,
                            std::span<std::int32_t> out) const {
  const auto place = m_set.placeOf(piece(trial).fileTrial, channel);
  const auto offsetOf = [&](std::int64_t sample) {
    const std::int64_t inFile = piece(trial).firstSample + sample * m_step;
    return place.offset + static_cast<std::uint64_t>(inFile) * sizeof(std::int32_t);
  };
  if (m_step == 1) return readTogether(*place.file, offsetOf(first), out);
  constexpr std::int64_t kMostValues = std::int64_t{1} << 18;
  const std::int64_t most = std::max<std::int64_t>(kMostValues / m_step, 1);
  std::vector<std::int32_t> span;
  while (!out.empty()) {
    const std::int64_t count = std::min(most, std::ssize(out));
    span.resize(static_cast<std::size_t>((count - 1) * m_step + 1));
    readTogether(*place.file, offsetOf(first), span);
    for (std::int64_t i = 0; i < count; ++i)
      out[static_cast<std::size_t>(i)] = span[static_cast<std::size_t>(i * m_step)];
    out = out.subspan(static_cast<std::size_t>(count));
    first += count;
  }
}

void FileSamples::read(const Window& window, std::span<std::int32_t> out) const {
  out = out.first(static_cast<std::size_t>(valuesOf(window, m_shape, out.size())));
  if (out.empty()) return;
  reading([&] {
    const bool whole = isWholeBlocks(window);
    if (whole && window.channels == m_shape.channels) return readWholeTrials(window, out);
    const int together = whole ? window.channels : 1;  // their blocks follow each other in the file
    const auto values = static_cast<std::size_t>(together) * static_cast<std::size_t>(window.samples);
    for (std::int64_t trial = window.trial; trial < window.trial + window.trials; ++trial)
      for (int c = 0; c < window.channels; c += together) {
        readBlock(trial, window.channel + c, window.first, out.first(values));
        out = out.subspan(values);
      }
  });
}

void FileSamples::readPhysical(const Window& window, std::span<double> out) const {
  if (valuesOf(window, m_shape, out.size()) == 0) return;
  constexpr std::int64_t kMostValues = std::int64_t{1} << 21;
  const std::int64_t samplesAtOnce = std::min(kMostValues, window.samples);
  const auto channelsAtOnce =
      static_cast<int>(std::clamp<std::int64_t>(kMostValues / samplesAtOnce, 1, window.channels));
  std::vector<std::int32_t> raw(static_cast<std::size_t>(samplesAtOnce * channelsAtOnce));
  for (std::int64_t trial = 0; trial < window.trials; ++trial)
    for (int c = 0; c < window.channels; c += channelsAtOnce)
      for (std::int64_t s = 0; s < window.samples; s += samplesAtOnce) {
        const int channels = std::min(channelsAtOnce, window.channels - c);
        const auto samples = static_cast<std::size_t>(std::min(samplesAtOnce, window.samples - s));
        read({window.trial + trial, 1, window.channel + c, channels, window.first + s,
              static_cast<std::int64_t>(samples)},
             raw);
        for (int k = 0; k < channels; ++k) {
          const int channel = window.channel + c + k;
          const std::int64_t place = (trial * window.channels + c + k) * window.samples + s;
          divideEach(std::span(raw).subspan(static_cast<std::size_t>(k) * samples, samples),
                     m_scale.gains[static_cast<std::size_t>(channel)],
                     out.subspan(static_cast<std::size_t>(place), samples));
        }
      }
}

}  // namespace ctfmeg
