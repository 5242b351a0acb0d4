#include <megreader/framework/encoding.h>

// POSIX systems have no ANSI code page, and the locale's encoding says nothing about files written on
// Windows.
CString fromAnsi(std::string_view bytes) { return fromWindows1252(bytes); }
