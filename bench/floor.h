#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

// The floor: what reading a recording's samples costs at least.

/// Samples in memory of their own.
class FloorSamples {
 public:
  explicit FloorSamples(std::size_t bytes);
  FloorSamples(const FloorSamples&) = delete;
  FloorSamples& operator=(const FloorSamples&) = delete;
  ~FloorSamples();

  std::int32_t* values() const { return static_cast<std::int32_t*>(m_data); }
  std::size_t count() const { return m_bytes / sizeof(std::int32_t); }

 private:
  void* m_data;
  std::size_t m_bytes;
};

/// The sample files of a dataset, in their order.
std::vector<std::filesystem::path> sampleFilesOf(const std::filesystem::path& dataset);

/// Reads all samples with read(2) into fresh memory for which huge pages were asked, and swaps them to host
/// order: nothing else. Returns their number.
std::size_t readFloor(const std::filesystem::path& dataset);

/// Reads as `readFloor` does, with a thread for each processor; they take pieces in turn. For a set of one
/// file.
std::size_t readFloorByThreads(const std::filesystem::path& dataset);
