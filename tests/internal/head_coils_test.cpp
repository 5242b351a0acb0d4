#include <gtest/gtest.h>

#include "internal/side_probe.h"
#include "sidefiles/head_coils.h"
#include "util/memory_file.h"

namespace {

std::string coil(const std::string& line, double x, double y, double z) {
  return line + "\n\tx = " + shown(x) + "\n\ty = " + shown(y) + "\n\tz = " + shown(z) + "\n";
}

/// Three or five coils, 1 to 15 cm.
std::string block(const std::string& kind, const std::string& frame, bool five) {
  const auto line = [&](const char* name) {
    return kind + " " + name + " coil position relative to " + frame;
  };
  std::string text =
      coil(line("nasion"), 1, 2, 3) + coil(line("left ear"), 4, 5, 6) + coil(line("right ear"), 7, 8, 9);
  return five ? text + coil(line("inion"), 10, 11, 12) + coil(line("Cz"), 13, 14, 15) : text;
}

std::string file(bool five, const std::string& standard = "standard") {
  return block(standard, "dewar", five) + block("measured", "dewar", five) + block("measured", "head", five);
}

/// "kind n: 1,2,3; -; ..." in millimetres.
std::string set(const CFiducialzk& from) {
  std::string text = std::to_string(from.positionKind) + " " + std::to_string(from.numPoints) + ":";
  for (const FiducialPoint& p : from.points)
    text += p.valid ? " " + shown(p.x) + "," + shown(p.y) + "," + shown(p.z) : " -";
  return text;
}

std::string dataset(WithFile& reader) {
  const std::string result = std::to_string(reader.readHeadCoilsToDataset(reader.base()));
  const CMEGDatazk& data = reader.data;
  EXPECT_EQ(set(*data.getFidWork()), set(*data.getFidHeadMsr()));
  return result + " | " + set(*data.getFidDewarStd()) + " | " + set(*data.getFidDewarMsr()) + " | " +
         set(*data.getFidHeadMsr());
}

std::string localization(WithFile& reader) {
  std::string text = std::to_string(reader.readHeadCoilsToLocalization(reader.base()));
  for (const auto& each : reader.data.getHeadLocationDataset()->fiducials())
    text += " | " + set(*each);
  return text;
}

const std::string kThree = "0 3: -20,10,30 -50,40,60 -80,70,90 - -";
const std::string kFive = "0 5: -20,10,30 -50,40,60 -80,70,90 -110,100,120 -140,130,150";
const std::string kNone = "0 0: - - - - -";
const std::string kMeasured = "1" + kThree.substr(1);
const std::string kMeasuredFive = "1" + kFive.substr(1);

TEST(HeadCoils, IntoTheDataObjectByRule) {
  const std::string three = kThree + " | " + kThree + " | " + kThree;
  const std::string read = kThree + " | " + kMeasured + " | " + kMeasured;
  const std::string none = kNone + " | " + kNone + " | " + kNone;
  std::string noBlanks = file(false);
  noBlanks.replace(noBlanks.find("x = 1"), 5, "x=1");
  const SideCase cases[] = {
      {"three coils", file(false), "3 | " + three, "3 | " + read},
      {"no last line end", file(false).substr(0, file(false).size() - 1),
       "2 | " + kThree + " | " + kThree + " | 0 2: -20,10,30 -50,40,60 - - -", "3 | " + read},
      // Inion and Cz are taken for sets of their own, which empty the count; then there have been three.
      {"five coils", file(true), "3 | 0 0: -20,10,30 -50,40,60 -80,70,90 - - | " + kNone + " | " + kNone,
       "3 | " + kFive + " | " + kMeasuredFive + " | " + kMeasuredFive},
      {"misspelt", file(false, "stadard"), "2 | " + kNone + " | " + kThree + " | " + kThree, "3 | " + read},
      {"one set", block("measured", "head", false), "1 | " + none,
       "1 | " + kNone + " | " + kNone + " | " + kMeasured},
      {"no blanks", noBlanks, "1 | " + none,
       "3 | 0 2: - -50,40,60 -80,70,90 - - | " + kMeasured + " | " + kMeasured},
      {"a coil once more, broken",
       file(false) + "measured nasion coil position relative to head\nx = 99\ny = ?\n", "3 | " + three,
       "3 | " + read},
      {"empty", "", "1 | " + none, "0 | " + none},
  };
  expectByRule("run.hc", cases, dataset);
  EXPECT_EQ(readFlipped(&ReadingRules::blocksWhole, "run.hc", file(true), dataset),
            "3 | " + kFive + " | " + kMeasuredFive + " | " + kMeasuredFive);
  WithFile reader("run.hc", file(false), ReadingRules::host());
  dataset(reader);
  EXPECT_EQ(reader.data.fiducialSource, 1);
  EXPECT_EQ(reader.data.fiducialSetCount, 3);
}

TEST(HeadCoils, IntoTheLocalizationOfTheHead) {
  std::string noCz = block("standard", "dewar", true);
  noCz.replace(noCz.find("Cz"), 2, "??");
  const SideCase cases[] = {
      {"three coils", file(false), "1 | " + kThree + " | " + kMeasured + " | " + kMeasured,
       "1 | " + kThree + " | " + kMeasured + " | " + kMeasured},
      {"five coils, misspelt", file(true, "stadard"),
       "1 | " + kFive + " | " + kMeasuredFive + " | " + kMeasuredFive,
       "1 | " + kFive + " | " + kMeasuredFive + " | " + kMeasuredFive},
      {"no Cz", noCz, "1 | 0 5: -20,10,30 -50,40,60 -80,70,90 -110,100,120 -",
       "1 | 0 5: -20,10,30 -50,40,60 -80,70,90 -110,100,120 -"},
      {"bad", "nasion coil position\nx = what\n", "1", "1"},
  };
  expectByRule("run.hc", cases, localization);
}

TEST(HeadCoils, CoordinatesAreSinglePrecisionByRule) {
  for (const bool full : {false, true}) {
    const ReadingRules rules = full ? hostBut(&ReadingRules::doubleNumbers) : ReadingRules::host();
    MemoryFile bytes("x = 1.5\r\nlabel y = 1.23456789 cm\n z = -0\n");
    LineSource lines(bytes, rules);
    FiducialPoint point;
    ASSERT_EQ(readCoilPoint(lines, point, rules), 0) << "two words before the sign";
    EXPECT_EQ(point.x, 15.0);
    EXPECT_EQ(point.valid, 0);
    MemoryFile good("x = 1.5\ny = 1.23456789\nz = -0\n");
    LineSource goodLines(good, rules);
    ASSERT_EQ(readCoilPoint(goodLines, point, rules), 1);
    EXPECT_EQ(point.x, -10.0 * (full ? 1.23456789 : double{1.23456789F}));
  }
}

TEST(HeadCoils, DefineTheHeadFrame) {
  // A head turned by 90 degrees: its front is the dewar's -x, its right the dewar's +y.
  CFiducialzk dewar;
  dewar.points = {{{-90, 5, 7, 1}, {10, -65, 7, 1}, {10, 75, 7, 1}}};
  const auto transform = headFrameOf(dewar);
  ASSERT_TRUE(transform);
  const auto carried = [&](const FiducialPoint& p) {
    std::string text;
    for (std::size_t row = 0; row < 4; ++row)
      text += shown((*transform)[row][0] * p.x + (*transform)[row][1] * p.y + (*transform)[row][2] * p.z +
                    (*transform)[row][3]) +
              " ";
    return text;
  };
  EXPECT_EQ(carried(dewar.points[0]), "0 100 0 1 ");
  EXPECT_EQ(carried(dewar.points[1]), "-70 0 0 1 ");
  EXPECT_EQ(carried({10, 5, 17, 1}), "0 0 10 1 ");
  dewar.points[0] = {10, 20, 7, 1};
  EXPECT_FALSE(headFrameOf(dewar)) << "on a line";
  dewar.points[2].valid = 0;
  EXPECT_FALSE(headFrameOf(dewar));

  WithFile reader("run.hc",
                  block("standard", "dewar", false) + coil("measured nasion coil position", 10, 0, 0) +
                      coil("left ear coil position", 0, 7, 0) + coil("right ear coil position", 0, -7, 0),
                  ReadingRules::host());
  EXPECT_EQ(localization(reader).substr(0, 1), "1");
  const auto& location = *reader.data.getHeadLocationDataset();
  ASSERT_TRUE(location.dewarToHead()) << "of the measured set, not of the standard one";
  EXPECT_EQ((*location.dewarToHead())[1][1], 1.0);
}

}  // namespace
