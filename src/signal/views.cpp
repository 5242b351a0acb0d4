#include "signal/views.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

namespace ctfmeg {
namespace {

constexpr std::int64_t kMostRead = 1 << 18;  // values of a baseline, or to be narrowed

/// Of the values of a channel's baseline.
using Sums = std::array<double, 4>;

/// Of so many channels that are read at once.
std::int64_t samplesAtOnce(int channels) { return std::max<std::int64_t>(kMostRead / channels, 1); }

/// Adds `count` values of each row, of which the first is the baseline's `begin`-th, to the row's sums: one
/// for each fourth value, so that a total is the same in whatever parts the values come.
void addRows(const double* values, std::int64_t begin, std::int64_t count, std::int64_t stride,
             std::vector<Sums>& sums) {
  for (Sums& each : sums) {
    Sums rotated{};
    for (std::size_t lane = 0; lane < each.size(); ++lane)
      rotated[lane] = each[(static_cast<std::size_t>(begin) + lane) % each.size()];
    std::int64_t i = 0;
    for (; i + 4 <= count; i += 4)
      for (std::size_t lane = 0; lane < 4; ++lane)
        rotated[lane] += values[i + static_cast<std::int64_t>(lane)];
    for (std::size_t lane = 0; i < count; ++i, ++lane)
      rotated[lane] += values[i];
    for (std::size_t lane = 0; lane < each.size(); ++lane)
      each[(static_cast<std::size_t>(begin) + lane) % each.size()] = rotated[lane];
    values += stride;
  }
}

double total(const Sums& sums) { return (sums[0] + sums[1]) + (sums[2] + sums[3]); }

}  // namespace

Views::Views(std::shared_ptr<const SampleSource> source, Layout layout, std::vector<Finding> warnings,
             int threads)
    : m_source(std::move(source)),
      m_layout(std::move(layout)),
      m_warnings(std::move(warnings)),
      m_workers(threads) {
  for (std::int64_t trial = 0; trial < m_source->shape().trials; ++trial)
    m_pieces.push_back(m_source->pieces(trial));
  constexpr std::int64_t kMostSums = 1 << 20;
  const std::int64_t sums = std::ssize(m_layout.starts) * m_source->shape().channels;
  if (m_layout.baseline && sums <= kMostSums) m_sums.resize(static_cast<std::size_t>(sums));
}

Shape Views::shape() const {
  return {std::ssize(m_layout.starts), m_source->shape().channels, m_layout.samples};
}

double Views::sampleRate() const { return m_source->sampleRate() / static_cast<double>(m_layout.step); }

const Views::Start& Views::start(std::int64_t trial) const {
  if (trial < 0 || trial >= std::ssize(m_layout.starts))
    throw std::out_of_range("trial " + std::to_string(trial) + " is not within 0 to " +
                            std::to_string(std::ssize(m_layout.starts) - 1));
  return m_layout.starts[static_cast<std::size_t>(trial)];
}

std::vector<Piece> Views::pieces(std::int64_t trial) const {
  const Start& from = start(trial);
  const auto& all = m_pieces[static_cast<std::size_t>(from.trial)];
  const std::int64_t step = m_layout.step, fileStep = m_source->origin(from.trial).step;
  std::vector<Piece> pieces;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const std::int64_t end = i + 1 < all.size() ? all[i + 1].at : m_source->shape().samples;
    const std::int64_t begin = std::max(all[i].at, from.sample) - from.sample;
    const std::int64_t at = (begin + step - 1) / step;  // the first sample that is kept
    const std::int64_t place = from.sample + at * step;
    if (at < m_layout.samples && place < end)
      pieces.push_back({all[i].fileTrial, all[i].firstSample + (place - all[i].at) * fileStep, at});
  }
  return pieces;
}

Origin Views::origin(std::int64_t trial) const {
  const auto all = pieces(trial);
  Origin origin = m_source->origin(start(trial).trial);
  origin.step *= m_layout.step;
  origin.fileTrial = all.empty() ? -1 : all.front().fileTrial;
  origin.firstSample = all.empty() ? 0 : all.front().firstSample;
  return origin;
}

std::vector<Gap> Views::gaps() const { return m_layout.from ? std::vector<Gap>() : m_source->gaps(); }

double Views::time(std::int64_t trial, std::int64_t sample) const {
  const Start& from = start(trial);
  if (sample < 0 || sample >= m_layout.samples)
    throw std::out_of_range("sample " + std::to_string(sample) + " is not within 0 to " +
                            std::to_string(m_layout.samples - 1));
  const std::int64_t place = sample * m_layout.step;
  if (m_layout.from) return *m_layout.from + static_cast<double>(place) / m_source->sampleRate();
  return m_source->time(from.trial, from.sample + place);
}

Window Views::windowOf(std::int64_t trial, const Window& window) const {
  const Start& from = start(trial);
  Window there = window;
  there.trial = from.trial;
  there.trials = 1;
  there.first = from.sample + window.first * m_layout.step;
  there.step = window.step * m_layout.step;
  return there;
}

