#include <windows.h>

#include <filesystem>

#include "support/command.h"
#include "support/temporary_directory.h"

namespace {

/// An argument as programs take their command line apart: backslashes before a quote are doubled.
std::wstring quoted(const std::wstring& argument) {
  std::wstring text = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : argument) {
    if (c == L'"') text.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    text += c;
  }
  return text.append(backslashes, L'\\') + L"\"";
}

std::wstring wide(const std::string& text) {
  const auto utf8 = std::u8string(text.begin(), text.end());
  return utf8.empty() ? L"" : std::filesystem::path(utf8).wstring();
}

HANDLE openFor(const std::filesystem::path& file, DWORD access, DWORD disposition) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  return CreateFileW(file.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited, disposition,
                     FILE_ATTRIBUTE_NORMAL, nullptr);
}

}  // namespace

CommandResult runCommand(const std::string& program, const std::vector<std::string>& arguments) {
  const TemporaryDirectory directory;
  STARTUPINFOW streams{};
  streams.cb = sizeof streams;
  streams.dwFlags = STARTF_USESTDHANDLES;
  streams.hStdInput = openFor("NUL", GENERIC_READ, OPEN_EXISTING);
  streams.hStdOutput = openFor(directory.path() / "out", GENERIC_WRITE, CREATE_ALWAYS);
  streams.hStdError = openFor(directory.path() / "err", GENERIC_WRITE, CREATE_ALWAYS);
  std::wstring line = quoted(wide(program));
  for (const std::string& argument : arguments)
    line += L' ' + quoted(wide(argument));
  PROCESS_INFORMATION process{};
  DWORD exitCode = static_cast<DWORD>(-1);
  if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &streams, &process)) {
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &exitCode);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  }
  for (const HANDLE stream : {streams.hStdInput, streams.hStdOutput, streams.hStdError})
    CloseHandle(stream);
  return {static_cast<int>(exitCode), readFile(directory.path() / "out"), readFile(directory.path() / "err")};
}
