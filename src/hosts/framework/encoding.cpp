#include <megreader/framework/encoding.h>

#include "base/encoding.h"

CString fromUtf8(std::string_view bytes) { return CString(ctfmeg::wideFromUtf8(bytes)); }
std::string toUtf8(const CString& text) { return ctfmeg::utf8FromWide(text.str()); }
CString fromWindows1252(std::string_view bytes) { return fromUtf8(ctfmeg::utf8FromWindows1252(bytes)); }
CString fromAnsi(std::string_view bytes) { return fromUtf8(ctfmeg::utf8FromAnsi(bytes)); }