std::vector<double> Views::baselines(std::int64_t trial, int channel, int channels) const {
  const std::size_t place =
      static_cast<std::size_t>(trial) * m_source->channels().size() + static_cast<std::size_t>(channel);
  {
    const std::lock_guard lock(m_mutex);
    std::vector<double> known;
    for (std::size_t i = place;
         i < place + static_cast<std::size_t>(channels) && i < m_sums.size() && m_sums[i]; ++i)
      known.push_back(*m_sums[i]);
    if (std::ssize(known) == channels) return known;
  }
  std::vector<double> sums = sumBaselines(trial, channel, channels);
  const std::lock_guard lock(m_mutex);
  if (!m_sums.empty())
    std::copy(sums.begin(), sums.end(), m_sums.begin() + static_cast<std::ptrdiff_t>(place));
  return sums;
}

std::vector<double> Views::sumBaselines(std::int64_t trial, int channel, int channels) const {
  const auto [first, last] = *m_layout.baseline;
  const std::int64_t all = last - first + 1;
  std::vector<Sums> sums(static_cast<std::size_t>(channels));
  std::vector<double> values;
  for (std::int64_t done = 0; done < all;) {
    const std::int64_t count = std::min(all - done, samplesAtOnce(channels));
    values.resize(static_cast<std::size_t>(count) * sums.size());
    const Window part{.channel = channel, .channels = channels, .first = first + done, .samples = count};
    m_source->read(windowOf(trial, part), std::span(values));
    addRows(values.data(), done, count, count, sums);
    done += count;
  }
  std::vector<double> totals(sums.size());
  std::transform(sums.begin(), sums.end(), totals.begin(), total);
  return totals;
}

void Views::readLess(const Window& window, double* out) const {
  const auto [first, last] = *m_layout.baseline;
  const std::int64_t length = last - first + 1;
  m_source->read(windowOf(window.trial, window),
                 std::span(out, static_cast<std::size_t>(window.channels * window.samples)));
  std::vector<double> totals;
  if (window.step == 1 && window.first <= first && last < window.first + window.samples) {
    std::vector<Sums> sums(static_cast<std::size_t>(window.channels));
    addRows(out + (first - window.first), 0, length, window.samples, sums);
    totals.resize(sums.size());
    std::transform(sums.begin(), sums.end(), totals.begin(), total);
  } else {
    totals = baselines(window.trial, window.channel, window.channels);
  }
  for (const double sum : totals) {
    const double mean = sum / static_cast<double>(length);
    for (std::int64_t i = 0; i < window.samples; ++i)
      *out++ -= mean;
  }
}

void Views::readLess(const Window& window, float* out) const {
  std::vector<double> values;
  for (std::int64_t done = 0; done < window.samples;) {
    Window part = window;
    part.first += done * window.step;
    part.samples = std::min(window.samples - done, samplesAtOnce(window.channels));
    values.resize(static_cast<std::size_t>(part.channels * part.samples));
    readLess(part, values.data());
    for (std::int64_t c = 0; c < part.channels; ++c)
      std::transform(values.begin() + c * part.samples, values.begin() + (c + 1) * part.samples,
                     out + c * window.samples + done, [](double value) { return static_cast<float>(value); });
    done += part.samples;
  }
}

template <class Value>
void Views::readAllLess(const Window& window, Value* out) const {
  // Channels whose values stay in the processor's own memory until the mean is subtracted, and not so few
  // that those which each of them needs beside it are read many times.
  constexpr std::int64_t kValuesInCache = 1 << 16, kFewest = 32;
  const std::int64_t most =
      std::min<std::int64_t>(std::max(kValuesInCache / window.samples, kFewest), window.channels);
  const std::int64_t parts = (window.channels + most - 1) / most;
  struct Nothing {};
  shareOut<Nothing>(m_workers, window.trials * parts, [&](std::int64_t i, Nothing&) {
    const std::int64_t trial = i / parts, first = i % parts * most;
    Window part = window;
    part.trial += trial;
    part.trials = 1;
    part.channel += static_cast<int>(first);
    part.channels = static_cast<int>(std::min(most, window.channels - first));
    readLess(part, out + (trial * window.channels + first) * window.samples);
  });
}

void Views::readInto(const Window& window, const Target& target) const {
  if (m_layout.baseline && target.values != Values::physical)
    throw std::invalid_argument("values less a baseline are physical: there are no raw ones");
  const std::int64_t size = window.channels * window.samples;
  std::visit(
      [&](auto* out) {
        using Value = std::remove_pointer_t<decltype(out)>;
        if constexpr (!std::is_same_v<Value, std::int32_t>)
          if (m_layout.baseline) return readAllLess(window, out);
        for (std::int64_t i = 0; i < window.trials; ++i, out += size) {
          const Window there = windowOf(window.trial + i, window);
          const std::span part(out, static_cast<std::size_t>(size));
          if constexpr (std::is_same_v<Value, std::int32_t>)
            m_source->read(there, part);
          else
            m_source->read(there, part, target.values);
        }
      },
      target.out);
}

}  // namespace ctfmeg
