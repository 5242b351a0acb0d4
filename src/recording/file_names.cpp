#include "recording/file_names.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <string_view>
#include <system_error>
#include <vector>

#include "base/encoding.h"
#include "base/finding_codes.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg {
namespace {

namespace fs = std::filesystem;

/// The name of the folder, with its extension.
fs::path nameOfFolder(const fs::path& folder) {
  fs::path name = folder.has_filename() ? folder.filename() : folder.parent_path().filename();
  if (!name.empty() && name != "." && name != "..") return name;
  std::error_code failed;
  fs::path own = fs::canonical(folder.empty() ? "." : folder, failed);
  return (failed ? folder : own).filename();
}

void report(Notices& notices, const std::string& file, const char* text) {
  notices.report(
      {.severity = Finding::Severity::remark, .code = wordOf(Code::fileName), .file = file, .text = text});
}

/// The number in the name of a sample file; 0 for the first, the largest that there is for one beyond all.
int numberOfSamples(const std::string& name) {
  int number = 0;
  const auto [end, error] =
      std::from_chars(name.data() + name.rfind('.') + 1, name.data() + name.size(), number);
  return error == std::errc::result_out_of_range ? INT_MAX : number;
}

}  // namespace

fs::path stemOfFolder(const fs::path& folder) { return nameOfFolder(folder).stem(); }

std::string resourceFileAmong(std::vector<std::string> names, const std::string& own,
                              const fs::path& directory) {
  std::erase_if(names, [](const std::string& name) { return pathFromText(name).extension() != ".res4"; });
  std::sort(names.begin(), names.end());
  if (names.size() == 1) return names.front();
  if (names.empty())
    throw Error(ErrorKind::notADataset, directory,
                "holds no CTF resource file: looked for " + own + " and for any other *.res4");
  std::string all;
  for (const std::string& name : names)
    all += (all.empty() ? "" : ", ") + name;
  throw Error(ErrorKind::notADataset, directory,
              "holds several CTF resource files and none is " + own + ": name one of " + all);
}

void reportOtherName(const fs::path& resourceFile, Notices& notices) {
  const fs::path folder = nameOfFolder(resourceFile.parent_path());
  if (lowered(textOf(folder.extension())) == ".ds" && folder.stem() != resourceFile.stem())
    report(notices, textOf(resourceFile), "is called otherwise than its folder");
}

std::string stemOfSamples(const std::string& name) {
  const std::size_t point = name.rfind('.');
  if (point == std::string::npos || point == 0 || name.front() == '.') return {};
  const std::string_view extension = std::string_view(name).substr(point + 1);
  const bool isFirst = extension == "meg4";
  const bool isLater =
      extension.ends_with("_meg4") && extension.find_first_not_of("0123456789") == extension.size() - 5;
  return isFirst || isLater ? name.substr(0, point) : "";
}

int reportOtherSamples(const Store& store, const std::string& stem, int last, Notices& notices) {
  std::vector<std::string> names;
  try {
    names = store.list();
  } catch (const FileError&) {
    return 0;  // a directory may let its files be opened and not be listed
  }
  std::sort(names.begin(), names.end());
  int beyond = 0;
  for (const std::string& name : names) {
    const std::string itsStem = stemOfSamples(name);
    if (!itsStem.empty() && itsStem != stem)
      report(notices, store.pathOf(name), "is called otherwise than the dataset, and not read");
    if (itsStem != stem || numberOfSamples(name) <= last) continue;
    ++beyond;
    notices.report({.severity = Finding::Severity::warning,
                    .code = wordOf(Code::meg4Trailing),
                    .file = store.pathOf(name),
                    .text = "is not read: the run ends before it"});
  }
  return beyond;
}

}  // namespace ctfmeg
