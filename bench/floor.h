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

/// Rows of one length at one distance from each other in a file: a span of several channels of a trial.
struct FloorWindow {
  std::size_t offset = 0;   ///< of the first row
  std::size_t samples = 0;  ///< of a row
  std::size_t rows = 1;
  std::size_t distance = 0;  ///< bytes from a row to the next
};

/// A file that is open for reading.
class FloorFile {
 public:
  explicit FloorFile(const std::filesystem::path& file);
  FloorFile(const FloorFile&) = delete;
  FloorFile& operator=(const FloorFile&) = delete;
  ~FloorFile();

  /// Reads a window with pread(2), a call for each row, and swaps it to host order.
  void read(const FloorWindow& window, std::int32_t* out) const;

 private:
  int m_descriptor;
};
