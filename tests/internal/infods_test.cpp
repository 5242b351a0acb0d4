#include <gtest/gtest.h>

#include "internal/side_probe.h"

namespace {

std::string sized(const std::string& text) {
  return Bytes().i32(static_cast<std::int64_t>(text.size())).raw(text).str();
}

std::string entry(const std::string& tag, int type, const std::string& value) {
  return sized(tag) + Bytes().i32(type).str() + value;
}
std::string entry(const std::string& tag, int type, const Bytes& value) {
  return entry(tag, type, value.str());
}
std::string text(const std::string& tag, const std::string& value) { return entry(tag, 10, sized(value)); }

std::string block(const std::string& entries) { return "WS1_" + entries + sized("EndOfParameters"); }

/// Result, the entries that were set, and the gathered text, with "/" for a line feed.
std::string information(WithFile& reader) {
  std::string shownText = std::to_string(reader.readInfoDsFile(reader.base() + L"infods"));
  const DatasetInformation& read = reader.info().information;
  for (const InformationEntry& e : read.entries) {
    shownText += " " + toUtf8(e.tag) + "=";
    if (const auto* value = std::get_if<CString>(&e.value))
      shownText += "'" + toUtf8(*value) + "'";
    else if (const auto* number = std::get_if<double>(&e.value))
      shownText += shown(*number) + "f";
    else
      shownText += std::to_string(std::get<std::int64_t>(e.value));
  }
  shownText += " [" + toUtf8(read.text) + "]";
  std::replace(shownText.begin(), shownText.end(), '\n', '/');
  return shownText;
}

TEST(Infods, ByRule) {
  const std::string patient =
      entry("_PATIENT_INFO", 2,
            block(text("_PATIENT_ID", "42 ") + entry("_PATIENT_SEX", 5, Bytes().i32(2)) +
                  text("_PATIENT_UID", "")));
  const std::string list = entry("words", 11, Bytes().i32(2).raw(sized("ab") + sized("c")));
  std::string nested = block("");
  for (int depth = 0; depth < 1000; ++depth)
    nested = block(entry("deeper", 2, nested));
  const SideCase cases[] = {
      {"top level",
       block(entry("_DATASET_LOWERBANDWIDTH", 4, Bytes().raw(std::string("\x40\x59\0\0\0\0\0\0", 8))) +
             text("_DATASET_STATUS", "  MEG  ") + text("_DATASET_KEYWORDS", "") +
             entry("_DATASET_MAXHEADMOTIONTRIAL", 7, Bytes().i16(1).zeros(6))),
       "1 _DATASET_LOWERBANDWIDTH=100f _DATASET_STATUS='MEG' _DATASET_MAXHEADMOTION=" +
           shown(std::bit_cast<double>(std::uint64_t{1} << 48)) + "f []",
       "0 _DATASET_LOWERBANDWIDTH=100f _DATASET_STATUS='MEG' _DATASET_MAXHEADMOTIONTRIAL=1 []"},
      {"a block", block(patient), "1 _PATIENT_INFO='/42 0.000000 /' [/42 0.000000 /]",
       "1 _PATIENT_ID='42' _PATIENT_SEX=2 _PATIENT_INFO='/42 2 /' [/42 2 /]"},
      {"text where hosts expect a block",
       block(text("_PATIENT_NAME_FIRST", "J\xF6rg") + text("_PATIENT_ID", "1")), "0 []",
       "1 _PATIENT_NAME_FIRST='J\xC3\xB6rg' _PATIENT_ID='1' []"},
      {"a tag that contains an earlier one",
       block(text("_DATASET_SYSTEM", "DSQ") + text("_DATASET_SYSTEMTYPE", "cmeg")),
       "1 _DATASET_SYSTEM='DSQ' _DATASET_SYSTEM='cmeg' []",
       "1 _DATASET_SYSTEM='DSQ' _DATASET_SYSTEMTYPE='cmeg' []"},
      {"another type than the tag's",
       block(text("_PATIENT_SEX", "2") + entry("_DATASET_STATUS", 5, Bytes().i32(7)) +
             text("_DATASET_ISINDB", "no")),
       // The text's length is taken for the number, and so on.
       "0 _PATIENT_SEX=1 []", "1 _PATIENT_SEX=2 _DATASET_STATUS='7' _DATASET_ISINDB='no' []"},
      {"unknown tags of all types",
       block(text("a", "t") + entry("b", 4, Bytes().f64(0.5)) + entry("c", 5, Bytes().i32(7)) +
             entry("d", 6, Bytes().i16(-2)) + entry("e", 7, Bytes().i16(-2)) + entry("f", 8, "x") +
             entry("g", 9, Bytes().text("fix", 32)) +
             entry("h", 12, Bytes().i32(2).text("p", 32).text("q", 32)) +
             entry("i", 13, Bytes().i32(2).i32(-1).i32(2)) + entry("j", 14, Bytes().i32(-7)) +
             entry("k", 16, Bytes().i32(-1)) + entry("l", 17, Bytes().i32(7)) + entry("m", 1, sized(""))),
       "1 [/t0.500000 /0.000000 /-2 /65534 /x //fix/p/q/-1/2/-7/-1/7]",
       "1 a='t' b=0.5f c=7 d=-2 e=65534 f='x' g='fix' h='p/q' i='-1/2' j=-7 k=4294967295 l=7 "
       "[/t0.500000 /7 /-2 /65534 /x //fix/p/q/-1/2/-7/4294967295/7]"},
      {"a list of texts, whose bytes hosts get as what follows", block(list + text("_PATIENT_ID", "42")),
       "0 []", "1 words='ab/c' _PATIENT_ID='42' [/ab/c]"},
      {"no end", block(text("_PATIENT_ID", "42")).substr(0, 32), "0 _PATIENT_ID='42' []",
       "0 _PATIENT_ID='42' []"},
      {"a negative length", block(text("_PATIENT_ID", "42") + entry("x", 3, Bytes().i32(-1))),
       "0 _PATIENT_ID='42' []", "0 _PATIENT_ID='42' []"},
      {"an unknown type", block(entry("x", 18, Bytes().i32(1))), "0 []", "0 []"},
      {"another mark", "WS2_" + sized("EndOfParameters"), "0 []", "0 []"},
      {"blocks too deep", nested, "0 []", "0 []"},
      {"empty", "", "0 []", "0 []"},
  };
  expectByRule("run.infods", cases, information);
  EXPECT_EQ(readFlipped(&ReadingRules::infoByType, "run.infods", block(text("_DATASET_SYSTEMTYPE", "cmeg")),
                        information),
            "1 _DATASET_SYSTEMTYPE='cmeg' []");
}

TEST(Infods, SaysWhereItCanNotGoOn) {
  WithFile reader("run.infods", block(text("_PATIENT_ID", "42") + entry("x", 99, "")), ReadingRules::plain());
  information(reader);
  ASSERT_EQ(reader.codes(), "infods.damaged");
  EXPECT_EQ(reader.user.findings()[0].offset, 4 + 25 + 9);
  WithFile odd("run.infods",
               block(text("_DATASET_ISINDB", "no") + entry("_PATIENT_SEX", 4, Bytes().f64(0.5))),
               ReadingRules::plain());
  information(odd);
  EXPECT_EQ(odd.codes(), "infods.value infods.value");
  EXPECT_EQ(odd.info().information.datasetIsInDb, 0);
}

TEST(Infods, TextOfUnknownTagsOutlivesTheFileInTheReader) {
  WithFile reader("run.infods", block(text("note", "a")), ReadingRules::host());
  information(reader);
  EXPECT_EQ(information(reader), "1 [/a]") << "of this file only";
  EXPECT_EQ(toUtf8(reader.m_infodsText), "\na\na");
}

TEST(Infods, EveryTagHasAMemberOfItsOwn) {
  std::string file;
  int value = 0;
  for (const char* tag : {"_PATIENT_UID", "_PATIENT_NAME_LAST", "_PROCEDURE_LOCATION", "_DATASET_RPFILE",
                          "_DATASET_SENSORSFILENAME"})
    file += text(tag, std::to_string(++value));
  file +=
      entry("_PROCEDURE_ISINDB", 5, Bytes().i32(6)) + entry("_DATASET_MOTIONTOLERANCE", 4, Bytes().f64(0.5));
  WithFile reader("run.infods", block(file), ReadingRules::host());
  information(reader);
  const DatasetInformation& read = reader.info().information;
  EXPECT_EQ(toUtf8(read.patientUid + read.patientNameLast + read.procedureLocation + read.datasetRpFile +
                   read.datasetSensorsFileName),
            "12345");
  EXPECT_EQ(read.procedureIsInDb, 6);
  EXPECT_EQ(read.datasetMotionTolerance, 0.5);
}

}  // namespace
