#include "recording/sample_sources.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>

#include "base/byte_order.h"
#include "base/parallel_read.h"
#include "recording/collected.h"
#include "recording/physical.h"
#include "recording/window_reading.h"

namespace ctfmeg {

inline namespace v1 {

SampleSource::~SampleSource() = default;

std::vector<Piece> SampleSource::pieces(std::int64_t trial) const {
  const Origin from = origin(trial);
  return {{from.fileTrial, from.firstSample, 0}};
}

std::vector<Gap> SampleSource::gaps() const { return {}; }

const std::vector<Finding>& SampleSource::warnings() const {
  static const std::vector<Finding> kNone;
  return kNone;
}

namespace {

/// Throws for a window that is not within the shape or does not fit into `room` values; false for an empty
/// one.
bool check(const Window& window, const Shape& shape, std::size_t room) {
  requireRange("trials", window.trial, window.trials, shape.trials);
  requireRange("channels", window.channel, window.channels, shape.channels);
  if (window.step < 1) throw std::out_of_range("a step of " + std::to_string(window.step) + " leads nowhere");
  requireRange("samples", window.first, window.samples, shape.samples);
  if (window.samples > 0 && (window.samples - 1) > (shape.samples - 1 - window.first) / window.step)
    throw std::out_of_range("samples: " + std::to_string(window.samples) + " from " +
                            std::to_string(window.first) + " on, every " + std::to_string(window.step) +
                            "th, are not within 0 to " + std::to_string(shape.samples - 1));
  const std::int64_t values = window.trials * window.channels * window.samples;
  if (static_cast<std::uint64_t>(values) > room)
    throw std::invalid_argument("there is room for " + std::to_string(room) + " of " +
                                std::to_string(values) + " values");
  return values > 0;
}

}  // namespace

void SampleSource::read(const Window& window, std::span<std::int32_t> out) const {
  if (hasMissing()) throw std::invalid_argument("values are missing, which integers can't say");
  if (check(window, shape(), out.size())) readInto(window, {out.data(), Values::raw});
}

void SampleSource::read(const Window& window, std::span<double> out, Values values) const {
  if (check(window, shape(), out.size())) readInto(window, {out.data(), values});
}

void SampleSource::read(const Window& window, std::span<float> out, Values values) const {
  if (check(window, shape(), out.size())) readInto(window, {out.data(), values});
}

}  // namespace v1

void requireRange(const char* what, std::int64_t first, std::int64_t count, std::int64_t there) {
  if (first >= 0 && count >= 0 && first <= there && count <= there - first) return;
  throw std::out_of_range(std::string(what) + ": " + std::to_string(count) + " from " +
                          std::to_string(first) + " on are not within 0 to " + std::to_string(there - 1));
}

double timeOf(const Origin& from, std::int64_t sample, std::int64_t preTrigSamples, double sampleRate) {
  return static_cast<double>(from.firstSample + sample * from.step - preTrigSamples) / sampleRate;
}

void convert(std::span<const std::int32_t> samples, double /*gain*/, Values /*values*/, std::int32_t* out) {
  std::copy(samples.begin(), samples.end(), out);
}

void convert(std::span<const std::int32_t> samples, double gain, Values values, double* out) {
  if (values == Values::physical)
    divideEach(samples, gain, {out, samples.size()});
  else
    std::copy(samples.begin(), samples.end(), out);
}

void convert(std::span<const std::int32_t> samples, double gain, Values values, float* out) {
  const auto narrowed = [](auto value) { return static_cast<float>(value); };
  if (values == Values::raw) {
    std::transform(samples.begin(), samples.end(), out, narrowed);
    return;
  }
  std::array<double, 1024> some{};  // that stay in the processor's own memory
  for (std::size_t done = 0; done < samples.size(); done += some.size()) {
    const auto now = samples.subspan(done, std::min(some.size(), samples.size() - done));
    divideEach(now, gain, std::span(some).first(now.size()));
    std::transform(some.begin(), some.begin() + std::ssize(now), out + done, narrowed);
  }
}

namespace {

void readWhole(const File& file, std::uint64_t offset, std::span<std::int32_t> out) {
  if (file.readAt(offset, std::as_writable_bytes(out)) != out.size_bytes()) SampleSet::failChanged(file);
}

/// Reads a group of rows to their places in `out`, by way of `memory` where they need work; it is made, with
/// room for any group, when it is first needed.
template <class Value>
void readGroup(const RowGroup& group, const std::vector<Channel>& channels, Values values,
               std::unique_ptr<std::int32_t[]>& memory, Value* out) {
  const std::size_t count = group.bytes / sizeof(std::int32_t);
  if (!group.file) {
    for (const Row& row : group.rows)
      std::fill_n(out + row.place, row.count, std::numeric_limits<Value>::quiet_NaN());
    return;
  }
  if constexpr (std::is_same_v<Value, std::int32_t>)
    if (group.isOnePiece()) {
      const std::span whole(out + group.rows.front().place, count);
      readWhole(*group.file, group.offset, whole);
      return samplesToHostOrder(whole);
    }
  if (memory == nullptr) memory = std::make_unique_for_overwrite<std::int32_t[]>(kCachedSamples);
  const std::span stored(memory.get(), count);
  readWhole(*group.file, group.offset, stored);
  for (const Row& row : group.rows) {
    const auto first = static_cast<std::size_t>((row.offset - group.offset) / sizeof(std::int32_t));
    const auto samples = stored.subspan(first, static_cast<std::size_t>(row.count));
    for (std::size_t i = 1; row.step > 1 && i < samples.size(); ++i)
      samples[i] = stored[first + i * static_cast<std::size_t>(row.step)];
    samplesToHostOrder(samples);
    convert(samples, channels[static_cast<std::size_t>(row.channel)].gain, values, out + row.place);
  }
}

}  // namespace

FileSamples::FileSamples(std::shared_ptr<const void> owner, const SampleSet& set, Workers& workers,
                         std::vector<Channel> channels, Arrangement arrangement,
                         std::vector<Finding> warnings)
    : m_owner(std::move(owner)),
      m_set(set),
      m_workers(workers),
      m_channels(std::move(channels)),
      m_arrangement(std::move(arrangement)),
      m_shape{std::ssize(m_arrangement.trials), static_cast<int>(m_channels.size()), m_arrangement.samples},
      m_warnings(std::move(warnings)) {}

double FileSamples::sampleRate() const {
  return m_arrangement.sampleRate / static_cast<double>(m_arrangement.step);
}

const std::vector<Part>& FileSamples::parts(std::int64_t trial) const {
  requireRange("trials", trial, 1, m_shape.trials);
  return m_arrangement.trials[static_cast<std::size_t>(trial)];
}

Origin FileSamples::origin(std::int64_t trial) const {
  const auto all = pieces(trial);
  if (all.empty()) return {Part::kMissing, 0, m_arrangement.step};
  return {all.front().fileTrial, all.front().firstSample, m_arrangement.step};
}

std::vector<Piece> FileSamples::pieces(std::int64_t trial) const {
  std::vector<Piece> pieces;
  for (const Part& part : parts(trial)) {
    if (part.fileTrial == Part::kMissing) continue;
    const std::int64_t step = m_arrangement.step;
    const std::int64_t at = (part.at + step - 1) / step;
    if (at * step < part.at + part.samples && at < m_shape.samples)
      pieces.push_back({part.fileTrial, part.firstSample + at * step - part.at, at});
  }
  return pieces;
}

double FileSamples::time(std::int64_t trial, std::int64_t sample) const {
  const auto& all = parts(trial);
  requireRange("samples", sample, 1, m_shape.samples);
  const std::int64_t at = sample * m_arrangement.step;
  const auto after = std::upper_bound(all.begin(), all.end(), at,
                                      [](std::int64_t place, const Part& part) { return place < part.at; });
  const Part& part = *(after - 1);
  return (part.start + static_cast<double>(at - part.at)) / m_arrangement.sampleRate;
}

void FileSamples::readInto(const Window& window, const Target& target) const {
  WindowReading rows(m_set, m_channels, m_arrangement, window);
  const auto read = [&] {
    RowGroup group;
    std::unique_ptr<std::int32_t[]> memory;
    try {
      while (rows.next(group)) {
        StopCheck::ask();
        std::visit([&](auto* out) { readGroup(group, m_channels, target.values, memory, out); }, target.out);
      }
    } catch (...) {
      rows.stop();  // the others need not go on
      throw;
    }
  };
  readingFiles([&] {
    if (rows.bytes() < kWorthThreads && !m_set.store().waits())
      read();
    else
      m_workers.run(read);
  });
}

}  // namespace ctfmeg
