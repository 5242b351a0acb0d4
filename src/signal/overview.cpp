#include <ctfmeg/overview.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <string>

#include "base/threads.h"
#include "recording/sample_sources.h"
#include "signal/extremes.h"
#include "signal/extremes_cache.h"

namespace ctfmeg {
inline namespace v1 {
namespace {

/// Where pixels begin among samples, of which there are more.
class Pixels {
 public:
  Pixels(std::int64_t samples, std::int64_t width) : m_samples(samples), m_width(width) {}

  /// floor(pixel x samples / width)
  std::int64_t begin(std::int64_t pixel) const {
    return pixel * (m_samples / m_width) + pixel * (m_samples % m_width) / m_width;
  }
  std::int64_t at(std::int64_t sample) const {
    auto pixel = static_cast<std::int64_t>(static_cast<double>(sample) * m_perSample);  // or the next to it
    while (begin(pixel) > sample)
      --pixel;
    while (begin(pixel + 1) <= sample)
      ++pixel;
    return pixel;
  }

 private:
  std::int64_t m_samples, m_width;
  double m_perSample = static_cast<double>(m_width) / static_cast<double>(m_samples);
};

constexpr std::int64_t kDrawnAtOnce = 1 << 18;     // that a thread reads
constexpr std::int64_t kFewestChannels = 32;       // that are read together, if there are as many
constexpr std::int64_t kDrawnByThreads = 1 << 17;  // values

/// A chunk of some channels, of which samples `begin` to `end` - 1 are drawn.
struct ChunkPart {
  ChunkPlace place;
  std::int64_t base = 0;  ///< the chunk's first sample
  std::int64_t begin = 0, end = 0;
  std::int64_t firstPixel = 0, pixels = 0;
  BlockSet drawn = 0;                                ///< at least partly
  BlockSet whole = 0;                                ///< all samples are drawn
  BlockSet inOne = 0;                                ///< those of them that are within one pixel
  std::array<std::int64_t, kChunkBlocks> pixelOf{};  ///< in which each block begins
  std::vector<ExtremesChunk> chunks{};
  std::vector<Extremes> out{};  ///< `pixels` for each channel

  BlockSet missing(int channel) const {
    return drawn & ~(inOne & chunks[static_cast<std::size_t>(channel)].known);
  }
  Extremes& pixel(int channel, std::int64_t number) {
    return out[static_cast<std::size_t>(channel * pixels + number - firstPixel)];
  }
};

/// One window in so many pixels, drawn chunk by chunk by all who call `work`.
class Drawing {
 public:
  Drawing(const SampleSource& source, ExtremesCache& cache, const Window& window, int width)
      : m_source(source),
        m_cache(cache),
        m_window(window),
        m_end(window.first + window.samples),
        m_length(source.shape().samples),
        m_width(width),
        m_pixels(window.samples, width),
        m_firstChunk(window.first / kChunkSamples),
        m_chunks((m_end - 1) / kChunkSamples + 1 - m_firstChunk),
        m_channelsAtOnce(static_cast<int>(
            std::max(kFewestChannels, kDrawnAtOnce / std::min(window.samples, kChunkSamples)))),
        m_groups((window.channels + m_channelsAtOnce - 1) / m_channelsAtOnce),
        m_out(static_cast<std::size_t>(window.trials * window.channels * width), kNoExtremes) {}

  void work() {
    const std::int64_t all = m_window.trials * m_groups * m_chunks;
    std::vector<double> room;
    try {
      for (std::int64_t i = 0; (i = m_next++) < all;) {
        const int first = static_cast<int>(i / m_chunks % m_groups) * m_channelsAtOnce;
        draw({m_window.trial + i / m_chunks / m_groups, m_window.channel + first,
              std::min(m_channelsAtOnce, m_window.channels - first), m_firstChunk + i % m_chunks},
             room);
      }
    } catch (...) {
      m_next = all;  // the others need not go on
      throw;
    }
  }

  std::vector<Extremes> take() { return std::move(m_out); }

 private:
  void draw(const ChunkPlace& place, std::vector<double>& room) {
    ChunkPart part = partAt(place);
    for (int c = 0; c < place.channels; ++c)
      addKept(part, c);
    for (int c = 0, end = 0; c < place.channels; c = end) {  // those that lack the same are read together
      const BlockSet missing = part.missing(c);
      for (end = c + 1; end < place.channels && part.missing(end) == missing;)
        ++end;
      const std::int64_t most = std::max<std::int64_t>(kDrawnAtOnce / kOverviewBlock / (end - c), 1);
      for (std::int64_t from = 0, to = 0; from < kChunkBlocks; from = to) {
        for (to = from; to < kChunkBlocks && to - from < most && (missing & only(to)) != 0;)
          ++to;
        if (to > from)
          readBlocks(part, c, end, from, to, room);
        else
          ++to;
      }
    }
    m_cache.add(place, part.chunks);
    const std::lock_guard lock(m_mutex);
    for (int c = 0; c < place.channels; ++c)
      for (std::int64_t pixel = part.firstPixel; pixel < part.firstPixel + part.pixels; ++pixel) {
        const std::int64_t row =
            (place.trial - m_window.trial) * m_window.channels + place.channel - m_window.channel + c;
        widen(m_out[static_cast<std::size_t>(row * m_width + pixel)], part.pixel(c, pixel));
      }
  }

  ChunkPart partAt(const ChunkPlace& place) const {
    ChunkPart part{.place = place, .base = place.chunk * kChunkSamples};
    part.begin = std::max(m_window.first, part.base);
    part.end = std::min(m_end, part.base + kChunkSamples);
    part.firstPixel = m_pixels.at(part.begin - m_window.first);
    part.pixels = m_pixels.at(part.end - 1 - m_window.first) + 1 - part.firstPixel;
    std::int64_t pixel = part.firstPixel, pixelEnd = endOf(pixel);
    for (std::int64_t block = (part.begin - part.base) / kOverviewBlock;
         part.base + block * kOverviewBlock < part.end; ++block) {
      const std::int64_t begin = part.base + block * kOverviewBlock;
      const std::int64_t end = std::min(begin + kOverviewBlock, m_length);
      while (pixelEnd <= begin)
        pixelEnd = endOf(++pixel);
      part.pixelOf[static_cast<std::size_t>(block)] = pixel;
      part.drawn |= only(block);
      if (begin < part.begin || end > part.end) continue;
      part.whole |= only(block);
      if (end <= pixelEnd) part.inOne |= only(block);
    }
    part.chunks = m_cache.find(place);
    for (ExtremesChunk& chunk : part.chunks)
      chunk.known &= part.whole;  // of others a part is read, which says nothing about the whole
    part.out.assign(static_cast<std::size_t>(place.channels * part.pixels), kNoExtremes);
    return part;
  }

  void addKept(ChunkPart& part, int channel) const {
    const BlockSet kept = part.drawn & ~part.missing(channel);
    const ExtremesChunk& chunk = part.chunks[static_cast<std::size_t>(channel)];
    for (std::size_t block = 0; block < kChunkBlocks; ++block)
      if ((kept & only(static_cast<std::int64_t>(block))) != 0)
        widen(part.pixel(channel, part.pixelOf[block]), chunk.blocks[block]);
  }

  /// Reads what is drawn of blocks `from` to `to` - 1 of channels `first` to `last` - 1.
  void readBlocks(ChunkPart& part, int first, int last, std::int64_t from, std::int64_t to,
                  std::vector<double>& room) const {
    Window window{part.place.trial, 1, part.place.channel + first, last - first};
    window.first = std::max(part.begin, part.base + from * kOverviewBlock);
    window.samples = std::min(part.end, part.base + to * kOverviewBlock) - window.first;
    room.resize(static_cast<std::size_t>(window.channels * window.samples));
    m_source.read(window, room);
    const double* values = room.data();
    for (int c = first; c < last; ++c) {
      ExtremesChunk& chunk = part.chunks[static_cast<std::size_t>(c)];
      std::fill(chunk.blocks.begin() + from, chunk.blocks.begin() + to, kNoExtremes);
      chunk.known |= part.whole & ~(only(from) - 1) & (only(to - 1) | (only(to - 1) - 1));
      std::int64_t pixel = m_pixels.at(window.first - m_window.first), pixelEnd = endOf(pixel);
      for (std::int64_t at = window.first, end = 0; at < window.first + window.samples; at = end) {
        if (pixelEnd <= at) pixelEnd = endOf(++pixel);
        const std::int64_t block = (at - part.base) / kOverviewBlock;
        end = std::min({part.base + (block + 1) * kOverviewBlock, pixelEnd, window.first + window.samples});
        const Extremes extremes = extremesOf(values, end - at);
        values += end - at;
        widen(chunk.blocks[static_cast<std::size_t>(block)], extremes);
        widen(part.pixel(c, pixel), extremes);
      }
    }
  }

  /// The sample after a pixel's last one.
  std::int64_t endOf(std::int64_t pixel) const { return m_window.first + m_pixels.begin(pixel + 1); }

  const SampleSource& m_source;
  ExtremesCache& m_cache;
  Window m_window;
  std::int64_t m_end, m_length, m_width;
  Pixels m_pixels;
  std::int64_t m_firstChunk, m_chunks;
  int m_channelsAtOnce;
  std::int64_t m_groups;
  std::vector<Extremes> m_out;
  std::mutex m_mutex;  // for `m_out`
  std::atomic<std::int64_t> m_next = 0;
};

/// For windows of no more samples than pixels.
std::vector<Extremes> drawSteps(const SampleSource& source, const Window& window, int width) {
  std::vector<double> values(static_cast<std::size_t>(window.trials * window.channels * window.samples));
  source.read(window, values);
  std::vector<Extremes> out;
  out.reserve(static_cast<std::size_t>(window.trials * window.channels * width));
  for (auto row = values.begin(); row != values.end(); row += window.samples)
    for (std::int64_t pixel = 0; pixel < width; ++pixel) {
      const double value = row[pixel * window.samples / width];
      out.push_back({value, value});
    }
  return out;
}

void requireWindow(const Window& window, int width, const Shape& shape) {
  requireRange("trials", window.trial, window.trials, shape.trials);
  requireRange("channels", window.channel, window.channels, shape.channels);
  requireRange("samples", window.first, window.samples, shape.samples);
  if (window.step != 1 || width < 1)
    throw std::invalid_argument("a width of " + std::to_string(width) + " and a step of " +
                                std::to_string(window.step) + " can't be drawn");
}

}  // namespace

struct Overview::State {
  State(std::shared_ptr<const SampleSource> from, std::size_t cacheBytes, int threads)
      : source(std::move(from)), cache(cacheBytes), workers(threads) {}

  std::shared_ptr<const SampleSource> source;
  ExtremesCache cache;
  Workers workers;
};

Overview::Overview(std::shared_ptr<const SampleSource> source, std::size_t cacheBytes, int threads)
    : m_state(std::make_unique<State>(std::move(source), cacheBytes, threads)) {}

Overview::~Overview() = default;

std::vector<Extremes> Overview::extremes(const Window& window, int width) const {
  requireWindow(window, width, m_state->source->shape());
  const std::int64_t rows = window.trials * window.channels;
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  if (rows == 0 || window.samples == 0)
    return std::vector<Extremes>(static_cast<std::size_t>(rows * width), {kNone, kNone});
  if (window.samples <= width) return drawSteps(*m_state->source, window, width);
  Drawing drawing(*m_state->source, m_state->cache, window, width);
  if (rows * window.samples < kDrawnByThreads)
    drawing.work();
  else
    m_state->workers.run([&] { drawing.work(); });
  std::vector<Extremes> all = drawing.take();
  for (Extremes& extremes : all)
    if (extremes.min > extremes.max) extremes = {kNone, kNone};
  return all;
}

}  // namespace v1
}  // namespace ctfmeg
