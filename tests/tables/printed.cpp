#include <nlohmann/json.hpp>
#include <regex>
#include <set>

#include "support/command.h"
#include "tables/case_run.h"

#include <ctfmeg/path_text.h>

namespace {

namespace fs = std::filesystem;

/// The values of a NumPy array after its header.
template <class T>
std::string valuesIn(std::string_view bytes) {
  std::string text;
  for (std::size_t i = 0; i + sizeof(T) <= bytes.size(); i += sizeof(T)) {
    T value;
    std::memcpy(&value, bytes.data() + i, sizeof(T));
    text += " " + shownAs(value);
  }
  return text;
}

/// A NumPy file as its header and its values, JSON as what is found at `pointers`, else the text.
std::string readable(const std::string& bytes, const std::vector<std::string>& pointers) {
  if (bytes.starts_with(std::string("\x93NUMPY\x01\x00", 8)) && bytes.size() > 10) {
    const std::size_t start =
        10U + static_cast<unsigned char>(bytes[8]) + 256U * static_cast<unsigned char>(bytes[9]);
    const std::string header = bytes.substr(10, start - 10), data = bytes.substr(start);
    const bool whole = header.find("'<i4'") != std::string::npos;
    return header.substr(0, header.find('}') + 1) +
           (start % 64 == 0 && header.back() == '\n' ? "" : " misplaced") +
           (whole ? valuesIn<std::int32_t>(data) : valuesIn<double>(data)) + "\n";
  }
  std::string text;
  const auto all = pointers.empty() ? nlohmann::json() : nlohmann::json::parse(bytes);
  for (const std::string& pointer : pointers) {
    const nlohmann::json::json_pointer place(pointer == "/" ? "" : pointer);
    if (!all.contains(place)) {
      text += pointer + " none\n";
    } else if (const auto& value = all.at(place); pointer == "/") {
      text += value.dump(1) + "\n";
    } else if (value.is_array() && !value.empty() && value[0].is_object()) {
      for (const auto& each : value)
        text += pointer + " " + each.dump() + "\n";
    } else {
      text += pointer + " " + value.dump() + "\n";
    }
  }
  return pointers.empty() ? bytes : text;
}

}  // namespace

void replaceAll(std::string& text, const std::string& old, const std::string& replacement) {
  for (std::size_t at = 0; (at = text.find(old, at)) != std::string::npos; at += replacement.size())
    text.replace(at, old.size(), replacement);
}

std::string printedBy(const CaseRun& run, const std::string& commands) {
  std::string text;
  std::istringstream in(commands);
  const std::string here = ctfmeg::textOf(run.directory.path());
  for (std::string each; std::getline(in, each, ';');) {
    std::vector<std::string> arguments, pointers;
    bool ofJson = false;
    for (Words words(each); !words.end();) {
      std::string word = words.word();
      replaceAll(word, "HERE", here);
      replaceAll(word, "REAL", REAL_RECORDING);
      if (word == "|")
        ofJson = true;
      else
        (ofJson ? pointers : arguments).push_back(word);
    }
    CommandResult result{0, "", ""};
    if (arguments.at(0) == "cat") {
      result.out = readFile(ctfmeg::pathFromText(arguments.at(1)));
    } else if (arguments[0] == "ls") {
      std::set<std::string> names;
      for (const auto& entry : fs::directory_iterator(run.directory.path()))
        names.insert(ctfmeg::textOf(entry.path().filename()) + "\n");
      for (const std::string& name : names)
        result.out += name;
    } else {
      result = runCommand(CTFMEG_COMMAND, {arguments.begin() + 1, arguments.end()});
    }
    if (result.exitCode != 0) text += "exit " + std::to_string(result.exitCode) + "\n";
    std::istringstream errors(result.err);
    text += readable(result.out, pointers);
    if (!text.empty() && text.back() != '\n') text += "(no line end)\n";
    for (std::string line; std::getline(errors, line);)
      text += "! " + (line.ends_with('\r') ? line.substr(0, line.size() - 1) : line) + "\n";
  }
#ifdef _WIN32  // paths are shown with slashes
  std::string inJson = here;
  replaceAll(inJson, "\\", "\\\\");
  for (const std::string& form : {inJson, here})
    for (std::size_t at = 0; (at = text.find(form, at)) != std::string::npos; ++at) {
      const std::size_t end = std::min(text.find_first_of("\n\",", at), text.size());
      std::string path = text.substr(at, end - at);
      replaceAll(path, form, "HERE");
      text.replace(at, end - at, std::regex_replace(path, std::regex(R"(\\{1,2}(?![xu]))"), "/"));
    }
#endif
  replaceAll(text, here, "HERE");
  replaceAll(text, REAL_RECORDING, "REAL");
  // The system's own sentences differ from system to system.
  text = std::regex_replace(text, std::regex("(can't be (read|scanned|written): )[A-Z][^\n\"]*"), "$1...");
  std::string shown;
  for (const char c : text) {
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, c == '\r' ? "\\r" : "\\x%02X", static_cast<unsigned char>(c));
    shown += static_cast<unsigned char>(c) < 0x20 && c != '\n' ? escaped : std::string(1, c);
  }
  return shown;
}
