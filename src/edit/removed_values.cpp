#include "edit/removed_values.h"

#include <algorithm>
#include <array>

#include "base/encoding.h"
#include "edit/shifted_dates.h"

namespace ctfmeg::edit {
namespace {

constexpr std::size_t kFewestCharacters = 4;

bool isWideDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

/// Letters and digits of the scripts that names are written in.
bool isWordCharacter(wchar_t wide) {
  const auto c = static_cast<char32_t>(wide);
  if (c < 0x80) return isWideDigit(wide) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  if (c < 0x250) return (c >= 0xC0 && c != 0xD7 && c != 0xF7) || c == 0xAA || c == 0xB5 || c == 0xBA;
  return c < 0x2000 || (c >= 0x3040 && c < 0xD800) || (c >= 0xF900 && c < 0xFE00);
}

wchar_t lowerCase(wchar_t wide) {
  const auto c = static_cast<char32_t>(wide);
  const auto in = [c](char32_t first, char32_t last) { return c >= first && c <= last; };
  if (in('A', 'Z') || (in(0xC0, 0xDE) && c != 0xD7) || in(0x391, 0x3A9) || in(0x410, 0x42F))
    return static_cast<wchar_t>(c + 0x20);
  if (c == 0x178) return 0xFF;
  if (in(0x139, 0x148) || in(0x179, 0x17E)) return static_cast<wchar_t>(c + c % 2);
  return in(0x100, 0x177) ? static_cast<wchar_t>(c | 1) : wide;
}

/// A byte that is not part of UTF-8, as `wideFromUtf8` has it, is a character of Windows-1252.
wchar_t characterOfByte(wchar_t c) {
  static const auto kCharacters = [] {
    std::array<wchar_t, 0x80> characters{};
    for (std::size_t i = 0; i < characters.size(); ++i)
      characters[i] = wideFromUtf8(utf8FromWindows1252(std::string(1, static_cast<char>(0x80 + i)))).front();
    return characters;
  }();
  const auto code = static_cast<char32_t>(c);
  return code >= 0xDC80 && code <= 0xDCFF ? kCharacters[code - 0xDC80] : c;
}

std::wstring wideText(std::string_view bytes) {
  std::wstring text = wideFromUtf8(bytes);
  std::transform(text.begin(), text.end(), text.begin(), characterOfByte);
  return text;
}

std::wstring inLowerCase(std::wstring text) {
  std::transform(text.begin(), text.end(), text.begin(), lowerCase);
  return text;
}

/// Bytes from `start` on as text of 16 bits a character.
std::wstring text16(std::string_view bytes, std::size_t start, bool bigEndian) {
  std::wstring text;
  text.reserve(bytes.size() / 2);
  for (std::size_t i = start; i + 1 < bytes.size(); i += 2) {
    const auto first = static_cast<unsigned char>(bytes[i]),
               second = static_cast<unsigned char>(bytes[i + 1]);
    text += static_cast<wchar_t>(bigEndian ? first * 256 + second : second * 256 + first);
  }
  return text;
}

bool isNumber(const std::wstring& text) { return std::all_of(text.begin(), text.end(), isWideDigit); }

std::wstring trimmedWide(std::wstring text) {
  const auto isBlank = [](wchar_t c) { return c <= L' '; };
  text.erase(std::find_if_not(text.rbegin(), text.rend(), isBlank).base(), text.end());
  text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), isBlank));
  return text;
}

template <class Add>
void forEachPart(const std::wstring& text, bool (*isPart)(wchar_t), Add add) {
  for (auto at = text.begin(); at != text.end();) {
    const auto start = std::find_if(at, text.end(), isPart);
    at = std::find_if_not(start, text.end(), isPart);
    if (start != at) add(std::wstring(start, at));
  }
}

/// Whether a word ends before the character at `place`; one of a name also ends between a letter and a digit,
/// and where a capital letter begins the next one.
bool isBorder(const std::wstring& text, std::size_t place, bool ofName) {
  const wchar_t before = text[place - 1], after = text[place];
  if (!isWordCharacter(before) || !isWordCharacter(after)) return true;
  if (!ofName) return false;
  const auto isCapital = [](wchar_t c) { return lowerCase(c) != c; };
  const auto isSmall = [&](wchar_t c) { return !isWideDigit(c) && !isCapital(c) && isWordCharacter(c); };
  const bool smallFollows = place + 1 < text.size() && isSmall(text[place + 1]);
  return isWideDigit(before) != isWideDigit(after) || (isCapital(after) && (isSmall(before) || smallFollows));
}

bool isOfLine(wchar_t c) { return c >= L' ' || c == L'\t'; }

}  // namespace

void RemovedValues::addValue(std::wstring text, Kind kind) {
  Value value{inLowerCase(trimmedWide(std::move(text))), kind};
  if (value.text.size() < kFewestCharacters) return;
  if (std::find(m_values.begin(), m_values.end(), value) == m_values.end())
    m_values.push_back(std::move(value));
}

void RemovedValues::addWide(const std::wstring& text) {
  forEachPart(text, isOfLine, [&](std::wstring line) { addValue(std::move(line)); });
}

void RemovedValues::add(std::string_view text) { addWide(wideText(text)); }

void RemovedValues::add(const RemovedValues& others) {
  for (const Value& value : others.m_values)
    addValue(value.text, value.kind);
}

