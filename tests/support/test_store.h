#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "ctf/sample_set.h"
#include "support/minimal_dataset.h"

/// A dataset "run" of any size that takes no room: its samples are computed as they are read. Counts what is
/// read of each file, and can make reads slow, short or fail.
class TestStore : public ctfmeg::Store {
 public:
  TestStore(int channels, int samples, const std::vector<int>& trialsOfFiles)
      : m_channels(channels), m_samples(samples) {
    int trials = 0;
    for (const int ofFile : trialsOfFiles) {
      const std::string header = MinimalDataset::sampleFile({});
      files[ctfmeg::sampleFileName("run", static_cast<int>(files.size()))] = {
          header, header.size() + static_cast<std::uint64_t>(ofFile * m_channels * m_samples) * 4, trials};
      trials += ofFile;
    }
    MinimalDataset dataset;
    dataset.resize(1, channels, 1);
    dataset.res4.put(1288, Bytes().i32(samples)).put(1312, Bytes().i16(trials));
    std::size_t sensor = MinimalDataset::kNames + 32 * static_cast<std::size_t>(channels);
    dataset.res4.put(sensor, Bytes().i16(17));  // a clock
    for (int c = 0; c < channels; ++c, sensor += 1328)
      dataset.res4.put(sensor + 8, Bytes().f64(gainOf(c)).f64(1.0));
    files["run.res4"] = {dataset.res4.str(), dataset.res4.size()};
  }

  struct Content {
    std::string front;       ///< samples follow it
    std::uint64_t size = 0;  ///< of both
    std::int64_t firstTrial = 0;
  };
  std::map<std::string, Content> files;

  /// Asked before a read how many of its bytes it reads; may wait or throw FileError.
  std::function<std::size_t(const ctfmeg::File& file, std::size_t bytes)> hook;

  struct Counts {
    int opens = 0, reads = 0;
    std::uint64_t bytes = 0;
  };
  mutable std::map<std::string, Counts> counts;  ///< by file

  /// Of all sample files; begins to count anew.
  Counts takeCounts() {
    Counts all;
    for (const auto& [name, of] : std::exchange(counts, {}))
      if (name.ends_with("meg4")) all = {all.opens + of.opens, all.reads + of.reads, all.bytes + of.bytes};
    return all;
  }

  /// Channel 0 is the clock, which leaves out 7 samples after every third trial.
  std::int32_t value(std::int64_t trial, int channel, std::int64_t sample) const {
    if (channel == 0) return static_cast<std::int32_t>(startOf(trial) + sample);
    const auto number = static_cast<std::uint64_t>((trial * m_channels + channel) * m_samples + sample);
    return static_cast<std::int32_t>(number * 0x9E3779B97F4A7C15 >> 32);
  }
  std::int64_t startOf(std::int64_t trial) const { return trial * m_samples + trial / 3 * 7; }
  /// Each channel's own.
  static double gainOf(int channel) { return channel == 0 ? 600.0 : (-2.0e9 - channel) * 1048576.0; }

  std::vector<std::string> list() const override { return {}; }
  std::string pathOf(const std::string& name) const override { return "nowhere/" + name; }
  ctfmeg::OpenFile open(const std::string& name) const override {
    if (!files.contains(name)) return nullptr;
    const std::lock_guard lock(m_mutex);
    ++counts[name].opens;
    return std::make_shared<CountedFile>(*this, name);
  }

 private:
  class CountedFile : public ctfmeg::File {
   public:
    CountedFile(const TestStore& store, const std::string& name)
        : File(store.pathOf(name)), m_store(store), m_name(name), m_content(store.files.at(name)) {}

    std::uint64_t size() const override { return m_content.size; }

    std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) const override {
      const std::size_t asked = m_store.hook ? m_store.hook(*this, out.size()) : out.size();
      const std::uint64_t end = std::max(std::min(size(), offset + asked), offset);
      std::uint32_t bits = 0;
      for (std::uint64_t at = offset, front = m_content.front.size(); at < end; ++at) {
        const std::uint64_t byte = (at - front) % 4;
        if (at >= front && (byte == 0 || at == offset)) bits = m_store.bitsAt((at - front) / 4, m_content);
        out[at - offset] = static_cast<std::byte>(at < front ? m_content.front[at] : bits >> (24 - 8 * byte));
      }
      const std::lock_guard lock(m_store.m_mutex);
      ++m_store.counts[m_name].reads;
      m_store.counts[m_name].bytes += end - offset;
      return end - offset;
    }

   private:
    const TestStore& m_store;
    std::string m_name;
    const Content& m_content;
  };

  std::uint32_t bitsAt(std::uint64_t number, const Content& content) const {
    const std::int64_t sample = static_cast<std::int64_t>(number), block = sample / m_samples;
    return static_cast<std::uint32_t>(value(content.firstTrial + block / m_channels,
                                            static_cast<int>(block % m_channels), sample % m_samples));
  }

  std::int64_t m_channels, m_samples;
  mutable std::mutex m_mutex;  // for the counts
};
