#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <clocale>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "base/byte_order.h"
#include "base/dates.h"
#include "base/scan.h"
#include "internal/probe.h"

// Numbers, lines and paths: what every format is made of.

namespace {

using Converter = CBasicReadUnix2Windowzk;

/// Puts bit patterns into memory as a file has them and compares bits again: a NaN equals nothing.
template <class T, class Bits>
void expectConverted(const std::vector<T (Converter::*)(T&) const>& conversions,
                     const std::vector<Bits>& patterns) {
  for (const auto conversion : conversions)
    for (const Bits pattern : patterns) {
      std::array<std::uint8_t, sizeof(T)> file{};
      for (std::size_t i = 0; i < sizeof(T); ++i)
        file[i] = static_cast<std::uint8_t>(pattern >> 8 * (sizeof(T) - 1 - i));
      T value = std::bit_cast<T>(file);
      const T returned = (Converter().*conversion)(value);
      EXPECT_EQ(std::bit_cast<Bits>(value), pattern);
      EXPECT_EQ(std::bit_cast<Bits>(returned), pattern);
    }
}

TEST(ByteOrder, ReversesEveryBitPattern) {
  using C = Converter;
  expectConverted<std::int16_t, std::uint16_t>({&C::unix2Win4Short, &C::endianTransform},
                                               {300, 0x8000, 0xFFFE});
  expectConverted<std::uint16_t, std::uint16_t>({&C::unix2Win4UnsignedShort}, {300, 0x8000, 0xFFFE});
  expectConverted<std::int32_t, std::uint32_t>({&C::unix2Win4Int, &C::unix2Win4long, &C::endianTransform},
                                               {300, 0x80000000, 0x7FFFFFFF});
  expectConverted<std::uint32_t, std::uint32_t>({&C::unix2Win4Ulong}, {300, 0xFFFFFFFE});
  expectConverted<float, std::uint32_t>({&C::unix2Win4Float}, {0x40200000, 0x80000000, 0x7FA01234});
  expectConverted<double, std::uint64_t>({&C::unix2Win4Double, &C::endianTransform},
                                         {0x4024000000000000, 1, 0x7FEFFFFFFFFFFFFF, 0x7FF0000000001234});
}

TEST(Paths, OnlyTheBackslashSeparates) {
  struct Case {
    const wchar_t *path, *basic, *dir, *upDir, *name;
  };
  for (const Case& c : {
           Case{L"D:\\data\\run.ds\\run.meg4", L"D:\\data\\run.ds\\run.", L"D:\\data\\run.ds\\",
                L"D:\\data\\", L"run"},
           {L"D:\\x.ds\\run", L"D:\\x.", L"D:\\x.ds\\", L"D:\\", L""},
           {L"x.ds\\a.b.res4", L"x.ds\\a.b.", L"x.ds\\", L"", L"a.b"},
           {L"run.meg4", L"run.", L"", L"", L"run"},
           {L"run", L"", L"", L"", L""},
           {L"\\.", L"\\.", L"\\", L"", L""},
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
  const std::string filled = longLine(2047) + '\n' + longLine(2046) + '\n';  // 4095 bytes
  const std::pair<std::string, std::string> cases[] = {
      {"", "=0"},
      {"a\r\n\r\nb", "a=1 b=0"},
      {"a\rb\nc\r\nd\n\rlonger\ne\n", "a=1 b=1 c=1 d=1 longer=1 e=1 =0"},
      {"\n\r\n\r", "=0"},
      {" \t\n", " \t=1 =0"},
      {std::string("a\0b\nc", 5), "a=1 c=0"},
      {std::string("\0\n\0", 3), "=1 =0"},
      {"\x80\xE4\xFF\n", "€äÿ=1 =0"},
      {longLine(2048) + "\nb\n", "2048=1 b=1 =0"},
      {longLine(2049) + "\nb\n", "2048=1 x=1 b=1 =0"},
      {longLine(5000), "2048=1 2048=1 904=0"},
      {filled.substr(1) + "a\r\nb", "2046=1 2046=1 a=1 b=0"},  // the CR is the last byte of a block
      {filled + "a\r\nb", "2047=1 2046=1 a=1 b=0"},            // "a" is
  };
  for (const auto& [content, lines] : cases)
    EXPECT_EQ(linesOf(content), lines) << testing::PrintToString(content.substr(0, 40));
}

TEST(Text, ScanTakesWhatTheFormatSays) {
  const double infinity = std::numeric_limits<double>::infinity();
  const struct {
    std::string line;
    const char* format;
    int taken;
    double value;
    ctfmeg::ScanPrecision precision = ctfmeg::ScanPrecision::full;
  } cases[] = {
      {"x = -1.5e2z", "x = %f", 1, -150.0},
      {"--1", "%f", 0, 7.0},
      {"inf", "%f", 0, 7.0},
      {"1,5", "%f", 1, 1.0},  // a comma is no decimal point, whatever the locale
      {"1e999", "%f", 0, 7.0},
      {"1E39", "%f", 1, infinity, ctfmeg::ScanPrecision::single},
      {"1E-400", "%f", 1, 0.0},
      {"0." + std::string(400, '0') + "1", "%f", 1, 0.0},
      {"-12abc", "%d", 1, -12.0},
      {"+ 1", "%d", 0, 7.0},
      {"+-1", "%d", 0, 7.0},
      {"", "%d", 0, 7.0},
      {"-99999999999", "%d", 1, INT32_MIN},
  };
  for (const auto& c : cases) {
    std::int32_t whole = 7;
    double value = 7.0;
    const bool ofWhole = std::string(c.format) == "%d";
    const ctfmeg::ScanTarget target = ofWhole ? ctfmeg::ScanTarget(&whole) : ctfmeg::ScanTarget(&value);
    EXPECT_EQ(ctfmeg::scan(c.line, c.format, {target}, c.precision), c.taken) << c.line;
    EXPECT_EQ(ofWhole ? whole : value, c.value) << c.line;
  }
  std::string word;
  double value = 7.0;
  EXPECT_EQ(ctfmeg::scan("x=1", "%s = %f", {&word, &value}, ctfmeg::ScanPrecision::full), 1);
  EXPECT_EQ(word, "x=1") << "a word takes it all";
}

#if defined(TEST_LOCALES) || defined(_WIN32)
TEST(Text, ALocaleOfTheHostChangesNoNumber) {
#ifdef _WIN32
  ASSERT_NE(std::setlocale(LC_ALL, "German_Germany.1252"), nullptr);
#else
  setenv("LOCPATH", TEST_LOCALES, 1);
  ASSERT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
#endif
  char comma[8];
  std::snprintf(comma, sizeof comma, "%.1f", 0.5);
  const std::string infods = Bytes().raw("WS1_").i32(1).raw("x").i32(4).f64(0.5).str();
  Probe reader(ReadingRules::plain());
  const CString base = Probe::getFilePathBasic(reader.writeDataset({}));
  writeFile(reader.directory.path() / "run.ds" / "run.infods", infods);
  writeFile(reader.directory.path() / "run.ds" / "bad.segments", "1 0.5 1.5\n");
  reader.readInfoDsFile(base + L"infods");
  reader.readBadSegments(base);
  std::setlocale(LC_ALL, "C");
  ASSERT_STREQ(comma, "0,5") << "the locale has no comma";
  EXPECT_EQ(toUtf8(reader.info().information.text), "0.500000 \n");
  EXPECT_EQ(reader.data.badSegments().at(0).startMs, 500.0);
  EXPECT_EQ(reader.data.badSegments().at(0).endMs, 1500.0);
}
#endif

TEST(ByteOrder, SamplesAreSwappedAlikeByEveryInstructionSet) {
  std::vector<std::int32_t> samples(100);
  for (std::size_t i = 0; i < samples.size(); ++i)
    samples[i] = static_cast<std::int32_t>(0x01020304U * (i + 1));
  for (std::size_t begin = 0; begin < 9; ++begin)
    for (std::size_t count = 0; begin + count <= samples.size(); ++count) {
      auto wide = samples, plain = samples;
      ctfmeg::samplesToHostOrder(std::span(wide).subspan(begin, count));
      ctfmeg::samplesToHostOrderPlainly(std::span(plain).subspan(begin, count));
      ASSERT_EQ(wide, plain) << begin << " " << count;
    }
}

TEST(Dates, AreThoseThatCanOnlyBeMeant) {
  const auto iso = [](const char* text) {
    const auto date = ctfmeg::parseDate(text);
    return date ? ctfmeg::isoDate(*date) : "";
  };
  for (const char* text : {"29-Apr-2013", "29 APRIL 13", "Apr. 29, 2013", "29/04/2013", "04/29/2013",
                           "2013-04-29", "20130429", " 29.Apr.2013 "})
    EXPECT_EQ(iso(text), "2013-04-29") << text;
  EXPECT_EQ(iso("1-Dec-99"), "1999-12-01");
  for (const char* text : {"", "04/05/2013", "30-Feb-2013", "29-Xyz-2013", "29-Ap-2013", "29-Apr-201",
                           "4/29/13", "2013", "29-Apr-2013 9:36", "29-Apr-99999999999"})
    EXPECT_EQ(iso(text), "") << text;
  for (const char* time : {"09:36", "9:36:00", "9:36:00.75", "9:36 am"})
    EXPECT_EQ(ctfmeg::isoDateTime("29-Apr-2013", time), "2013-04-29T09:36:00") << time;
  EXPECT_EQ(ctfmeg::isoDateTime("29-Apr-2013", "12:00:59 PM"), "2013-04-29T12:00:59");
  for (const char* time : {"", "24:00", "13:00 pm", "9", "-9:36"})
    EXPECT_EQ(ctfmeg::isoDateTime("29-Apr-2013", time), "") << time;
}

}  // namespace
