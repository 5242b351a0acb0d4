#pragma once

#include <string>
#include <string_view>

#include <megreader/framework/cstring.h>

/// UTF-8 to wide text. A byte that is not part of valid UTF-8 becomes U+DC80 to U+DCFF, so that any file name
/// survives the way to wide text and back.
MEGREADER_API CString fromUtf8(std::string_view bytes);

/// Wide text to UTF-8, the reverse of `fromUtf8`: U+DC80 to U+DCFF alone become their byte again; any other
/// lone surrogate becomes U+FFFD.
MEGREADER_API std::string toUtf8(const CString& text);

/// Windows-1252, on every system; the five bytes that it leaves open keep their number (0x81 is U+0081).
MEGREADER_API CString fromWindows1252(std::string_view bytes);

/// The system's ANSI code page; Windows-1252 where the system has none.
MEGREADER_API CString fromAnsi(std::string_view bytes);
