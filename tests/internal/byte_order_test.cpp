#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "framework/encoding.h"
#include "framework/native_path.h"
#include "support/temporary_directory.h"
#include "util/basic_read_unix2window.h"

namespace {

using Converter = CBasicReadUnix2Windowzk;

template <class T>
using Conversion = T (Converter::*)(T&) const;

template <class T>
struct Number {
  std::string_view bytes;
  T value;
};

/// Compares bit patterns: a NaN equals nothing.
template <class T>
void expectConverted(const std::vector<Conversion<T>>& conversions, const std::vector<Number<T>>& numbers) {
  using Bits = std::array<std::uint8_t, sizeof(T)>;
  for (const auto conversion : conversions)
    for (const Number<T>& number : numbers) {
      ASSERT_EQ(number.bytes.size(), sizeof(T));
      T value;
      std::memcpy(&value, number.bytes.data(), sizeof(T));
      const T returned = (Converter().*conversion)(value);
      EXPECT_EQ(std::bit_cast<Bits>(value), std::bit_cast<Bits>(number.value));
      EXPECT_EQ(std::bit_cast<Bits>(returned), std::bit_cast<Bits>(number.value));
    }
}

template <std::size_t Size>
constexpr std::string_view bytes(const char (&text)[Size]) {
  return {text, Size - 1};
}

TEST(ByteOrder, ReversesEveryBitPattern) {
  expectConverted<std::int16_t>(
      {&Converter::unix2Win4Short, &Converter::endianTransform},
      {{bytes("\x01\x2C"), 300}, {bytes("\x80\x00"), INT16_MIN}, {bytes("\xFF\xFE"), -2}});
  expectConverted<std::uint16_t>({&Converter::unix2Win4UnsignedShort},
                                 {{bytes("\xFF\xFE"), 65534}, {bytes("\x80\x00"), 32768}});
  expectConverted<std::int32_t>(
      {&Converter::unix2Win4Int, &Converter::unix2Win4long, &Converter::endianTransform},
      {{bytes("\x00\x00\x01\x2C"), 300},
       {bytes("\x80\x00\x00\x00"), INT32_MIN},
       {bytes("\x7F\xFF\xFF\xFF"), INT32_MAX}});
  expectConverted<std::uint32_t>({&Converter::unix2Win4Ulong}, {{bytes("\xFF\xFF\xFF\xFE"), UINT32_MAX - 1}});
  expectConverted<float>({&Converter::unix2Win4Float},
                         {{bytes("\x40\x20\x00\x00"), 2.5F},
                          {bytes("\x80\x00\x00\x00"), -0.0F},
                          {bytes("\x7F\xA0\x12\x34"), std::bit_cast<float>(0x7FA01234U)}});
  expectConverted<double>(
      {&Converter::unix2Win4Double, &Converter::endianTransform},
      {{bytes("\x40\x24\x00\x00\x00\x00\x00\x00"), 10.0},
       {bytes("\x7F\xEF\xFF\xFF\xFF\xFF\xFF\xFF"), std::numeric_limits<double>::max()},
       {bytes("\x00\x00\x00\x00\x00\x00\x00\x01"), std::numeric_limits<double>::denorm_min()},
       {bytes("\x7F\xF0\x00\x00\x00\x00\x12\x34"), std::bit_cast<double>(0x7FF0000000001234U)}});
}

TEST(Paths, OnlyTheBackslashSeparates) {
  struct Case {
    const wchar_t *path, *basic, *dir, *upDir, *name;
  };
  for (const Case& c : {
           Case{L"D:\\data\\run.ds\\run.meg4", L"D:\\data\\run.ds\\run.", L"D:\\data\\run.ds\\",
                L"D:\\data\\", L"run"},
           {L"D:\\x.ds\\run", L"D:\\x.", L"D:\\x.ds\\", L"D:\\", L""},
           {L"D:\\x.ds\\", L"D:\\x.", L"D:\\x.ds\\", L"D:\\", L""},
           {L"x.ds\\a.b.res4", L"x.ds\\a.b.", L"x.ds\\", L"", L"a.b"},
           {L"run.meg4", L"run.", L"", L"", L"run"},
           {L"run", L"", L"", L"", L""},
           {L"\\.", L"\\.", L"\\", L"", L""},
           {L"", L"", L"", L"", L""},
           {L"/d/x.ds/run.meg4", L"/d/x.ds/run.", L"", L"", L"/d/x.ds/run"},
       }) {
    const std::string path = toUtf8(c.path);
    EXPECT_TRUE(Converter::getFilePathBasic(c.path) == c.basic) << path;
    EXPECT_TRUE(Converter::getFilePathDir(c.path) == c.dir) << path;
    EXPECT_TRUE(Converter::getFilePathUpDir(c.path) == c.upDir) << path;
    EXPECT_TRUE(Converter::getFileName(c.path) == c.name) << path;
  }
}

/// Every line as `line=result`, long ones by their length only, up to the first result of 0.
std::string linesOf(const std::string& content) {
  const TemporaryDirectory directory;
  const std::string path = (directory.path() / "text").string();
  writeFile(path, content);
  CFile file;
  EXPECT_TRUE(file.Open(toWindowsPath(path), CFile::modeRead));
  CArchive archive(&file);
  Converter reader;
  std::string lines;
  for (int result = 1; result != 0;) {
    CString line(L"before");
    result = reader.readANSI(archive, line);
    const std::string text = line.GetLength() < 20 ? toUtf8(line) : std::to_string(line.GetLength());
    lines += (lines.empty() ? "" : " ") + text + "=" + std::to_string(result);
  }
  return lines;
}

TEST(ReadAnsi, Lines) {
  const auto longLine = [](std::size_t length) { return std::string(length, 'x'); };
  std::string filled;  // 4095 bytes
  for (int i = 0; i < 3; ++i)
    filled += longLine(1364) + '\n';
  struct Case {
    std::string content, lines;
  };
  const std::vector<Case> cases{
      {"", "=0"},
      {"a\r\n\r\nb", "a=1 b=0"},
      {"a\rb\nc\r\nd\n\rlonger\ne\n", "a=1 b=1 c=1 d=1 longer=1 e=1 =0"},
      {"\n\r\n\r", "=0"},
      {" \t\n", " \t=1 =0"},
      {std::string("a\0b\nc", 5), "a=1 c=0"},
      {std::string("\0\n\0", 3), "=1 =0"},
      {"\x80\xE4\xFF\n", "€äÿ=1 =0"},
      {longLine(2047) + "\nb\n", "2047=1 b=1 =0"},
      {longLine(2048) + "\nb\n", "2048=1 b=1 =0"},
      {longLine(2049) + "\nb\n", "2048=1 x=1 b=1 =0"},
      {longLine(2048), "2048=1 =0"},
      {longLine(5000), "2048=1 2048=1 904=0"},
      {filled.substr(1) + "a\r\nb", "1363=1 1364=1 1364=1 a=1 b=0"},  // the CR is the last byte of a block
      {filled + "a\r\nb", "1364=1 1364=1 1364=1 a=1 b=0"},            // "a" is
  };
  for (const Case& c : cases)
    EXPECT_EQ(linesOf(c.content), c.lines) << testing::PrintToString(c.content.substr(0, 40));
}

}  // namespace
