#include "sidefiles/infods.h"

#include <algorithm>

#include <megreader/framework/encoding.h>
#include <megreader/framework/user_interface.h>
#include "sidefiles/info_conversion.h"
#include "sidefiles/side_file.h"
#include "util/byte_order.h"
#include "util/file_bytes.h"

namespace {

constexpr int kDeepest = 32;
constexpr std::int64_t kTextWidth = 32;

const InfoField* exactField(const CString& name) {
  const auto fields = infoFields();
  const auto found =
      std::find_if(fields.begin(), fields.end(), [&](const InfoField& field) { return name == field.tag; });
  return found == fields.end() ? nullptr : &*found;
}

const InfoField* containedField(const CString& name) {
  const auto fields = infoFields();
  const auto found = std::find_if(fields.begin(), fields.end(),
                                  [&](const InfoField& field) { return name.Find(field.tag) >= 0; });
  return found == fields.end() ? nullptr : &*found;
}

}  // namespace

bool InfoDsParser::fail(const wchar_t* text) const {
  reportFinding({.severity = kOptional,
                 .code = "infods.damaged",
                 .file = m_file.GetFilePath(),
                 .text = text,
                 .offset = static_cast<std::int64_t>(m_file.GetPosition())});
  return false;
}

void InfoDsParser::beginAnew() {
  m_text = {};
  m_beganAnew = true;
}

CString InfoDsParser::decode(std::span<const std::byte> bytes) const {
  std::string text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  text.resize(std::min(text.size(), text.find('\0')));
  return m_byType ? fromWindows1252(text) : fromAnsi(text);
}

template <class Number>
std::optional<Number> InfoDsParser::readNumber() {
  const auto bytes = readExactly(m_file, sizeof(Number));
  if (bytes) return loadBigEndian<Number>(*bytes, 0);
  fail(L"ends inside a number");
  return std::nullopt;
}

std::optional<CString> InfoDsParser::readText(std::int64_t length) {
  const auto bytes = readExactly(m_file, length);
  if (bytes) return decode(*bytes);
  fail(length < 0 ? L"gives a text a negative length" : L"ends inside a text");
  return std::nullopt;
}

std::optional<CString> InfoDsParser::readSizedText() {
  const auto length = readNumber<std::int32_t>();
  return length ? readText(*length) : std::nullopt;
}

bool InfoDsParser::readEntries(int depth) {
  for (;;) {
    const auto name = readSizedText();
    if (!name) return false;
    if (name->Find(L"EndOfParameters") >= 0) return true;
    const auto code = readNumber<std::int32_t>();
    if (!code) return false;
    const auto type = static_cast<InfoType>(*code);
    const bool read = m_byType     ? readTyped(*name, type, depth)
                      : depth == 0 ? readInfoTag(*name, type, depth)
                                   : readInfoValue(type, depth).has_value();
    if (!read) return false;
  }
}

bool InfoDsParser::readInfoBlock(int depth) {
  if (depth > kDeepest) return fail(L"nests blocks deeper than 32");
  return startsInfoBlock(m_file) ? readEntries(depth) : fail(L"has no block where one should begin");
}

// By tag: the member decides how the value is read.

bool InfoDsParser::readInfoTag(const CString& name, InfoType type, int depth) {
  const InfoField* field = containedField(name);
  if (field == nullptr) return readInfoValue(type, depth).has_value();
  return std::visit([&](auto member) { return readMember(member, field->tag, depth); }, field->member);
}

bool InfoDsParser::readMember(InfoBlock block, const wchar_t* tag, int depth) {
  beginAnew();
  if (!readInfoBlock(depth + 1)) return false;
  m_information.*block.text = m_text;
  m_information.entries.push_back({tag, m_text});
  return true;
}

bool InfoDsParser::readMember(CString DatasetInformation::*member, const wchar_t* tag, int /*depth*/) {
  const auto length = readNumber<std::int32_t>();
  if (!length) return false;
  if (*length == 0) return true;  // nothing is said: the member stays as it is
  auto text = readText(*length);
  if (!text) return false;
  m_information.*member = text->Trim();
  m_information.entries.push_back({tag, *text});
  return true;
}

template <class Number>
bool InfoDsParser::readMember(Number DatasetInformation::*member, const wchar_t* tag, int /*depth*/) {
  const auto number = readNumber<Number>();
  if (!number) return false;
  m_information.*member = *number;
  InformationEntry entry{tag, {}};
  if constexpr (std::is_floating_point_v<Number>)
    entry.value = *number;
  else
    entry.value = std::int64_t{*number};
  m_information.entries.push_back(std::move(entry));
  return true;
}

// By type: the type code decides how the value is read, the exact tag where it goes.

