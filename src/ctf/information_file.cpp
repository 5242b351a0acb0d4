#include "ctf/information_file.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/byte_order.h"
#include "base/encoding.h"
#include "base/scan.h"
#include "ctf/text.h"

namespace ctfmeg {
namespace {

// Hosts rely on the order: a tag that contains an earlier one never has its own value under host rules, as
// "_DATASET_SYSTEMTYPE", which is taken for "_DATASET_SYSTEM".
constexpr InfoTag kTags[] = {
    {"_PATIENT_INFO", InfoKind::block},
    {"_PATIENT_UID", InfoKind::text},
    {"_PATIENT_NAME_FIRST", InfoKind::block},
    {"_PATIENT_NAME_MIDDLE", InfoKind::text},
    {"_PATIENT_NAME_LAST", InfoKind::text},
    {"_PATIENT_ID", InfoKind::text},
    {"_PATIENT_BIRTHDATE", InfoKind::text},
    {"_PATIENT_SEX", InfoKind::int32},
    {"_PATIENT_PACS_NAME", InfoKind::text},
    {"_PATIENT_PACS_UID", InfoKind::text},
    {"_PATIENT_INSTITUTE", InfoKind::text},
    {"_PROCEDURE_INFO", InfoKind::block},
    {"_PROCEDURE_VERSION", InfoKind::int32},
    {"_PROCEDURE_UID", InfoKind::text},
    {"_PROCEDURE_ACCESSIONNUMBER", InfoKind::text},
    {"_PROCEDURE_TITLE", InfoKind::text},
    {"_PROCEDURE_SITE", InfoKind::text},
    {"_PROCEDURE_STATUS", InfoKind::int32},
    {"_PROCEDURE_TYPE", InfoKind::int32},
    {"_PROCEDURE_STARTEDDATETIME", InfoKind::text},
    {"_PROCEDURE_CLOSEDDATETIME", InfoKind::text},
    {"_PROCEDURE_COMMENTS", InfoKind::text},
    {"_PROCEDURE_LOCATION", InfoKind::text},
    {"_PROCEDURE_ISINDB", InfoKind::int32},
    {"_DATASET_INFO", InfoKind::block},
    {"_DATASET_VERSION", InfoKind::int32},
    {"_DATASET_UID", InfoKind::text},
    {"_DATASET_PATIENTUID", InfoKind::text},
    {"_DATASET_PROCEDUREUID", InfoKind::text},
    {"_DATASET_STATUS", InfoKind::text},
    {"_DATASET_RPFILE", InfoKind::text},
    {"_DATASET_PROCSTEPTITLE", InfoKind::text},
    {"_DATASET_PROCSTEPPROTOCOL", InfoKind::text},
    {"_DATASET_PROCSTEPDESCRIPTION", InfoKind::text},
    {"_DATASET_COLLECTIONDATETIME", InfoKind::text},
    {"_DATASET_COLLECTIONSOFTWARE", InfoKind::text},
    {"_DATASET_CREATORDATETIME", InfoKind::text},
    {"_DATASET_CREATORSOFTWARE", InfoKind::text},
    {"_DATASET_KEYWORDS", InfoKind::text},
    {"_DATASET_COMMENTS", InfoKind::text},
    {"_DATASET_OPERATORNAME", InfoKind::text},
    {"_DATASET_LASTMODIFIEDDATETIME", InfoKind::text},
    {"_DATASET_NOMINALHCPOSITIONS", InfoKind::int32},
    {"_DATASET_COEFSFILENAME", InfoKind::text},
    {"_DATASET_SENSORSFILENAME", InfoKind::text},
    {"_DATASET_SYSTEM", InfoKind::text},
    {"_DATASET_SYSTEMTYPE", InfoKind::text},
    {"_DATASET_LOWERBANDWIDTH", InfoKind::float64},
    {"_DATASET_UPPERBANDWIDTH", InfoKind::float64},
    {"_DATASET_ISINDB", InfoKind::int32},
    {"_DATASET_HZ_MODE", InfoKind::int32},
    {"_DATASET_MOTIONTOLERANCE", InfoKind::float64},
    {"_DATASET_MAXHEADMOTION", InfoKind::float64},
    {"_DATASET_MAXHEADMOTIONTRIAL", InfoKind::uint16},
    {"_DATASET_MAXHEADMOTIONCOIL", InfoKind::text},
};

constexpr int kDeepest = 32;
constexpr std::int64_t kTextWidth = 32;

using Value = decltype(InformationEntry::value);

const InfoTag* exactTag(std::string_view name) {
  const auto* found =
      std::find_if(std::begin(kTags), std::end(kTags), [&](const InfoTag& tag) { return name == tag.name; });
  return found == std::end(kTags) ? nullptr : found;
}

const InfoTag* containedTag(const std::string& name) {
  const auto* found = std::find_if(std::begin(kTags), std::end(kTags), [&](const InfoTag& tag) {
    return name.find(tag.name) != std::string::npos;
  });
  return found == std::end(kTags) ? nullptr : found;
}

/// Six digits after the point, whatever the locale.
std::string fixedText(double value) {
  constexpr int kDigits = 6;
  char text[std::numeric_limits<double>::max_exponent10 + kDigits + 4];  // sign, first digit, point
  const auto end = std::to_chars(std::begin(text), std::end(text), value, std::chars_format::fixed, kDigits);
  return {std::begin(text), end.ptr};
}

// Values are converted to what their tag is.

std::optional<double> numberOf(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) {
    double number = 0.0;
    if (scan(*text, "%f", {&number}, ScanPrecision::full) != 1) return std::nullopt;
    return number;
  }
  const auto* integer = std::get_if<std::int64_t>(&value);
  return integer != nullptr ? static_cast<double>(*integer) : std::get<double>(value);
}

std::string textOf(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* integer = std::get_if<std::int64_t>(&value)) return std::to_string(*integer);
  return fixedText(std::get<double>(value));
}

