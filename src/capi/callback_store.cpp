#include "capi/callback_store.h"

#include <array>

#include "capi/failure.h"
#include "recording/collected.h"
#include "recording/file_names.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::capi {
namespace {

/// The sentence that a callback may write.
class Reason {
 public:
  char* text() { return m_text.data(); }
  std::size_t room() const { return m_text.size(); }

  [[noreturn]] void fail(int kind, const std::string& path) {
    m_text.back() = 0;
    const std::string text = m_text.data();
    const auto cause = kind == CTFMEG_NOT_FOUND       ? FileError::Cause::notFound
                       : kind == CTFMEG_NO_PERMISSION ? FileError::Cause::accessDenied
                                                      : FileError::Cause::generic;
    if (kind == CTFMEG_STOPPED)
      throw Error(ErrorKind::stopped, pathFromText(path), text.empty() ? "the reading was stopped" : text);
    if (kind == CTFMEG_OUT_OF_MEMORY)
      throw Error(ErrorKind::outOfMemory, pathFromText(path),
                  text.empty() ? "needs more memory than there is" : text);
    if (text.empty() && kind == CTFMEG_NOT_FOUND) throw FileError::ofMissing(path);
    throw FileError(cause, -1, path, text.empty() ? "can't be read" : text);
  }

 private:
  std::array<char, 1024> m_text{};
};

std::string withoutSlashes(std::string path) {
  while (path.size() > 1 && path.back() == '/')
    path.pop_back();
  return path;
}

}  // namespace

class CallbackStore::CallbackFile : public File {
 public:
  /// Files live no longer than the store, which whoever has a recording keeps.
  CallbackFile(const ctfmeg_store& store, std::string name, const std::string& path, std::uint64_t size)
      : File(path), m_store(store), m_name(std::move(name)), m_size(size) {}

  std::uint64_t size() const override { return m_size; }

  std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) const override {
    Reason reason;
    std::size_t done = 0;
    const int kind = m_store.read_at(m_store.user, m_name.c_str(), offset, out.data(), out.size(), &done,
                                     reason.text(), reason.room());
    if (kind != CTFMEG_OK) reason.fail(kind, path());
    if (done > out.size()) throw FileError(FileError::Cause::generic, -1, path(), "gave more than was asked");
    return done;
  }

 private:
  const ctfmeg_store& m_store;
  std::string m_name;
  std::uint64_t m_size;
};

// A store that lacks something is released, too.
CallbackStore::CallbackStore(const ctfmeg_store& store)
    : m_store(store), m_path(withoutSlashes(store.path == nullptr ? "" : store.path)) {}

CallbackStore::~CallbackStore() {
  if (m_store.release != nullptr) m_store.release(m_store.user);
}

std::vector<std::string> CallbackStore::list() const {
  if (m_store.list == nullptr) throw FileError(FileError::Cause::generic, -1, m_path, "can't be listed");
  Reason reason;
  struct Names {
    std::vector<std::string> all;
    bool noMemory = false;
  } names;
  const auto add = [](void* list, const char* name) {
    if (list == nullptr) return;
    auto& into = *static_cast<Names*>(list);
    try {
      if (name != nullptr) into.all.emplace_back(name);
    } catch (const std::bad_alloc&) {
      into.noMemory = true;  // the callback's language may know no exceptions
    }
  };
  const int kind = m_store.list(m_store.user, add, &names, reason.text(), reason.room());
  if (names.noMemory) throw std::bad_alloc();
  if (kind != CTFMEG_OK) reason.fail(kind, m_path);
  return names.all;
}

OpenFile CallbackStore::open(const std::string& name) const {
  Reason reason;
  std::uint64_t bytes = 0;
  const int kind = m_store.size_of(m_store.user, name.c_str(), &bytes, reason.text(), reason.room());
  if (kind == CTFMEG_NOT_FOUND) return nullptr;
  if (kind != CTFMEG_OK) reason.fail(kind, pathOf(name));
  return std::make_shared<CallbackFile>(m_store, name, pathOf(name), bytes);
}

std::string CallbackStore::stem() const {
  require(m_store.path, "the store's path");
  if (m_store.size_of == nullptr || m_store.read_at == nullptr)
    throw Misuse("a store needs size_of and read_at");
  return readingFiles([&] {
    const auto last = m_path.substr(m_path.find_last_of('/') + 1);
    std::string stem = last.ends_with(".ds") ? last.substr(0, last.size() - 3) : last;
    const std::string own = stem + ".res4";
    if (open(own) != nullptr) return stem;
    // Nothing but its own file is to be found where nothing can be listed.
    std::vector<std::string> names;
    try {
      names = list();
    } catch (const FileError&) {
      throw FileError::ofMissing(pathOf(own));
    }
    const std::string name = resourceFileAmong(names, own, pathFromText(m_path));
    return name.substr(0, name.rfind('.'));
  });
}

}  // namespace ctfmeg::capi
