#pragma once

#include <optional>
#include <string>
#include <string_view>

// Texts inside the project are UTF-8. A byte of a file name that is not valid UTF-8 stays as it is; in wide
// text, which hosts use, it is U+DC80 to U+DCFF.

namespace ctfmeg {

void appendUtf8(std::string& text, char32_t codePoint);

/// From UTF-8 to wide text; a byte that is not part of valid UTF-8 becomes U+DC00 + byte.
std::wstring wideFromUtf8(std::string_view text);

/// The reverse: U+DC80 to U+DCFF alone become their byte again, any other lone surrogate U+FFFD.
std::string utf8FromWide(std::wstring_view text);

/// Windows-1252, on every system; the five bytes that it leaves open keep their number (0x81 is U+0081).
std::string utf8FromWindows1252(std::string_view bytes);

/// The reverse; nothing where `text` has a character that Windows-1252 has not.
std::optional<std::string> windows1252FromUtf8(std::string_view text);

/// The system's ANSI code page; Windows-1252 where the system has none.
std::string utf8FromAnsi(std::string_view bytes);

/// `text` without white space (blank, tab, line feed, vertical tab, form feed, carriage return) at its ends.
std::string_view trimmed(std::string_view text);

/// `text` with ASCII letters in lower case.
std::string lowered(std::string text);

}  // namespace ctfmeg
