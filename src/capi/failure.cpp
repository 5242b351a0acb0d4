#include "capi/failure.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "describe/json.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::capi {
namespace {

/// Null where there is no memory for it: an error about that must not need some.
char* copyOrNull(const std::string& text) noexcept {
  auto* copy = new (std::nothrow) char[text.size() + 1];
  if (copy != nullptr) std::memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

int fill(ctfmeg_error* error, int kind, const std::string& path, const std::string& text,
         const std::vector<Finding>& findings = {}) {
  if (error == nullptr) return kind;
  ctfmeg_error_clear(error);
  *error = {kind, copyOrNull(path), copyOrNull(text), copyOrNull(describe::findingsJson(findings))};
  return kind;
}

int outOfMemory(ctfmeg_error* error) noexcept {
  if (error == nullptr) return CTFMEG_OUT_OF_MEMORY;
  ctfmeg_error_clear(error);
  error->kind = CTFMEG_OUT_OF_MEMORY;
  try {
    error->path = copyOrNull("");
    error->text = copyOrNull("needs more memory than there is");
    error->findings = copyOrNull("[]");
  } catch (const std::bad_alloc&) {
    // The number says it all.
  }
  return CTFMEG_OUT_OF_MEMORY;
}

}  // namespace

char* copyOf(const std::string& text) {
  char* copy = copyOrNull(text);
  if (copy == nullptr) throw std::bad_alloc();
  return copy;
}

void* copyOf(const void* array, std::size_t bytes) {
  auto* copy = new char[std::max<std::size_t>(bytes, 1)];
  if (bytes > 0) std::memcpy(copy, array, bytes);
  return copy;
}

int guarded(ctfmeg_error* error, const std::function<void()>& work) {
  try {
    try {
      work();
      return CTFMEG_OK;
    } catch (const Error& failure) {
      return fill(error, kindOf(failure.kind()), textOf(failure.path()), failure.text(), failure.findings());
    } catch (const Misuse& failure) {
      return fill(error, CTFMEG_MISUSE, "", failure.what());
    } catch (const std::out_of_range& failure) {
      return fill(error, CTFMEG_OUT_OF_RANGE, "", failure.what());
    } catch (const std::invalid_argument& failure) {
      return fill(error, CTFMEG_REFUSED, "", failure.what());
    } catch (const std::bad_alloc&) {
      return outOfMemory(error);
    } catch (const std::exception& failure) {
      return fill(error, CTFMEG_DAMAGED, "", failure.what());
    }
  } catch (...) {
    return outOfMemory(error);  // there was none left to say why
  }
}

void require(const void* argument, const char* name) {
  if (argument == nullptr) throw Misuse(std::string(name) + " is null");
}

int kindOf(ErrorKind kind) {
  return kind == ErrorKind::notWritten ? CTFMEG_NOT_WRITTEN : static_cast<int>(kind) + CTFMEG_NOT_FOUND;
}

ErrorKind kindOf(int kind) {
  if (kind == CTFMEG_NOT_WRITTEN) return ErrorKind::notWritten;
  return kind < CTFMEG_NOT_FOUND || kind > CTFMEG_STOPPED ? ErrorKind::damaged
                                                          : static_cast<ErrorKind>(kind - CTFMEG_NOT_FOUND);
}

ProgressFunction progressOf(ctfmeg_progress_function progress, void* user) {
  if (progress == nullptr) return {};
  return [progress, user](const Progress& now) { return progress(user, now.fraction) == 0; };
}

}  // namespace ctfmeg::capi

extern "C" {

const char* ctfmeg_kind_name(int kind) {
  switch (kind) {
    case CTFMEG_OK:
      return "ok";
    case CTFMEG_OUT_OF_RANGE:
      return "outOfRange";
    case CTFMEG_MISUSE:
      return "misuse";
    default:
      if (kind < CTFMEG_NOT_FOUND || kind > CTFMEG_NOT_WRITTEN) return "unknown";
      return ctfmeg::nameOf(ctfmeg::capi::kindOf(kind));
  }
}

void ctfmeg_error_clear(ctfmeg_error* error) {
  if (error == nullptr) return;
  for (char* text : {error->path, error->text, error->findings})
    ctfmeg_free(text);
  *error = {};
}

void ctfmeg_free(void* memory) { delete[] static_cast<char*>(memory); }
}
