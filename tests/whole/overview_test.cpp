#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <thread>

#include "recording/open_recording.h"
#include "support/test_store.h"

#include <ctfmeg/overview.h>

namespace {

using namespace ctfmeg;

/// Values that are computed; those of channel 1 are missing now and then, and of channel 2 always.
class Waves : public SampleSource {
 public:
  static double valueOf(std::int64_t trial, int channel, std::int64_t sample) {
    if (channel == 2 || (channel == 1 && sample / 700 % 3 == 0)) return std::nan("");
    return std::sin(static_cast<double>((sample + trial) * 7919 % 1'000'003)) - 2.0 * channel;
  }

  Shape shape() const override { return {2, 3, 300'500}; }
  const std::vector<Channel>& channels() const override { return m_channels; }
  double sampleRate() const override { return 1200.0; }
  Origin origin(std::int64_t /*trial*/) const override { return {}; }
  double time(std::int64_t /*trial*/, std::int64_t /*sample*/) const override { return 0.0; }
  bool hasMissing() const override { return true; }

 protected:
  void readInto(const Window& window, const Target& target) const override {
    double* out = std::get<double*>(target.out);
    for (std::int64_t t = 0; t < window.trials; ++t)
      for (int c = 0; c < window.channels; ++c)
        for (std::int64_t s = 0; s < window.samples; ++s)
          *out++ = valueOf(window.trial + t, window.channel + c, window.first + s);
  }

 private:
  std::vector<Channel> m_channels = std::vector<Channel>(3);
};

/// How many pixels are not what a walk over all samples finds.
int wrongPixels(const Overview& overview, const Window& window, int width) {
  const auto pixels = overview.extremes(window, width);
  EXPECT_EQ(std::ssize(pixels), window.trials * window.channels * width);
  int wrong = 0;
  auto pixel = pixels.begin();
  for (std::int64_t t = 0; t < window.trials; ++t)
    for (int c = 0; c < window.channels; ++c)
      for (std::int64_t p = 0; p < width; ++p, ++pixel) {
        const std::int64_t begin = p * window.samples / width;
        const std::int64_t end = std::max((p + 1) * window.samples / width, begin + 1);
        double min = std::nan(""), max = min;
        for (std::int64_t s = begin; s < end; ++s) {
          const double value = Waves::valueOf(window.trial + t, window.channel + c, window.first + s);
          min = std::fmin(min, value);
          max = std::fmax(max, value);
        }
        const auto same = [](double a, double b) { return a == b || (std::isnan(a) && std::isnan(b)); };
        wrong += same(pixel->min, min) && same(pixel->max, max) ? 0 : 1;
      }
  return wrong;
}

TEST(Overview, HasTheExtremesOfEachPixel) {
  const auto source = std::make_shared<Waves>();
  const Overview overview(source), forgetful(source, 2000), one(source, 0, 1);
  const Window all{0, 2, 0, 3, 0, 300'500};
  std::vector<std::pair<Window, int>> cases{
      {all, 1000},  // a block has several pixels' borders or none
      {all, 7},     // pixels of several chunks
      {{1, 1, 1, 1, 12'345, 250'000}, 100},
      {{1, 1, 0, 2, 299'000, 1500}, 3},  // blocks of which the last one is short
      {{0, 2, 0, 3, 640, 50}, 50},
      {{0, 1, 1, 1, 690, 20}, 77},  // fewer samples than pixels
      {{0, 1, 0, 3, 5, 1}, 4},
      {{0, 1, 0, 1, 4095, 2050}, 2049},
  };
  for (std::int64_t first = 0; first < 290'000; first += 9'700)
    cases.push_back({{0, 1, 0, 3, first, 9'000}, 3});
  cases.push_back({all, 100});
  for (int times = 0; times < 2; ++times)
    for (const auto& [window, width] : cases)
      for (const Overview* drawn : {&overview, &forgetful, &one})
        ASSERT_EQ(wrongPixels(*drawn, window, width), 0) << width << " pixels, time " << times;
  EXPECT_TRUE(std::isnan(overview.extremes({.samples = 0}, 2)[1].max));
  EXPECT_THROW(overview.extremes({.first = 300'000, .samples = 501}, 2), std::out_of_range);
  EXPECT_THROW(overview.extremes({.samples = 10, .step = 2}, 2), std::invalid_argument);
  EXPECT_THROW(overview.extremes({.samples = 10}, 0), std::invalid_argument);
}

TEST(Overview, MayBeDrawnBySeveralThreads) {
  const Overview overview(std::make_shared<Waves>(), 20'000);  // 30 chunks of 60
  std::vector<std::thread> threads;
  std::array<int, 4> wrong{};
  for (std::size_t i = 0; i < wrong.size(); ++i)
    threads.emplace_back([&, i] {
      for (int width = 100; width < 105; ++width)
        wrong[i] += wrongPixels(overview, {0, 2, 0, 3, 1000 * static_cast<int>(i), 250'000}, width);
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(wrong, (std::array<int, 4>{}));
}

TEST(Overview, ReadsLittleASecondTime) {
  const auto store = std::make_shared<TestStore>(3, 500'000, std::vector{2});
  const Overview overview(openRecording(store, "run").samples());
  const auto samplesRead = [&](const Window& window, int width) {
    store->takeCounts();
    overview.extremes(window, width);
    return store->takeCounts().bytes / 4;
  };
  constexpr std::uint64_t kBlock = 1024;
  EXPECT_EQ(samplesRead({1, 1, 1, 1, 1000, 400'000}, 40), 400'000);
  EXPECT_LE(samplesRead({1, 1, 1, 1, 1000, 400'000}, 40), 41 * kBlock) << "where pixels meet";
  EXPECT_EQ(samplesRead({1, 1, 1, 1, 2048, 380 * 1024}, 38), 0U) << "whole blocks";
  EXPECT_LE(samplesRead({1, 1, 1, 1, 1000 + 20'000, 400'000}, 40), 20'000 + 41 * kBlock) << "scrolled";
  EXPECT_LE(samplesRead({1, 1, 0, 3, 0, 500'000}, 40), 1'080'000 + 41 * kBlock) << "with others, zoomed out";
  EXPECT_EQ(samplesRead({0, 1, 2, 1, 77, 300}, 10), 300);
  const Overview forgetful(openRecording(store, "run").samples(), 1500);  // 65,536 samples
  for (const auto& [channel, isKept] :
       {std::pair{0, false}, {1, false}, {0, true}, {2, false}, {0, true}, {1, false}}) {
    store->takeCounts();
    forgetful.extremes({.channel = channel, .samples = 32'768}, 8);
    EXPECT_EQ(store->takeCounts().bytes, isKept ? 0 : 4 * 32'768) << channel;
  }
}

}  // namespace