void RemovedValues::addName(std::string_view name) {
  constexpr std::size_t kMostJoined = 12;
  add(name);
  std::vector<std::wstring> words;
  forEachPart(inLowerCase(wideText(name)), isWordCharacter, [&](std::wstring word) {
    addValue(word, Kind::name);
    if (words.size() < kMostJoined && std::find(words.begin(), words.end(), word) == words.end())
      words.push_back(std::move(word));
  });
  for (const std::wstring& first : words)
    for (const std::wstring& second : words) {
      const bool areNumbers = isNumber(first) && isNumber(second);
      if (first == second || areNumbers || first.size() + second.size() < kFewestCharacters) continue;
      for (const wchar_t* between : {L"", L" ", L"_", L"-", L"."})
        addValue(std::wstring(first).append(between).append(second), Kind::name);
    }
}

void RemovedValues::addDatasetName(std::string_view name) { addValue(wideText(name), Kind::name); }

void RemovedValues::addPath(std::string_view path) {
  add(path);
  std::wstring last = inLowerCase(trimmedWide(wideText(path)));
  last.erase(last.find_last_not_of(L"/\\") + 1);
  last.erase(0, last.find_last_of(L"/\\") + 1);
  if (last.ends_with(L".ds"))
    addValue(last.substr(0, last.size() - 3), Kind::name);
  else
    addValue(last);
}

void RemovedValues::addDate(const Date& date) {
  for (const std::string& form : usualForms(date))
    addValue(wideText(form), Kind::date);
  for (const std::string& form : shortForms(date))
    addValue(wideText(form), Kind::shortDate);
}

bool RemovedValues::has(std::string_view text) const {
  const std::wstring wide = inLowerCase(trimmedWide(wideText(text)));
  return std::any_of(m_values.begin(), m_values.end(), [&](const Value& one) { return one.text == wide; });
}

void RemovedValues::allow(std::string_view text) {
  const std::wstring wide = wideText(text);
  std::erase_if(m_values, [&](const Value& value) {
    RemovedValues one;
    one.m_values.push_back(value);
    return one.firstIn(wide, 0).has_value();
  });
}

void RemovedValues::allowDate(const Date& date) {
  for (const auto& forms : {usualForms(date), shortForms(date)})
    for (const std::string& form : forms)
      allow(form);
}

bool RemovedValues::isWhole(const Value& value, const std::wstring& text, std::size_t start) const {
  const std::size_t end = start + value.text.size();
  const auto at = [&](std::size_t i) { return i < text.size() ? text[i] : L' '; };
  const wchar_t before = start > 0 ? text[start - 1] : L' ';
  if (value.kind == Kind::date) {  // letters may be next to it, as in "2013-04-29T09:36"
    constexpr std::size_t kTime = 6;
    bool timeFollows = isNumber(value.text);
    for (std::size_t i = end; i < end + kTime; ++i)
      timeFollows = timeFollows && isWideDigit(at(i));
    return !isWideDigit(before) && !isWideDigit(at(timeFollows ? end + kTime : end));
  }
  const bool isName = value.kind == Kind::name;
  if (start > 0 && !isBorder(text, start, isName)) return false;
  if (end < text.size() && !isBorder(text, end, isName)) return false;
  if (value.kind == Kind::shortDate && !isNumber(value.text)) {  // not a part of "1-29-04-13"
    const wchar_t between = *std::find_if_not(value.text.begin(), value.text.end(), isWideDigit);
    const bool goesOn = at(end) == between && isWideDigit(at(end + 1));
    return !goesOn && !(before == between && start > 1 && isWideDigit(text[start - 2]));
  }
  if (!isNumber(value.text)) return true;
  const bool fractionBefore = before == L'.' && start > 1 && isWideDigit(text[start - 2]);
  const bool fractionAfter = at(end) == L'.' && isWideDigit(at(end + 1));
  return !fractionBefore && !fractionAfter;
}

std::optional<RemovedValues::Match> RemovedValues::firstIn(const std::wstring& text, std::size_t from) const {
  std::array<std::vector<const Value*>, 256> byFirst;
  for (const Value& value : m_values)
    byFirst[static_cast<std::size_t>(value.text.front()) & 0xFF].push_back(&value);
  const std::wstring lower = inLowerCase(text);
  for (std::size_t i = from; i < lower.size(); ++i)
    for (const Value* value : byFirst[static_cast<std::size_t>(lower[i]) & 0xFF])
      if (lower.compare(i, value->text.size(), value->text) == 0 && isWhole(*value, text, i))
        return Match{i, value->text.size()};
  return std::nullopt;
}

std::optional<std::size_t> RemovedValues::placeIn(std::string_view bytes) const {
  if (m_values.empty()) return std::nullopt;
  std::optional<std::size_t> first;
  const auto note = [&](std::size_t place) { first = std::min(first.value_or(place), place); };
  if (const auto match = firstIn(wideText(bytes), 0))
    note(utf8FromWide(wideFromUtf8(bytes).substr(0, match->start)).size());
  for (const bool bigEndian : {false, true})
    for (const std::size_t start : {std::size_t{0}, std::size_t{1}})
      if (const auto match = firstIn(text16(bytes, start, bigEndian), 0)) note(start + 2 * match->start);
  return first;
}

std::string RemovedValues::masked(std::string_view text) const {
  std::wstring shown = wideFromUtf8(text);
  std::wstring wide = wideText(text);
  for (auto match = firstIn(wide, 0); match; match = firstIn(wide, match->start + 1))
    for (std::wstring* in : {&shown, &wide})
      in->replace(match->start, match->length, L"\u2026");
  return utf8FromWide(shown);
}

RemovedValues RemovedValues::textsNotIn(std::string_view text) const {
  RemovedValues values = *this;
  std::erase_if(values.m_values,
                [](const Value& value) { return value.kind != Kind::date && isNumber(value.text); });
  values.allow(text);
  return values;
}

}  // namespace ctfmeg::edit
