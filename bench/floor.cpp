#include "floor.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <thread>

namespace {

constexpr std::size_t kHeader = 8;
constexpr std::size_t kPiece = 1 << 19;  // stays in the cache until it is swapped

#ifdef __x86_64__
__attribute__((target_clones("avx2", "default")))
#endif
void swapEach(std::uint32_t* values, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i)
    values[i] = __builtin_bswap32(values[i]);
}

}  // namespace

FloorSamples::FloorSamples(std::size_t bytes)
    : m_data(mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)),
      m_bytes(bytes) {
  if (m_data == MAP_FAILED) throw std::runtime_error("no memory");
  madvise(m_data, m_bytes, MADV_HUGEPAGE);
}

FloorSamples::~FloorSamples() { munmap(m_data, m_bytes); }

std::vector<std::filesystem::path> sampleFilesOf(const std::filesystem::path& dataset) {
  const std::filesystem::path stem = dataset / dataset.stem();
  std::vector<std::filesystem::path> files{stem.string() + ".meg4"};
  for (int i = 1;; ++i) {
    const std::filesystem::path next = stem.string() + "." + std::to_string(i) + "_meg4";
    if (!std::filesystem::exists(next)) return files;
    files.push_back(next);
  }
}

std::size_t readFloor(const std::filesystem::path& dataset) {
  const auto files = sampleFilesOf(dataset);
  std::size_t bytes = 0;
  for (const auto& file : files)
    bytes += std::filesystem::file_size(file) - kHeader;
  const FloorSamples samples(bytes);
  auto* next = reinterpret_cast<std::uint32_t*>(samples.values());
  for (const auto& file : files) {
    const int descriptor = open(file.c_str(), O_RDONLY);
    lseek(descriptor, kHeader, SEEK_SET);
    for (ssize_t got = 0; (got = read(descriptor, next, kPiece)) > 0;) {
      const auto count = static_cast<std::size_t>(got) / sizeof *next;
      swapEach(next, count);
      next += count;
    }
    close(descriptor);
  }
  return samples.count();
}

std::size_t readFloorByThreads(const std::filesystem::path& dataset) {
  const auto file = sampleFilesOf(dataset).front();
  const std::size_t bytes = std::filesystem::file_size(file) - kHeader;
  const FloorSamples samples(bytes);
  const int descriptor = open(file.c_str(), O_RDONLY);
  std::atomic<std::size_t> next{0};
  const auto work = [&] {
    for (std::size_t at = 0; (at = next.fetch_add(kPiece)) < bytes;) {
      auto* piece = reinterpret_cast<std::uint32_t*>(samples.values()) + at / sizeof(std::uint32_t);
      const ssize_t got =
          pread(descriptor, piece, std::min(kPiece, bytes - at), static_cast<off_t>(kHeader + at));
      swapEach(piece, static_cast<std::size_t>(std::max<ssize_t>(got, 0)) / sizeof *piece);
    }
  };
  std::vector<std::thread> threads;
  for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i)
    threads.emplace_back(work);
  work();
  for (std::thread& thread : threads)
    thread.join();
  close(descriptor);
  return samples.count();
}

FloorFile::FloorFile(const std::filesystem::path& file) : m_descriptor(open(file.c_str(), O_RDONLY)) {
  if (m_descriptor < 0) throw std::runtime_error(file.string() + " can't be opened");
}

FloorFile::~FloorFile() { close(m_descriptor); }

void FloorFile::read(const FloorWindow& window, std::int32_t* out) const {
  const std::size_t bytes = window.samples * sizeof *out;
  for (std::size_t row = 0; row < window.rows; ++row, out += window.samples) {
    const auto offset = static_cast<off_t>(window.offset + row * window.distance);
    if (pread(m_descriptor, out, bytes, offset) != static_cast<ssize_t>(bytes))
      throw std::runtime_error("can't be read");
    swapEach(reinterpret_cast<std::uint32_t*>(out), window.samples);
  }
}
