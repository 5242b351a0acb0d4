#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include <megreader/framework/cfile.h>

/// Reads samples piece by piece, with several threads at once where that is asked for: a processor alone
/// moves them more slowly than the memory can. Its threads begin with the first read that is worth it and end
/// with the object; a process that is forked in between has none of them and must not go on with the read.
class ParallelRead {
 public:
  /// Bytes of which reading with several threads is faster.
  static constexpr std::size_t kWorthIt = std::size_t{512} * 1024;

  ParallelRead() = default;
  ParallelRead(const ParallelRead&) = delete;
  ParallelRead& operator=(const ParallelRead&) = delete;
  ~ParallelRead();

  /// Threads that share a read, the caller's included, from the first read on; 0: as many as pay.
  void setThreads(int threads) { m_threads = threads; }

  /// Reads the samples that begin at `offset`, in host order. False when the file holds fewer. Throws
  /// CFileException when it can't be read.
  bool read(const CFile& file, std::uint64_t offset, std::span<std::int32_t> values);

 private:
  void startHelpers();
  void help();
  void readPieces();
  /// Keeps the exception that is being handled, unless another thread had one first.
  bool keepFailure();

  std::vector<std::thread> m_helpers;
  bool m_started = false;
  int m_threads = 1;

  // What is read, for all threads: pieces are taken one after another until none is left.
  const CFile* m_file = nullptr;
  std::uint64_t m_offset = 0;
  std::span<std::int32_t> m_values;
  std::atomic<std::size_t> m_next{0};
  std::atomic<bool> m_short{false};

  std::mutex m_mutex;  // for what follows
  std::condition_variable m_begin, m_end;
  std::uint64_t m_reads = 0;  // begun so far
  bool m_open = false;        // whether helpers may still join the read
  int m_helping = 0;
  bool m_over = false;
  std::exception_ptr m_failed;  // what a thread met first
};
