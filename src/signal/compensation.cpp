#include "recording/compensation.h"

#include <ctfmeg/compensation.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "base/threads.h"
#include "recording/selection.h"
#include "signal/weighted_sum.h"
#include "signal/wrapped.h"

namespace ctfmeg {
inline namespace v1 {
namespace {

/// The weights of references in the recording's sensors.
class Weights {
 public:
  explicit Weights(const Recording& recording)
      : m_file(recording.resourceFile()), m_coefficients(recording.channels(), recording.coefficients()) {}

  std::vector<ReferenceWeight> of(const Channel& sensor, int order) const {
    if (order == 0) return {};
    const std::string type = coefficientTypeName(coefficientTypeOf(order));
    const CoefficientRecord* record = m_coefficients.find(sensor, order);
    if (record == nullptr) throw refused("has no " + type + " coefficients for " + sensor.name);
    std::vector<ReferenceWeight> weights;
    for (const auto& [name, value] : record->references) {
      const Channel* reference = m_coefficients.reference(name);
      if (reference == nullptr) throw noReference(name, type, sensor);
      const double tesla = value * properGainOf(*reference) / properGainOf(sensor);
      if (!std::isfinite(tesla)) throw noCoefficient(name, type, sensor);
      weights.push_back({reference->index, value, tesla});
    }
    return weights;
  }

  /// What is subtracted from stored values to have those of `order`, by place of the reference.
  std::map<int, double> change(const Channel& sensor, int order) const {
    const std::int32_t stored = sensor.gradientOrder;
    if (stored < 0 || stored > kHighestOrder)
      throw refused("has " + sensor.name + " in gradient order " + std::to_string(stored) +
                    ", which is none of 0 to " + std::to_string(kHighestOrder));
    std::map<int, double> change;
    if (stored == order) return change;
    for (const ReferenceWeight& weight : of(sensor, order))
      change[weight.reference] += weight.tesla;
    for (const ReferenceWeight& weight : of(sensor, stored))
      change[weight.reference] -= weight.tesla;
    return change;
  }

 private:
  Error refused(const std::string& text) const { return {ErrorKind::refused, m_file, text}; }

  Error noReference(const std::string& name, const std::string& type, const Channel& sensor) const {
    return refused("has no reference " + name + ", which the " + type + " coefficients for " + sensor.name +
                   " are for");
  }

  Error noCoefficient(const std::string& name, const std::string& type, const Channel& sensor) const {
    return refused("gives " + sensor.name + " no usable " + type + " coefficient for " + name);
  }

  double properGainOf(const Channel& channel) const {
    const double gain = channel.properGain * channel.qGain * channel.ioGain;
    if (!std::isfinite(gain) || gain == 0.0)
      throw refused("has no gain for " + channel.name + ", which compensation needs");
    return channel.properGain;
  }

  const std::filesystem::path& m_file;
  Coefficients m_coefficients;
};

void requireOrder(int order) {
  if (order < 0 || order > kHighestOrder)
    throw std::invalid_argument("gradient order " + std::to_string(order) + " is none of 0 to " +
                                std::to_string(kHighestOrder));
}

const Channel& channelAt(const Recording& recording, int place) {
  return recording.channels()[static_cast<std::size_t>(place)];
}

/// A channel of the result: one that is stored, less references, all by their places in the stored source.
struct Output {
  int place = 0;
  std::vector<WeightedTile> references{};
};

/// What a window needs of the stored source, and where it is once it is read.
struct Reading {
  std::vector<int> references{};  ///< places, rising
  std::vector<Output> outputs{};  ///< of the window's channels; `tile` counts in `references`
  /// For each of them its place in `references`, or -1.
  std::vector<std::ptrdiff_t> shared{};
};

/// Memory of one thread.
struct Rows {
  std::vector<double> values;
  std::vector<SampleTile> tiles;  // of all references, and then the next samples of all
};

constexpr std::int64_t kTile = SampleTile::kSamples;
constexpr std::int64_t kCompensatedAtOnce = 2048;   // of a channel
constexpr std::int64_t kValuesAtOnce = 1 << 15;     // of several, beside references
constexpr std::int64_t kReferenceValues = 1 << 16;  // of all references

class CompensatedSamples : public WrappedSource {
 public:
  CompensatedSamples(std::shared_ptr<const SampleSource> stored, std::vector<Output> outputs,
                     std::vector<Channel> channels, int threads)
      : WrappedSource(std::move(stored)),
        m_outputs(std::move(outputs)),
        m_channels(std::move(channels)),
        m_workers(threads) {}

  Shape shape() const override {
    const Shape stored = source().shape();
    return {stored.trials, static_cast<int>(m_channels.size()), stored.samples};
  }
  const std::vector<Channel>& channels() const override { return m_channels; }

 protected:
  void readInto(const Window& window, const Target& target) const override {
    if (target.values != Values::physical)
      throw std::invalid_argument("compensated values are physical: there are no raw ones");
    std::visit(
        [&](auto* out) {
          if constexpr (std::is_floating_point_v<std::remove_pointer_t<decltype(out)>>) readAll(window, out);
        },
        target.out);
  }

 private:
  Reading readingOf(const Window& window) const {
    Reading reading;
    std::vector<std::ptrdiff_t> rows(static_cast<std::size_t>(source().shape().channels), -1);
    const auto first = m_outputs.begin() + window.channel;
    reading.outputs.assign(first, first + window.channels);
    for (const Output& output : reading.outputs)
      for (const WeightedTile& reference : output.references)
        rows[reference.tile] = 0;
    for (std::size_t place = 0; place < rows.size(); ++place)
      if (rows[place] == 0) {
        rows[place] = std::ssize(reading.references);
        reading.references.push_back(static_cast<int>(place));
      }
    for (Output& output : reading.outputs) {
      for (WeightedTile& reference : output.references)
        reference.tile = static_cast<std::size_t>(rows[reference.tile]);
      reading.shared.push_back(rows[static_cast<std::size_t>(output.place)]);
    }
    return reading;
  }

  template <class Value>
  void readAll(const Window& window, Value* out) const {
    const Reading reading = readingOf(window);
    const std::int64_t most = std::clamp<std::int64_t>(
        kReferenceValues / std::max<std::int64_t>(std::ssize(reading.references), 1), 1, kCompensatedAtOnce);
    const std::int64_t perTrial = (window.samples + most - 1) / most;
    shareOut<Rows>(m_workers, perTrial * window.trials, [&](std::int64_t i, Rows& rows) {
      Window part = window;
      const std::int64_t trial = i / perTrial, done = i % perTrial * most;
      part.trial += trial;
      part.trials = 1;
      part.first += done * window.step;
      part.samples = std::min(most, window.samples - done);
      readPart(part, reading, rows, out + trial * window.channels * window.samples + done, window.samples);
    });
  }

  /// Reads a part of one trial; a channel's values begin `stride` after those of the one before.
  template <class Value>
  void readPart(const Window& part, const Reading& reading, Rows& rows, Value* out,
                std::int64_t stride) const {
    const std::size_t references = reading.references.size();
    readReferences(part, reading.references, rows);
    const auto atOnce =
        static_cast<int>(std::clamp<std::int64_t>(kValuesAtOnce / part.samples, 1, part.channels));
    for (int first = 0; first < part.channels; first += atOnce) {
      const int end = std::min(first + atOnce, part.channels);
      std::vector<int> places;
      for (int c = first; c < end; ++c)
        if (reading.shared[static_cast<std::size_t>(c)] < 0)
          places.push_back(reading.outputs[static_cast<std::size_t>(c)].place);
      readPlaces(part, places, rows.values);
      for (std::int64_t from = 0; from < part.samples; from += kTile) {
        const std::int64_t count = std::min(kTile, part.samples - from);
        const auto tiles =
            std::span(rows.tiles).subspan(static_cast<std::size_t>(from / kTile) * references, references);
        const double* own = rows.values.data() + from;
        for (int c = first; c < end; ++c) {
          const Output& output = reading.outputs[static_cast<std::size_t>(c)];
          const std::ptrdiff_t shared = reading.shared[static_cast<std::size_t>(c)];
          const double* values = own;
          if (shared < 0)
            own += part.samples;
          else
            values = tiles[static_cast<std::size_t>(shared)].samples.data();
          subtract(values, tiles, output.references, count, out + c * stride + from);
        }
      }
    }
  }

  void readReferences(const Window& part, const std::vector<int>& references, Rows& rows) const {
    readPlaces(part, references, rows.values);
    const std::size_t tiles =
        static_cast<std::size_t>((part.samples + kTile - 1) / kTile) * references.size();
    if (rows.tiles.size() < tiles) rows.tiles.resize(tiles);
    auto tile = rows.tiles.begin();
    for (std::int64_t from = 0; from < part.samples; from += kTile)
      for (std::int64_t r = 0; r < std::ssize(references); ++r)
        std::copy_n(rows.values.data() + r * part.samples + from, std::min(kTile, part.samples - from),
                    (tile++)->samples.data());
  }

  static void subtract(const double* values, std::span<const SampleTile> tiles,
                       std::span<const WeightedTile> weights, std::int64_t count, double* out) {
    subtractTiles(values, tiles, weights, static_cast<std::size_t>(count), out);
  }

  static void subtract(const double* values, std::span<const SampleTile> tiles,
                       std::span<const WeightedTile> weights, std::int64_t count, float* out) {
    std::array<double, SampleTile::kSamples> sums;
    subtract(values, tiles, weights, count, sums.data());
    std::transform(sums.begin(), sums.begin() + count, out,
                   [](double sum) { return static_cast<float>(sum); });
  }

  /// Reads stored channels, one after another; those that adjoin at once.
  void readPlaces(Window part, const std::vector<int>& places, std::vector<double>& values) const {
    const auto samples = static_cast<std::size_t>(part.samples);
    values.resize(std::max(values.size(), places.size() * samples));
    for (std::size_t first = 0, end = 0; first < places.size(); first = end) {
      for (end = first + 1; end < places.size() && places[end] == places[end - 1] + 1;)
        ++end;
      part.channel = places[first];
      part.channels = static_cast<int>(end - first);
      source().read(part, std::span(values).subspan(first * samples, (end - first) * samples));
    }
  }

  std::vector<Output> m_outputs;
  std::vector<Channel> m_channels;
  mutable Workers m_workers;
};

}  // namespace

std::vector<SensorWeights> compensationWeights(const Recording& recording, int order,
                                               const Selection& selection) {
  requireOrder(order);
  const Weights weights(recording);
  std::vector<SensorWeights> all;
  for (const int place : recording.chosenChannels(selection))
    if (const Channel& channel = channelAt(recording, place); isMeg(channel))
      all.push_back({place, weights.of(channel, order)});
  return all;
}

std::shared_ptr<const SampleSource> compensated(const Recording& recording, const Selection& selection,
                                                int order, int threads) {
  requireOrder(order);
  std::vector<int> chosen = recording.chosenChannels(selection);
  if (selection.partial == Partial::drop) {  // not all of them may be left
    const auto left = recording.samples(selection);
    chosen.clear();
    for (const Channel& channel : left->channels())
      chosen.push_back(channel.index);
  }
  const Weights weights(recording);
  std::map<int, std::map<int, double>> changes;  // of each chosen channel
  std::vector<int> needed = chosen;
  for (const int place : chosen) {
    auto& change = changes[place];
    if (const Channel& channel = channelAt(recording, place); isMeg(channel))
      change = weights.change(channel, order);
    for (const auto& [reference, weight] : change)
      needed.push_back(reference);
  }
  std::sort(needed.begin(), needed.end());
  needed.erase(std::unique(needed.begin(), needed.end()), needed.end());

  auto stored = samplesOfChannels(recording, selection, std::move(needed));
  std::map<int, int> places;  // in the stored source
  for (const Channel& channel : stored->channels())
    places.emplace(channel.index, static_cast<int>(places.size()));
  std::vector<Output> outputs;
  std::vector<Channel> channels;
  for (const auto& [place, change] : changes) {
    channels.push_back(channelAt(recording, place));
    if (isMeg(channels.back())) channels.back().gradientOrder = order;
    Output output{places.at(place), {}};
    for (const auto& [reference, weight] : change) {
      const auto found = places.find(reference);
      if (found == places.end())
        throw Error(ErrorKind::refused, recording.resourceFile(),
                    "has no whole last trial of " + channelAt(recording, reference).name + ", which " +
                        channels.back().name + " needs to be compensated");
      output.references.push_back({static_cast<std::size_t>(found->second), weight});
    }
    outputs.push_back(std::move(output));
  }
  return std::make_shared<CompensatedSamples>(std::move(stored), std::move(outputs), std::move(channels),
                                              threads);
}

}  // namespace v1
}  // namespace ctfmeg
