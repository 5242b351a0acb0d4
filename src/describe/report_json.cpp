#include "describe/report_json.h"

#include <nlohmann/json.hpp>
#include <sstream>

#include "describe/json.h"
#include "output/json.h"

namespace ctfmeg::describe {
namespace {

using output::Json;

Json jsonOf(const Change& change) {
  return {{"file", change.file},
          {"field", change.field.empty() ? Json() : Json(change.field)},
          {"what", nameOf(change.what)},
          {"count", change.count}};
}

std::string textOf(const std::string& written, const CopyReport& report, const AnonymiseReport* names) {
  std::ostringstream text;
  output::JsonPieces members(text, '{', '}', 0);
  members.next("schema") << 1;
  members.next("dataset") << output::dump(written);
  output::writeJsonList(members.next("changes"), report.changes, 1, jsonOf);
  if (names != nullptr)
    members.next("names") << output::dump({{"channels", names->channels},
                                           {"electrodes", names->electrodes},
                                           {"markers", names->markers},
                                           {"classes", names->classes}});
  members.next("warnings") << findingsJson(report.warnings);
  members.end();
  return text.str();
}

}  // namespace

std::string reportJson(const std::string& written, const CopyReport& report) {
  return textOf(written, report, nullptr);
}

std::string reportJson(const std::string& written, const AnonymiseReport& report) {
  return textOf(written, report, &report);
}

}  // namespace ctfmeg::describe