bool InfoDsParser::readTyped(const CString& name, InfoType type, int depth) {
  const InfoField* field = exactField(name);
  const bool ofMember = depth == 0 && field != nullptr;
  if (ofMember && type == InfoType::block) beginAnew();
  const int start = m_text.GetLength();
  auto value = readInfoValue(type, depth);
  if (!value) return false;
  if (ofMember && type != InfoType::block) m_text.Truncate(start);
  store(name, field, std::move(*value));
  return true;
}

void InfoDsParser::store(const CString& name, const InfoField* field, Value value) {
  if (const auto* text = std::get_if<CString>(&value); text != nullptr && text->IsEmpty()) return;
  if (field != nullptr && !convertInto(m_information, *field, value)) {
    reportFinding({.severity = kOptional,
                   .code = "infods.value",
                   .file = m_file.GetFilePath(),
                   .text = L"has a value of another kind than its tag: " + name,
                   .offset = static_cast<std::int64_t>(m_file.GetPosition())});
  }
  m_information.entries.push_back({name, std::move(value)});
}

// Values: each is appended to the text as it is rendered. Codes 4 to 8 end their line, the others begin one.

InfoDsParser::Value InfoDsParser::rendered(const wchar_t* format, std::int64_t number) {
  CString text;
  text.Format(format, number);
  m_text += text;
  return number;
}

std::optional<InfoDsParser::Value> InfoDsParser::readInfoValue(InfoType type, int depth) {
  const auto integer = [this](const wchar_t* format, auto number) -> std::optional<Value> {
    if (!number) return std::nullopt;
    return rendered(format, std::int64_t{*number});
  };
  switch (type) {
    case InfoType::text:
    case InfoType::path:
    case InfoType::longText: {
      const auto length = readNumber<std::int32_t>();
      auto text = length ? readText(*length) : std::nullopt;
      if (!text) return std::nullopt;
      if (*length > 0) m_text += L"\n" + *text;
      return text->Trim();
    }
    case InfoType::block: {
      const int start = m_text.GetLength();
      if (!readInfoBlock(depth + 1)) return std::nullopt;
      return m_text.Right(m_text.GetLength() - start);
    }
    case InfoType::float64: {
      const auto number = readNumber<double>();
      if (!number) return std::nullopt;
      CString text;
      text.Format(L"%f \n", *number);
      m_text += text;
      return *number;
    }
    case InfoType::int32: {
      // Hosts find an integer rendered where a fraction was expected: always nought.
      return integer(m_byType ? L"%d \n" : L"0.000000 \n", readNumber<std::int32_t>());
    }
    case InfoType::int16:
      return integer(L"%d \n", readNumber<std::int16_t>());
    case InfoType::uint16:
      return integer(L"%d \n", readNumber<std::uint16_t>());
    case InfoType::character: {
      const auto byte = readNumber<std::uint8_t>();
      if (!byte) return std::nullopt;
      const char character = static_cast<char>(*byte);
      CString text;
      text.Format(L"%c \n", m_byType ? fromWindows1252({&character, 1}).str().front() : wchar_t{*byte});
      m_text += text;
      return text.Left(1);
    }
    case InfoType::text32: {
      CString text = decode(readUpTo(m_file, kTextWidth));  // hosts get what is left of it, too
      m_text += L"\n" + text;
      return text.Trim();
    }
    case InfoType::textList:
    case InfoType::text32List:
    case InfoType::int32List:
      return readList(type);
    case InfoType::signed32:
    case InfoType::alsoSigned32:
      return integer(L"\n%d", readNumber<std::int32_t>());
    case InfoType::unsigned32:
    case InfoType::alsoUnsigned32: {
      const auto number = readNumber<std::uint32_t>();
      if (!number || m_byType) return integer(L"\n%d", number);
      return integer(L"\n%d", std::optional(static_cast<std::int32_t>(*number)));
    }
  }
  fail(L"has a value of unknown type");
  return std::nullopt;
}

std::optional<InfoDsParser::Value> InfoDsParser::readList(InfoType type) {
  const auto count = readNumber<std::int32_t>();
  if (!count) return std::nullopt;
  const int start = m_text.GetLength();
  for (std::int32_t i = 0; i < *count; ++i) {
    if (type == InfoType::textList && !m_byType) {
      // Hosts get only the length read: the text behind it is taken for what follows.
      if (!readNumber<std::int32_t>()) return std::nullopt;
    } else if (type == InfoType::int32List) {
      const auto number = readNumber<std::int32_t>();
      if (!number) return std::nullopt;
      rendered(L"\n%d", *number);
    } else {
      const auto text = type == InfoType::textList ? readSizedText() : readText(kTextWidth);
      if (!text) return std::nullopt;
      m_text += L"\n" + *text;
    }
  }
  return m_text.Right(m_text.GetLength() - start).Trim();
}
