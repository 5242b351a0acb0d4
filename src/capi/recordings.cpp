#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "capi/callback_store.h"
#include "capi/failure.h"
#include "capi/handles.h"
#include "describe/json.h"
#include "describe/scan_table.h"
#include "recording/open_recording.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::capi {
namespace {

OpenOptions optionsOf(const ctfmeg_open_options& given) {
  if (given.rules != CTFMEG_RULES_PLAIN && given.rules != CTFMEG_RULES_HOST)
    throw Misuse("the rules must be CTFMEG_RULES_PLAIN or CTFMEG_RULES_HOST");
  if (given.threads < 0) throw Misuse("the number of threads must be 0 or more");
  return {.rules = given.rules == CTFMEG_RULES_HOST ? Rules::host : Rules::plain,
          .answer = [yes = given.yes != 0](const std::string&) { return yes; },
          .threads = given.threads};
}

/// Samples are read later, when the process may be in another directory.
std::filesystem::path fixed(const char* path) {
  std::error_code failed;
  auto absolute = std::filesystem::absolute(pathFromText(path), failed);
  return failed || *path == 0 ? pathFromText(path) : absolute;
}

ctfmeg_recording* open(Recording recording, std::string path, const ctfmeg_open_options& options) {
  const auto entry = std::make_shared<OpenRecording>(OpenRecording{
      std::move(recording), std::move(path), options.threads, options.on_finding, options.user});
  entry->report(entry->recording.warnings());
  return handleOf(entry);
}

}  // namespace
}  // namespace ctfmeg::capi

using namespace ctfmeg;
using namespace ctfmeg::capi;

extern "C" {

int ctfmeg_open(const char* path, const ctfmeg_open_options* options, ctfmeg_recording** recording,
                ctfmeg_error* error) {
  return guarded(error, [&] {
    require(path, "path");
    require(recording, "recording");
    const ctfmeg_open_options given = known(options, "options");
    *recording = capi::open(Recording::open(fixed(path), optionsOf(given)), path, given);
  });
}

int ctfmeg_open_store(const ctfmeg_store* store, const ctfmeg_open_options* options,
                      ctfmeg_recording** recording, ctfmeg_error* error) {
  return guarded(error, [&] {
    require(store, "store");
    const auto files = std::make_shared<CallbackStore>(known(store, "store"));
    require(recording, "recording");
    const ctfmeg_open_options given = known(options, "options");
    const OpenOptions how = optionsOf(given);
    const std::string stem = files->stem();
    *recording = capi::open(openRecording(files, stem, how), store->path, given);
  });
}

int ctfmeg_close(ctfmeg_recording* recording, ctfmeg_error* error) {
  return guarded(error, [&] {
    if (recording != nullptr) capi::close(recording);
  });
}

int ctfmeg_header(ctfmeg_recording* recording, char** json, ctfmeg_error* error) {
  return guarded(error, [&] {
    require(json, "json");
    const auto of = opened(recording);
    *json = copyOf(describe::infoJson(of->path, of->recording));
  });
}

int ctfmeg_scan(const char* directory, ctfmeg_progress_function progress, void* user, char** json,
                ctfmeg_error* error) {
  return guarded(error, [&] {
    require(directory, "directory");
    require(json, "json");
    const auto path = pathFromText(directory);
    *json = copyOf(describe::scanJson(
        path, [&](double fraction) { return progress == nullptr || progress(user, fraction) == 0; }));
  });
}
}
