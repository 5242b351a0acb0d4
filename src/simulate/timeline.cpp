#include "simulate/timeline.h"

#include <algorithm>
#include <cmath>

namespace ctfmeg::simulate {

Timeline::Timeline(const Options& options) : m_options(options) {
  m_firsts.resize(static_cast<std::size_t>(options.trials));
  for (const Pause& pause : options.pauses)
    if (pause.afterTrial + 1 < options.trials)
      m_firsts[static_cast<std::size_t>(pause.afterTrial) + 1] = pause.samples(options.rate);
  std::int64_t first = 0;
  for (std::int64_t& trial : m_firsts) {
    first += trial;  // the pause before it
    trial = first;
    first += options.samples;
  }
}

int Timeline::trialAt(std::int64_t sample) const {
  const auto after = std::upper_bound(m_firsts.begin(), m_firsts.end(), sample);
  if (after == m_firsts.begin() || sample - *(after - 1) >= m_options.samples) return -1;
  return static_cast<int>(after - m_firsts.begin()) - 1;
}

Triggers::Triggers(const Options& options, const Timeline& timeline, Random& random)
    : m_options(options), m_timeline(timeline) {
  if (!options.continuous) return;
  for (int trial = 0; trial < options.trials; ++trial)
    m_known.push_back(next(timeline.triggerSample(trial), random));
}

Trigger Triggers::next(std::int64_t sample, Random& random) {
  constexpr double kResponseVariation = 0.1;
  return {sample, 1 + kResponseVariation * random.normal()};
}

void Triggers::beginTrial(int trial, Random& random) {
  if (!m_options.continuous) m_known = {next(m_timeline.triggerSample(trial), random)};
}

std::span<const Trigger> Triggers::between(std::int64_t first, std::int64_t end) const {
  if (!m_options.continuous) return m_known;
  const auto response =
      static_cast<std::int64_t>(std::min(std::ceil(kResponseSeconds * m_options.rate), 0x1p40));
  const auto before = [](const Trigger& trigger, std::int64_t sample) { return trigger.sample < sample; };
  const auto from = std::lower_bound(m_known.begin(), m_known.end(), first - response, before);
  return {from, std::lower_bound(from, m_known.end(), end, before)};
}

}  // namespace ctfmeg::simulate
