#include "tables/case.h"

#include <cstdlib>
#include <set>
#include <stdexcept>

namespace {

std::string unescaped(std::string_view text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char next = i + 1 < text.size() ? text[i + 1] : '\0';
    if (text[i] != '\\' || next == '\0') {
      plain += text[i];
    } else if (next == 'x') {
      plain += static_cast<char>(std::stoi(std::string(text.substr(i + 2, 2)), nullptr, 16));
      i += 3;
    } else {
      plain += next == 'r' ? '\r' : next == 'n' ? '\n' : next == 't' ? '\t' : next;
      ++i;
    }
  }
  return plain;
}

/// "i32 3 f64 0.5 sized text ..." as bytes.
Bytes bytesOf(Words&& words) {
  Bytes bytes;
  const auto sized = [&](const std::string& text) {
    bytes.i32(static_cast<std::int64_t>(text.size())).raw(text);
  };
  while (!words.end()) {
    const std::string kind = words.word();
    if (kind == "i16") {
      bytes.i16(static_cast<int>(words.number()));
    } else if (kind == "i32") {
      bytes.i32(words.number());
    } else if (kind == "f64") {
      bytes.f64(std::strtod(words.word().c_str(), nullptr));
    } else if (kind == "raw") {
      bytes.raw(words.word());
    } else if (kind == "sized") {
      sized(words.word());
    } else if (kind == "tag") {  // an entry of an information file: name and type
      sized(words.word());
      bytes.i32(words.number());
    } else if (kind == "text") {
      const auto width = static_cast<std::size_t>(words.number());
      bytes.text(words.word(), width);
    } else if (kind == "repeat") {
      const std::int64_t count = words.number();
      const std::string what = words.word();
      for (std::int64_t i = 0; i < count; ++i)
        bytes.raw(what);
    } else {
      throw std::runtime_error("no kind of bytes: " + kind);
    }
  }
  return bytes;
}

/// "1292", or a place in the minimal resource file by its name: "sensors+8".
std::size_t placeOf(const std::string& text) {
  using D = MinimalDataset;
  static const std::map<std::string, std::size_t> kPlaces{
      {"filters", D::kFilterCount}, {"filter2", D::kSecondFilter},     {"names", D::kNames},
      {"sensors", D::kSensors},     {"records", D::kCoefficientCount}, {"record", D::kCoefficients}};
  const std::size_t plus = text.find('+');
  const auto named = kPlaces.find(text.substr(0, plus));
  if (named == kPlaces.end()) return std::stoul(text);
  return named->second + (plus == std::string::npos ? 0 : std::stoul(text.substr(plus + 1)));
}

const std::set<std::string> kTexts{"before", "run", "show", "against", "path"};
const std::set<std::string> kLists{"directory", "grow",   "copy", "rename", "link",     "unreadable", "posix",
                                   "real",      "answer", "type", "choose", "noMemory", "damage"};

}  // namespace

std::string Words::word() {
  std::string text;
  if ((m_in >> std::ws).peek() != '"') {
    m_in >> text;
  } else {
    m_in.get();
    for (char c = 0; m_in.get(c) && c != '"';) {
      text += c;
      if (c == '\\') text += static_cast<char>(m_in.get());
    }
  }
  return unescaped(text);
}

void Case::apply(const std::string& line) {
  if (line[0] == '|' || line[0] == ':') {
    const bool open = line[0] == '|' && line.size() > 1 && line.back() == '\\';
    files[lastFile] += line[0] == ':' ? bytesOf(Words(line.substr(1))).str()
                       : open         ? unescaped(line.substr(1, line.size() - 2))
                                      : unescaped(line.substr(1)) + "\n";
    return;
  }
  Words words(line);
  const std::string what = words.word();
  const auto rest = [&] { return line.size() > what.size() ? line.substr(what.size() + 1) : ""; };
  if (what == "file") {
    files[lastFile = words.word()].clear();
  } else if (what == "more") {
    lastFile = words.word();
  } else if (what == "swap") {
    std::string& content = files[lastFile];
    const std::string old = words.word(), replacement = words.word();
    content.replace(content.find(old), old.size(), replacement);
  } else if (what == "without") {
    files.erase(words.word());
  } else if (what == "at") {
    const std::size_t place = placeOf(words.word());
    dataset.res4.put(place, bytesOf(Words(rest().substr(rest().find(' ') + 1))));
  } else if (what == "erase") {
    std::string bytes = dataset.res4.str();
    const std::size_t place = placeOf(words.word());
    dataset.res4 = Bytes().raw(bytes.erase(place, static_cast<std::size_t>(words.number())));
  } else if (what == "shape") {
    const int trials = static_cast<int>(words.number());
    channels = static_cast<int>(words.number());
    samples = static_cast<int>(words.number());
    dataset.resize(trials, channels, samples);
  } else if (what == "meg4") {
    if (!ownSampleFiles) dataset.sampleFiles.clear();
    ownSampleFiles = true;
    const std::string first = words.end() ? "" : words.word();
    if (first != "none")
      dataset.sampleFiles.push_back(first == "bytes" ? bytesOf(std::move(words)).str() : trials(rest()));
    if (first == "none" && !words.end()) dataset.sampleFiles.emplace_back();
  } else if (kTexts.contains(what)) {
    texts[what] = rest();
  } else if (kLists.contains(what)) {
    auto& list = lists[what].emplace_back();
    while (!words.end())
      list.push_back(words.word());
    if (what == "directory") files.erase(list.at(0));
  } else {
    throw std::runtime_error("no such word: " + what);
  }
}

/// A sample file of these trials, "3:5" for the first 5 bytes of trial 3.
std::string Case::trials(const std::string& list) const {
  std::vector<std::string> all;
  for (Words words(list); !words.end();) {
    const std::string word = words.word();
    const std::size_t colon = word.find(':');
    all.push_back(MinimalDataset::trial(std::stoi(word), channels, samples));
    if (colon != std::string::npos) all.back().resize(std::stoul(word.substr(colon + 1)));
  }
  return MinimalDataset::sampleFile(all);
}
