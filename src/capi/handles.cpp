#include "capi/handles.h"

#include <bit>
#include <cstdint>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <variant>

#include "base/threads.h"
#include "capi/failure.h"
#include "describe/json.h"

namespace ctfmeg::capi {
namespace {

using Opened = std::variant<std::shared_ptr<const OpenRecording>, std::shared_ptr<const OpenView>>;

/// Everything that is open. A number is never given twice.
class Table {
 public:
  /// It lives as long as the process: threads may still read while that ends.
  static Table& get() {
    static auto* const kTable = new Table;
    return *kTable;
  }

  void* add(Opened opened) {
    const std::lock_guard lock(m_mutex);
    m_last += 16;  // as apart as pointers are
    m_opened.emplace(m_last, std::move(opened));
    return std::bit_cast<void*>(m_last);
  }

  template <class Pointer>
  Pointer find(const void* handle, const char* sort) {
    const std::lock_guard lock(m_mutex);
    return std::get<Pointer>(placeOf<Pointer>(handle, sort)->second);
  }

  template <class Pointer>
  Pointer take(const void* handle, const char* sort) {
    const std::lock_guard lock(m_mutex);
    const auto place = placeOf<Pointer>(handle, sort);
    Pointer taken = std::get<Pointer>(std::move(place->second));
    m_opened.erase(place);
    return taken;
  }

 private:
  Table() { holdWhileForking(m_mutex); }

  template <class Pointer>
  std::unordered_map<std::uintptr_t, Opened>::iterator placeOf(const void* handle, const char* sort) {
    require(handle, sort);
    const auto place = m_opened.find(std::bit_cast<std::uintptr_t>(handle));
    if (place == m_opened.end()) throw Misuse(std::string("there is no such open ") + sort);
    if (!std::holds_alternative<Pointer>(place->second))
      throw Misuse("a " + std::string(sort) + " is needed, and this handle is none");
    return place;
  }

  std::mutex m_mutex;
  std::unordered_map<std::uintptr_t, Opened> m_opened;
  std::uintptr_t m_last = 0;
};

using RecordingPointer = std::shared_ptr<const OpenRecording>;
using ViewPointer = std::shared_ptr<const OpenView>;

}  // namespace

void OpenRecording::report(const std::vector<Finding>& findings) const {
  if (onFinding == nullptr) return;
  for (const Finding& finding : findings)
    onFinding(user, describe::findingJson(finding).c_str());
}

bool OpenView::hasRaw() const {
  const bool isComputed = processing.compensation || processing.decimate > 1 || averaged ||
                          (processing.epochs && processing.epochs->baseline);
  return !isComputed && !source->hasMissing();
}

ctfmeg_recording* handleOf(RecordingPointer recording) {
  return static_cast<ctfmeg_recording*>(Table::get().add(std::move(recording)));
}
ctfmeg_view* handleOf(ViewPointer view) {
  return static_cast<ctfmeg_view*>(Table::get().add(std::move(view)));
}

RecordingPointer opened(const ctfmeg_recording* handle) {
  return Table::get().find<RecordingPointer>(handle, "recording");
}
ViewPointer opened(const ctfmeg_view* handle) { return Table::get().find<ViewPointer>(handle, "view"); }

// What is closed goes after the table is free again: files are closed, and a store's own function is called.
void close(const ctfmeg_recording* handle) {
  static_cast<void>(Table::get().take<RecordingPointer>(handle, "recording"));
}
void close(const ctfmeg_view* handle) { static_cast<void>(Table::get().take<ViewPointer>(handle, "view")); }

}  // namespace ctfmeg::capi
