// Lists all datasets below a folder as CSV, by their headers: sample files are not touched.
//   scan_tree FOLDER > datasets.csv

#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

#include <ctfmeg/path_text.h>
#include <ctfmeg/recording.h>

namespace {

namespace fs = std::filesystem;

/// A cell between quotation marks, those inside it doubled.
std::string quoted(const std::string& text) {
  std::string cell = "\"";
  for (const char c : text)
    cell += c == '"' ? "\"\"" : std::string(1, c);
  return cell + '"';
}

/// A line for the dataset; false when it can't be read.
bool list(const fs::path& dataset) {
  const std::string path = quoted(ctfmeg::textOf(dataset));
  try {
    const auto recording = ctfmeg::Recording::open(dataset);
    const ctfmeg::RecordInfo& record = recording.record();
    std::printf("%s,%zu,%d,%d,%g,%zu,%zu,\n", path.c_str(), recording.channels().size(), record.numTrials,
                record.samplesPerTrial, record.sampleRate, recording.markers().size(),
                recording.warnings().size());
    return true;
  } catch (const ctfmeg::Error& error) {
    std::printf("%s,,,,,,,%s\n", path.c_str(), quoted(error.text()).c_str());
    return false;
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "scan_tree FOLDER > datasets.csv\n");
    return 2;
  }
  std::printf("path,channels,trials,samplesPerTrial,sampleRate,markers,warnings,error\n");
  bool allRead = true;
  std::error_code failed;
  const auto skipDenied = fs::directory_options::skip_permission_denied;
  for (fs::recursive_directory_iterator entry(argv[1], skipDenied, failed), end; !failed && entry != end;
       entry.increment(failed)) {
    std::error_code unknown;
    if (entry->path().extension() != ".ds" || !entry->is_directory(unknown)) continue;
    entry.disable_recursion_pending();
    allRead = list(entry->path()) && allRead;
  }
  if (failed) std::fprintf(stderr, "%s: %s\n", argv[1], failed.message().c_str());
  return allRead && !failed ? 0 : 1;
}