template <class Integer>
std::optional<Value> integerOf(const Value& value) {
  const auto number = numberOf(value);
  if (!number || *number != std::trunc(*number) || !(*number >= std::numeric_limits<Integer>::min()) ||
      !(*number <= std::numeric_limits<Integer>::max()))
    return std::nullopt;
  return std::int64_t{static_cast<Integer>(*number)};
}

/// Nothing when the value can't be converted.
std::optional<Value> converted(const Value& value, InfoKind kind) {
  switch (kind) {
    case InfoKind::int32:
      return integerOf<std::int32_t>(value);
    case InfoKind::uint16:
      return integerOf<std::uint16_t>(value);
    case InfoKind::float64: {
      const auto number = numberOf(value);
      return number ? std::optional<Value>(*number) : std::nullopt;
    }
    case InfoKind::block:
    case InfoKind::text:
      break;
  }
  return textOf(value);
}

class InformationParser {
 public:
  InformationParser(const File& file, const ReadingRules& rules, Notices& notices, Information& information)
      : m_cursor(file),
        m_rules(rules),
        m_notices(notices),
        m_information(information),
        m_text(information.text) {}

  /// Whether the next four bytes are those with which the file and each block begin. Reads them.
  bool startsBlock() {
    constexpr char kMagic[] = {'W', 'S', '1', '_'};
    std::array<std::byte, sizeof kMagic> bytes;
    return m_cursor.fill(bytes) && std::memcmp(bytes.data(), kMagic, sizeof kMagic) == 0;
  }

  /// Reads up to "EndOfParameters". False, with a finding, when the file ends before, or at something that is
  /// no entry.
  bool readEntries(int depth) {
    for (;;) {
      const auto name = readSizedText();
      if (!name) return false;
      if (name->find("EndOfParameters") != std::string::npos) return true;
      const auto code = readNumber<std::int32_t>();
      if (!code) return false;
      const auto type = static_cast<InfoType>(*code);
      const bool read = m_rules.infoByType ? readTyped(*name, type, depth)
                        : depth == 0       ? readByTag(*name, type, depth)
                                           : readValue(type, depth).has_value();
      if (!read) return false;
    }
  }

  bool beganAnew() const { return m_beganAnew; }

 private:
  void report(Code code, const std::string& text) const {
    m_notices.report({.severity = Finding::Severity::warning,
                      .code = wordOf(code),
                      .file = m_cursor.file().path(),
                      .text = text,
                      .offset = static_cast<std::int64_t>(m_cursor.position())});
  }

