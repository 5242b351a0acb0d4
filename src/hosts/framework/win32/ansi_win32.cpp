#include <windows.h>

#include <megreader/framework/encoding.h>

CString fromAnsi(std::string_view bytes) {
  const int length = static_cast<int>(bytes.size());
  std::wstring text(bytes.size(), L'\0');  // a byte never takes more than one 16-bit character
  const int converted = MultiByteToWideChar(CP_ACP, 0, bytes.data(), length, text.data(), length);
  text.resize(static_cast<std::size_t>(converted));
  return CString(text);
}
