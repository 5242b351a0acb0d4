#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <variant>

#include "framework/export.h"

/// The framework's wide-character string, by value. Positions and lengths count wide characters, from 0.
class MEGREADER_API CString {
 public:
  CString() = default;
  CString(const wchar_t* text) : m_text(text) {}  // NOLINT(google-explicit-constructor): as in the framework
  explicit CString(std::wstring text) : m_text(std::move(text)) {}

  int GetLength() const { return static_cast<int>(m_text.size()); }
  bool IsEmpty() const { return m_text.empty(); }
  const wchar_t* GetString() const { return m_text.c_str(); }
  const std::wstring& str() const { return m_text; }

  /// The first or last `count` characters: all of them when there are fewer, none when `count` is negative.
  void Truncate(int length);
  CString Left(int count) const;
  CString Right(int count) const;

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

  /// Replaces the text. Knows %s (CString or wide text), %d (signed), %u (unsigned), %f (six digits behind
  /// the point, whatever the locale), %c (a wide character) and %%; an argument that is missing or of another
  /// kind than its conversion renders nothing.
  template <class... Arguments>
  void Format(const wchar_t* format, const Arguments&... arguments) {
    formatList(format, {FormatArgument(toArgument(arguments))...});
  }

  friend bool operator==(const CString& a, const CString& b) { return a.m_text == b.m_text; }

 private:
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
