#pragma once

#include <compare>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include <megreader/framework/export.h>

/// The framework's wide-character string, by value. Positions and lengths count wide characters, from 0.
class MEGREADER_API CString {
 public:
  CString() = default;
  /// Null is an empty text.
  CString(const wchar_t* text)
      : m_text(viewOf(text)) {}  // NOLINT(google-explicit-constructor): the framework's
  explicit CString(std::wstring text) : m_text(std::move(text)) {}

  int GetLength() const { return static_cast<int>(m_text.size()); }
  bool IsEmpty() const { return m_text.empty(); }
  void Empty() { m_text.clear(); }
  const wchar_t* GetString() const { return m_text.c_str(); }
  operator const wchar_t*() const {
    return GetString();
  }  // NOLINT(google-explicit-constructor): the framework's
  const std::wstring& str() const { return m_text; }

  /// The character at `index`; the zero that ends the text at its length. Throws CInvalidArgException
  /// outside.
  wchar_t operator[](int index) const;

  void Truncate(int length);
  /// The first or last `count` characters: all of them when there are fewer, none when `count` is negative.
  CString Left(int count) const;
  CString Right(int count) const;
  /// `count` characters, or all, from `first` on, so far as they are there; a negative `first` is 0.
  CString Mid(int first) const;
  CString Mid(int first, int count) const;

  /// First or last position of a character, -1 when it does not occur.
  int Find(wchar_t character) const;
  int ReverseFind(wchar_t character) const;

  /// First position of a text, case-sensitive; -1 when it does not occur.
  int Find(const wchar_t* text) const;

  /// Puts `to` in the place of every `from`; returns how many there were.
  int Replace(wchar_t from, wchar_t to);
  int Replace(const wchar_t* from, const wchar_t* to);

  /// Takes every `character` out; returns how many there were.
  int Remove(wchar_t character);

  /// ASCII letters only: file types and keywords are ASCII, and no locale of the host may change the answer.
  CString& MakeLower();

  /// Removes white space (blank, tab, line feed, vertical tab, form feed, carriage return) at both ends.
  CString& Trim();

  CString& operator+=(const CString& other);
  CString& operator+=(wchar_t character);

  /// Replaces the text. Knows %s (CString or wide text), %d (signed), %u (unsigned), %f (six digits after
  /// the point, whatever the locale), %c (a wide character) and %%; an argument that is missing or of another
  /// kind than its conversion renders nothing.
  template <class... Arguments>
  void Format(const wchar_t* format, const Arguments&... arguments) {
    formatList(format, {FormatArgument(toArgument(arguments))...});
  }

  // With plain texts too: these would else compare as pointers.
  friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }
  friend bool operator==(const CString& a, const wchar_t* b) { return a.m_text == viewOf(b); }
  friend auto operator<=>(const CString& a, const CString& b) { return a.m_text <=> b.m_text; }
  friend auto operator<=>(const CString& a, const wchar_t* b) { return a.m_text <=> viewOf(b); }

 private:
  static std::wstring_view viewOf(const wchar_t* text) {
    return text != nullptr ? std::wstring_view(text) : std::wstring_view();
  }

  using FormatArgument = std::variant<std::int64_t, std::uint64_t, double, wchar_t, const wchar_t*>;

  template <class T>
  static FormatArgument toArgument(const T& value) {
    if constexpr (std::is_same_v<T, CString>)
      return value.GetString();
    else if constexpr (std::is_convertible_v<T, const wchar_t*>)
      return static_cast<const wchar_t*>(value);
    else if constexpr (std::is_same_v<T, double> || std::is_same_v<T, wchar_t>)
      return value;
    else if constexpr (std::is_signed_v<T>)
      return std::int64_t{value};
    else
      return std::uint64_t{value};
  }

  void formatList(const wchar_t* format, std::initializer_list<FormatArgument> arguments);

  std::wstring m_text;
};

MEGREADER_API CString operator+(CString left, const CString& right);
MEGREADER_API CString operator+(CString left, wchar_t right);
/// A number is no character, and must not move a pointer to the text either.
CString operator+(const CString& left, int right) = delete;
