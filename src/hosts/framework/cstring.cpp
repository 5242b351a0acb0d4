#include <megreader/framework/cstring.h>

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>

#include <megreader/framework/exceptions.h>

namespace {

constexpr const wchar_t* kWhiteSpace = L" \t\n\v\f\r";

std::size_t clampCount(int count, std::size_t size) {
  return std::min(static_cast<std::size_t>(std::max(count, 0)), size);
}

int toPosition(std::size_t found) { return found == std::wstring::npos ? -1 : static_cast<int>(found); }

std::wstring fixed(double value) {
  constexpr int kDigits = 6;
  char text[std::numeric_limits<double>::max_exponent10 + kDigits + 4];  // sign, first digit, point
  const auto end = std::to_chars(std::begin(text), std::end(text), value, std::chars_format::fixed, kDigits);
  return {std::begin(text), end.ptr};
}

}  // namespace

CString CString::Left(int count) const { return CString(m_text.substr(0, clampCount(count, m_text.size()))); }

CString CString::Right(int count) const {
  return CString(m_text.substr(m_text.size() - clampCount(count, m_text.size())));
}

CString CString::Mid(int first) const { return Mid(first, GetLength()); }

CString CString::Mid(int first, int count) const {
  const std::size_t start = clampCount(first, m_text.size());
  return CString(m_text.substr(start, clampCount(count, m_text.size() - start)));
}

wchar_t CString::operator[](int index) const {
  if (index < 0 || index > GetLength()) AfxThrowInvalidArgException();
  return m_text[static_cast<std::size_t>(index)];
}

int CString::Find(wchar_t character) const { return toPosition(m_text.find(character)); }

int CString::Find(const wchar_t* text) const { return text != nullptr ? toPosition(m_text.find(text)) : -1; }

int CString::ReverseFind(wchar_t character) const { return toPosition(m_text.rfind(character)); }

int CString::Replace(wchar_t from, wchar_t to) {
  const auto occurrences = std::count(m_text.begin(), m_text.end(), from);
  std::replace(m_text.begin(), m_text.end(), from, to);
  return static_cast<int>(occurrences);
}

int CString::Replace(const wchar_t* from, const wchar_t* to) {
  const std::wstring_view old = viewOf(from), fresh = viewOf(to);
  int count = 0;
  if (old.empty()) return count;
  std::wstring replaced;
  std::size_t kept = 0;
  for (std::size_t at = 0; (at = m_text.find(old, kept)) != std::wstring::npos; kept = at + old.size()) {
    replaced.append(m_text, kept, at - kept).append(fresh);
    ++count;
  }
  if (count > 0) m_text = replaced.append(m_text, kept);
  return count;
}

void CString::Truncate(int length) {
  if (length >= 0 && length < GetLength()) m_text.resize(static_cast<std::size_t>(length));
}

int CString::Remove(wchar_t character) { return static_cast<int>(std::erase(m_text, character)); }

CString& CString::MakeLower() {
  for (wchar_t& c : m_text)
    if (c >= L'A' && c <= L'Z') c = static_cast<wchar_t>(c + (L'a' - L'A'));
  return *this;
}

CString& CString::Trim() {
  const std::size_t first = m_text.find_first_not_of(kWhiteSpace);
  if (first == std::wstring::npos) {
    m_text.clear();
    return *this;
  }
  m_text.erase(m_text.find_last_not_of(kWhiteSpace) + 1);
  m_text.erase(0, first);
  return *this;
}

CString& CString::operator+=(const CString& other) {
  m_text += other.m_text;
  return *this;
}

CString& CString::operator+=(wchar_t character) {
  m_text += character;
  return *this;
}

void CString::formatList(const wchar_t* format, std::initializer_list<FormatArgument> arguments) {
  std::wstring result;
  const auto* next = arguments.begin();
  for (const wchar_t* c = format; c != nullptr && *c != 0; ++c) {
    if (*c != L'%' || c[1] == 0) {
      result += *c;
      continue;
    }
    const wchar_t conversion = *++c;
    if (conversion == L'%') {
      result += L'%';
      continue;
    }
    if (next == arguments.end()) continue;
    const FormatArgument& argument = *next++;
    if (const auto* text = std::get_if<const wchar_t*>(&argument); text != nullptr && conversion == L's')
      result += viewOf(*text);
    else if (const auto* number = std::get_if<std::int64_t>(&argument);
             number != nullptr && conversion == L'd')
      result += std::to_wstring(*number);
    else if (const auto* count = std::get_if<std::uint64_t>(&argument);
             count != nullptr && conversion == L'u')
      result += std::to_wstring(*count);
    else if (const auto* real = std::get_if<double>(&argument); real != nullptr && conversion == L'f')
      result += fixed(*real);
    else if (const auto* letter = std::get_if<wchar_t>(&argument); letter != nullptr && conversion == L'c')
      result += *letter;
  }
  m_text = std::move(result);
}

CString operator+(CString left, const CString& right) {
  left += right;
  return left;
}

CString operator+(CString left, wchar_t right) {
  left += right;
  return left;
}