  bool fail(const char* text) const {
    report(Code::infodsDamaged, text);
    return false;
  }

  bool readBlock(int depth) {
    if (depth > kDeepest) return fail("nests blocks deeper than 32");
    return startsBlock() ? readEntries(depth) : fail("has no block where one should begin");
  }

  void beginAnew() {
    m_text.clear();
    m_beganAnew = true;
  }

  // By tag: what the tag is decides how the value is read.

  bool readByTag(const std::string& name, InfoType type, int depth) {
    const InfoTag* tag = containedTag(name);
    if (tag == nullptr) return readValue(type, depth).has_value();
    switch (tag->kind) {
      case InfoKind::block:
        beginAnew();
        if (!readBlock(depth + 1)) return false;
        add(tag->name, m_text);
        return true;
      case InfoKind::int32:
        return addNumber<std::int32_t, std::int64_t>(tag->name);
      case InfoKind::uint16:
        return addNumber<std::uint16_t, std::int64_t>(tag->name);
      case InfoKind::float64:
        return addNumber<double, double>(tag->name);
      case InfoKind::text:
        break;
    }
    const auto length = readNumber<std::int32_t>();
    if (!length) return false;
    if (*length == 0) return true;  // nothing is said: an earlier value stays
    const auto text = readText(*length);
    if (text) add(tag->name, std::string(trimmed(*text)));
    return text.has_value();
  }

  template <class Number, class Stored>
  bool addNumber(const char* tag) {
    const auto number = readNumber<Number>();
    if (number) add(tag, static_cast<Stored>(*number));
    return number.has_value();
  }

  void add(std::string tag, Value value) {
    m_information.entries.push_back({std::move(tag), std::move(value)});
  }

  // By type: the type code decides how the value is read, the exact tag what it is converted to.

  bool readTyped(const std::string& name, InfoType type, int depth) {
    const InfoTag* tag = exactTag(name);
    const bool ofTag = depth == 0 && tag != nullptr;
    if (ofTag && type == InfoType::block) beginAnew();
    const std::size_t start = m_text.size();
    auto value = readValue(type, depth);
    if (!value) return false;
    if (ofTag && type != InfoType::block) m_text.resize(start);
    store(name, tag, std::move(*value));
    return true;
  }

  void store(const std::string& name, const InfoTag* tag, Value value) {
    if (const auto* text = std::get_if<std::string>(&value); text != nullptr && text->empty()) return;
    if (tag != nullptr) {
      if (auto fitting = converted(value, tag->kind))
        value = std::move(*fitting);
      else
        report(Code::infodsValue, "has a value of another kind than its tag: " + name);
    }
    add(name, std::move(value));
  }

  // Values: each is appended to the text as it is rendered. Codes 4 to 8 end their line, the others begin
  // one.

  template <class Number>
  std::optional<Number> readNumber() {
    std::array<std::byte, sizeof(Number)> bytes;
    if (m_cursor.fill(bytes)) return loadBigEndian<Number>(bytes, 0);
    fail("ends inside a number");
    return std::nullopt;
  }

  std::string decode(std::span<const std::byte> bytes) const {
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    return decodeText(text.substr(0, text.find('\0')), m_rules);
  }

  std::optional<std::string> readText(std::int64_t length) {
    const auto bytes = m_cursor.exactly(length);
    if (bytes) return decode(*bytes);
    fail(length < 0 ? "gives a text a negative length" : "ends inside a text");
    return std::nullopt;
  }

  std::optional<std::string> readSizedText() {
    const auto length = readNumber<std::int32_t>();
    return length ? readText(*length) : std::nullopt;
  }

  template <class Number>
  std::optional<Value> readInteger(const char* before, const char* after) {
    const auto number = readNumber<Number>();
    if (!number) return std::nullopt;
    m_text += before + std::to_string(*number) + after;
    return std::int64_t{*number};
  }

