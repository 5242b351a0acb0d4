#include "base/parallel_read.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <utility>

#include "base/byte_order.h"
#include "base/threads.h"

namespace ctfmeg {
namespace {

// Pieces that are still in the processor's own memory when their bytes are swapped.
constexpr std::size_t kPieceValues = std::size_t{1} << 16;

// More threads than these find the memory busy.
constexpr unsigned kMostThreads = 4;

}  // namespace

ParallelRead::~ParallelRead() {
  {
    const std::lock_guard lock(m_mutex);
    m_over = true;
  }
  m_begin.notify_all();
  for (std::thread& helper : m_helpers)
    helper.join();
}

void ParallelRead::startHelpers() {
  m_started = true;
  const unsigned threads = m_threads > 0 ? static_cast<unsigned>(m_threads)
                                         : std::min(std::thread::hardware_concurrency(), kMostThreads);
  try {
    m_helpers.reserve(threads);  // so that no thread that began is dropped
    for (unsigned i = 1; i < threads; ++i)
      m_helpers.push_back(startBackgroundThread([this] { help(); }));
  } catch (const std::system_error&) {
    // The threads that there are do the work.
  } catch (const std::bad_alloc&) {
    // Likewise.
  }
}

bool ParallelRead::read(const File& file, std::uint64_t offset, std::span<std::int32_t> values) {
  if (!m_started) startHelpers();
  {
    const std::lock_guard lock(m_mutex);
    m_file = &file;
    m_offset = offset;
    m_values = values;
    m_next = 0;
    m_short = false;
    m_failed = nullptr;
    m_open = true;
    ++m_reads;
  }
  m_begin.notify_all();
  readPieces();
  std::unique_lock lock(m_mutex);
  m_open = false;
  m_end.wait(lock, [this] { return m_helping == 0; });
  if (m_failed != nullptr) std::rethrow_exception(std::exchange(m_failed, nullptr));
  return !m_short;
}

void ParallelRead::help() {
  std::uint64_t seen = 0;
  std::unique_lock lock(m_mutex);
  for (;;) {
    m_begin.wait(lock, [&] { return m_over || (m_open && m_reads != seen); });
    if (m_over) return;
    seen = m_reads;
    ++m_helping;
    lock.unlock();
    readPieces();
    lock.lock();
    if (--m_helping == 0) m_end.notify_one();
  }
}

void ParallelRead::keepFailure() {
  m_short = true;  // the others need not go on
  const std::lock_guard lock(m_mutex);
  if (m_failed == nullptr) m_failed = std::current_exception();
}

void ParallelRead::readPieces() {
  try {
    for (;;) {
      const std::size_t first = m_next.fetch_add(1) * kPieceValues;
      if (first >= m_values.size() || m_short) return;
      const auto piece = m_values.subspan(first, std::min(kPieceValues, m_values.size() - first));
      const std::uint64_t at = m_offset + first * sizeof(std::int32_t);
      if (m_file->readAt(at, std::as_writable_bytes(piece)) != piece.size_bytes()) m_short = true;
      samplesToHostOrder(piece);
    }
  } catch (...) {
    keepFailure();
  }
}

}  // namespace ctfmeg