  std::optional<Value> readValue(InfoType type, int depth) {
    switch (type) {
      case InfoType::text:
      case InfoType::path:
      case InfoType::longText: {
        const auto length = readNumber<std::int32_t>();
        const auto text = length ? readText(*length) : std::nullopt;
        if (!text) return std::nullopt;
        if (*length > 0) m_text += "\n" + *text;
        return std::string(trimmed(*text));
      }
      case InfoType::block: {
        const std::size_t start = m_text.size();
        if (!readBlock(depth + 1)) return std::nullopt;
        return m_text.substr(start);
      }
      case InfoType::float64: {
        const auto number = readNumber<double>();
        if (!number) return std::nullopt;
        m_text += fixedText(*number) + " \n";
        return *number;
      }
      case InfoType::int32: {
        if (m_rules.infoByType) return readInteger<std::int32_t>("", " \n");
        // Hosts find an integer rendered where a fraction was expected: always zero.
        const auto number = readNumber<std::int32_t>();
        if (!number) return std::nullopt;
        m_text += "0.000000 \n";
        return std::int64_t{*number};
      }
      case InfoType::int16:
        return readInteger<std::int16_t>("", " \n");
      case InfoType::uint16:
        return readInteger<std::uint16_t>("", " \n");
      case InfoType::character:
        return readCharacter();
      case InfoType::text32: {
        // Under host rules what is left of it counts too.
        const auto text =
            m_rules.infoByType ? readText(kTextWidth) : std::optional(decode(m_cursor.upTo(kTextWidth)));
        if (!text) return std::nullopt;
        m_text += "\n" + *text;
        return std::string(trimmed(*text));
      }
      case InfoType::textList:
      case InfoType::text32List:
      case InfoType::int32List:
        return readList(type);
      case InfoType::signed32:
      case InfoType::alsoSigned32:
        return readInteger<std::int32_t>("\n", "");
      case InfoType::unsigned32:
      case InfoType::alsoUnsigned32:
        if (m_rules.infoByType) return readInteger<std::uint32_t>("\n", "");
        return readInteger<std::int32_t>("\n", "");  // hosts find large ones negative
    }
    fail("has a value of unknown type");
    return std::nullopt;
  }

  std::optional<Value> readCharacter() {
    const auto byte = readNumber<std::uint8_t>();
    if (!byte) return std::nullopt;
    std::string character;
    if (m_rules.windows1252)
      character = utf8FromWindows1252(std::string(1, static_cast<char>(*byte)));
    else
      appendUtf8(character, *byte);
    m_text += character + " \n";
    return character;
  }

  std::optional<Value> readList(InfoType type) {
    const auto count = readNumber<std::int32_t>();
    if (!count) return std::nullopt;
    const std::size_t start = m_text.size();
    for (std::int32_t i = 0; i < *count; ++i) {
      if (type == InfoType::textList && !m_rules.infoByType) {
        // Hosts have only the length read: the text after it is taken for what follows.
        if (!readNumber<std::int32_t>()) return std::nullopt;
      } else if (type == InfoType::int32List) {
        if (!readInteger<std::int32_t>("\n", "")) return std::nullopt;
      } else {
        const auto text = type == InfoType::textList ? readSizedText() : readText(kTextWidth);
        if (!text) return std::nullopt;
        m_text += "\n" + *text;
      }
    }
    return std::string(trimmed(std::string_view(m_text).substr(start)));
  }

  Cursor m_cursor;
  ReadingRules m_rules;
  Notices& m_notices;
  Information& m_information;
  std::string& m_text;  // grows by every value as it is rendered, but for those that have a tag's place
  bool m_beganAnew = false;
};

}  // namespace

std::span<const InfoTag> infoTags() { return kTags; }

InformationOutcome readInformation(const File& file, const ReadingRules& rules, Notices& notices,
                                   Information& information) {
  InformationParser parser(file, rules, notices, information);
  InformationOutcome outcome;
  outcome.begins = parser.startsBlock();
  if (!outcome.begins) {
    notices.report({.severity = Finding::Severity::warning,
                    .code = wordOf(Code::infodsMagic),
                    .file = file.path(),
                    .text = "does not begin with the information file's mark \"WS1_\"",
                    .offset = 0});
    return outcome;
  }
  information.text.clear();
  outcome.complete = parser.readEntries(0);
  outcome.beganAnew = parser.beganAnew();
  return outcome;
}

}  // namespace ctfmeg
