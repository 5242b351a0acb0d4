#include <gtest/gtest.h>

#include "internal/side_probe.h"
#include "support/allocations.h"

namespace {

struct Parts {
  std::string group = "+3", name = "tone", comment = "loud", color = "blue", editable = "Yes", id = "+2",
              count = "2", header = "TRIAL NUMBER\t\tTIME FROM SYNC POINT (in seconds)",
              samples = "+3\t\t+0.5\n+0 -0.1\n";
};

std::string marker(const Parts& p = {}) {
  return "CLASSGROUPID:\n" + p.group + "\nNAME:\n" + p.name + "\nCOMMENT:\n" + p.comment + "\nCOLOR:\n" +
         p.color + "\nEDITABLE:\n" + p.editable + "\nCLASSID:\n" + p.id + "\nNUMBER OF SAMPLES:\n" + p.count +
         "\nLIST OF SAMPLES:\n" + p.header + "\n" + p.samples + "\n\n";
}

std::string trialClass(const Parts& p) {
  return "CLASSGROUPID:\n" + p.group + "\nNAME:\n" + p.name + "\nCOMMENT:\n" + p.comment + "\nCOLOR:\n" +
         p.color + "\nEDITABLE:\n" + p.editable + "\nCLASSID:\n" + p.id + "\nNUMBER OF TRIALS:\n" + p.count +
         "\nLIST OF TRIALS:\nTRIAL NUMBER\n" + p.samples + "\n\n";
}

const std::string kStart = "PATH OF DATASET:\n/data/run.ds\n\nNUMBER OF MARKERS:\n1\n\n";

/// "name/displayName comment colour editable id group count: trial@ms=sample ..."
std::string listed(const CMarkerManagerzk& manager) {
  std::string text;
  for (int i = 0; i < manager.getTotalMarkzk(); ++i) {
    const CMarkerDatazk& m = *manager.getMarker(i, false);
    CString color;
    color.Format(m.colorKnown ? L"%u" : L"?", m.color);
    text += (i == 0 ? "" : " | ") + toUtf8(m.name) + "/" + toUtf8(m.displayName) + " '" + toUtf8(m.comment) +
            "' " + toUtf8(color) + (m.editable ? " e " : " - ") + std::to_string(m.classId) + " " +
            std::to_string(m.classGroupId) + " " + std::to_string(m.numSamples) + ":";
    for (const MarkerSample& s : m.samples)
      text += " " + std::to_string(s.trial) + "@" + shown(s.timeMs) + "=" + std::to_string(s.sample);
  }
  return text;
}

std::string markers(WithFile& reader) {
  EXPECT_EQ(reader.readMarkers(reader.path), 1);
  const auto& manager = *reader.data.getTrigManager();
  EXPECT_EQ(static_cast<int>(reader.info().triggers.size()), manager.getTotalMarkzk());
  return listed(manager);
}

std::string classes(WithFile& reader) {
  const std::string result = std::to_string(reader.readClassFile(reader.path)) + " ";
  return result + listed(*reader.data.getClassManager());
}

constexpr const char* kHead = "tone/tone 'loud' 16711680 e 2 ";

TEST(Markers, ByRule) {
  const std::string host = std::string(kHead) + "100 2: 3@500=840 0@-100=119";
  const std::string plain = std::string(kHead) + "3 2: 3@500=840 0@-100=120";
  const std::string cut = kStart + marker();
  std::string extra = kStart + marker();
  extra.replace(extra.find("NUMBER OF SAMPLES"), 0, "BITNUMBER:\n4\nPOLARITY:\n+\n");
  std::string noEditable = kStart + marker();
  noEditable.replace(noEditable.find("EDITABLE:\nYes\n"), 14, "");
  const SideCase cases[] = {
      {"as it should be", kStart + marker(), host, plain},
      {"CR", "PATH OF DATASET:\rx\rNUMBER OF MARKERS:\r0\r" + marker({.samples = "+3 0.5\r+0 -0.1\r"}), host,
       plain},
      {"truncated, not rounded; signs", kStart + marker({.id = "-2", .samples = "1 -0.2\n1 -0.21\n"}),
       "tone/tone 'loud' 16711680 e -2 100 2: 1@-200=0 1@-210=-11",
       "tone/tone 'loud' 16711680 e -2 3 2: 1@-200=0 1@-210=-12"},
      {"other unit: the sample takes it for seconds",
       kStart + marker({.count = "1", .header = "TRIAL NUMBER TIME FROM SYNC POINT", .samples = "0 0.5\n"}),
       std::string(kHead) + "100 1: 0@0.5=840", std::string(kHead) + "3 1: 0@0.5=840"},
      {"empty comment", kStart + marker({.comment = "", .samples = "+3 0.5\n+0 -0.1\n"}),
       "tone/tone 'COLOR:' ? e 2 100 2: 3@500=840 0@-100=119",
       "tone/tone '' 16711680 e 2 3 2: 3@500=840 0@-100=120"},
      {"colours and words", kStart + marker({.color = "darkgreen", .editable = "yes"}),
       "tone/tone 'loud' 65280 - 2 100 2: 3@500=840 0@-100=119",
       "tone/tone 'loud' ? - 2 3 2: 3@500=840 0@-100=120"},
      {"no samples", kStart + marker({.count = "-1", .samples = ""}),
       std::string(kHead) + "100 -1:", std::string(kHead) + "3 -1:"},
      {"no last line end", cut.substr(0, cut.size() - 3), "", plain},
      {"a bad sample, then another marker",
       kStart + marker({.samples = "+3 0.5\nnever\n"}) + marker({.count = "0", .samples = ""}), "",
       std::string(kHead) + "3 2: 3@500=840 | " + std::string(kHead) + "3 0:"},
      {"fewer samples than it says",
       kStart + marker({.count = "9"}) + marker({.count = "1", .samples = "1 0\n"}), "",
       std::string(kHead) + "3 9: 3@500=840 0@-100=120 | " + std::string(kHead) + "3 1: 1@0=240"},
      {"more samples than it says", kStart + marker({.count = "1"}), std::string(kHead) + "100 1: 3@500=840",
       std::string(kHead) + "3 1: 3@500=840"},
      {"numbers that are none", kStart + marker({.group = "x"}), "",
       "tone/tone 'loud' 16711680 e 2 0 2: 3@500=840 0@-100=120"},
      {"number of markers", "NUMBER OF MARKERS:\nmany\n" + marker(), "", plain},
      {"lines that other systems add", extra, "", plain},
      {"a keyword is missing", noEditable, "tone/tone 'loud' 16711680 - 0 100 2: 3@500=840 0@-100=119",
       "tone/tone 'loud' 16711680 - 2 3 2: 3@500=840 0@-100=120"},
      {"no header", kStart + marker({.header = "TIME", .samples = ""}) + marker(), "",
       std::string(kHead) + "3 2: | " + plain},
      {"beyond 64 bits", kStart + marker({.count = "1", .samples = "0 1e30\n"}),
       std::string(kHead) + "100 1: 0@1e+33=-9223372036854775808",
       std::string(kHead) + "3 1: 0@1e+33=-9223372036854775808"},
      {"words that are numbers elsewhere", kStart + marker({.count = "2", .samples = "0 nan\n0 inf\n"}), "",
       std::string(kHead) + "3 2:"},
      {"no column headings", kStart + marker({.header = "+3 0.5", .samples = "+0 -0.1\n"}), "", plain},
      {"ends inside", kStart + "CLASSGROUPID:\n+3\nNAME:\nM\xFCll\n", "",
       "M\xC3\xBCll/M\xC3\xBCll '' ? - 0 3 0:"},
  };
  expectByRule("MarkerFile.mrk", cases, markers);
}

TEST(Markers, EachDecisionAlone) {
  const auto flipped = [](bool ReadingRules::*decision, const Parts& parts) {
    return readFlipped(decision, "MarkerFile.mrk", kStart + marker(parts), markers);
  };
  const Parts one{.count = "1", .samples = "0 -0.1\n"};
  EXPECT_EQ(flipped(&ReadingRules::nearestSample, one), std::string(kHead) + "100 1: 0@-100=120");
  EXPECT_EQ(flipped(&ReadingRules::doubleNumbers, {.count = "1", .samples = "0 0.1\n"}),
            std::string(kHead) + "100 1: 0@100=360");
  EXPECT_EQ(flipped(&ReadingRules::groupKept, one), std::string(kHead) + "3 1: 0@-100=119");
  EXPECT_EQ(flipped(&ReadingRules::emptyValues, {.comment = "", .count = "0", .samples = ""}),
            "tone/tone '' 16711680 e 2 100 0:");
  EXPECT_EQ(flipped(&ReadingRules::badLinesSkipped, {.count = "x", .samples = ""}),
            std::string(kHead) + "100 0:");
  for (const auto& [word, color] : {std::pair{"Red", "255"},
                                    {" TEAL ", "8421376"},
                                    {"#Ff8000", "33023"},
                                    {"#ff800", "?"},
                                    {"green", "32768"}})
    EXPECT_EQ(flipped(&ReadingRules::colourWords, {.color = word, .count = "0", .samples = ""}),
              std::string("tone/tone 'loud' ") + color + " e 2 100 0:");
}

TEST(Markers, TheOtherFileIsReadWhenTheFirstYieldsNone) {
  WithFile reader("MarkerFile.mrk.bak", kStart + marker({.name = "old"}), ReadingRules::host());
  EXPECT_EQ(reader.loadMarkerFile(reader.path), 0);
  EXPECT_EQ(reader.data.getTrigManager()->getTotalMarkzk(), 0);
  EXPECT_EQ(reader.readMarkers(reader.path), 1);
  EXPECT_EQ(toUtf8(reader.data.getTrigManager()->getMarker(0, false)->name), "old");
  writeFile(reader.directory.path() / "run.ds" / "MarkerFile.mrk",
            marker({.name = "new", .count = "0", .samples = ""}));
  EXPECT_EQ(reader.loadMarkerFile(reader.path), 1);
  auto& manager = *reader.data.getTrigManager();
  ASSERT_EQ(manager.getTotalMarkzk(), 2) << "the fallback is left alone";
  EXPECT_EQ(manager.getTotalTrgMrkPts(), 2);
  EXPECT_EQ(manager.findMarker(L"old"), manager.getMarker(0, true));
  EXPECT_EQ(manager.findMarker(L"none"), nullptr);
  EXPECT_EQ(manager.getMarker(2, false), nullptr);
  EXPECT_EQ(toUtf8(reader.info().triggers[0].name), "old");
  EXPECT_EQ(reader.info().triggers[0].occurrences, 2);
  manager.getMarker(0, false)->name = L"changed";
  manager.restoreAllBackup();
  EXPECT_EQ(toUtf8(manager.getMarker(0, false)->name), "old");
  EXPECT_TRUE(reader.user.transcript().empty());
}

TEST(Markers, WantOfMemoryKeepsWhatWasRead) {
  std::string samples;
  for (int i = 0; i < 1000; ++i)
    samples += "0 0\n";
  WithFile reader("MarkerFile.mrk", marker({.count = "1000", .samples = samples}) + marker(),
                  ReadingRules::host());
  {
    const FailingNew failing(512 * sizeof(MarkerSample));
    reader.readMarkers(reader.path);
  }
  EXPECT_EQ(reader.user.transcript(), Lines{"message: Memory problem?!"});
  ASSERT_EQ(reader.data.getTrigManager()->getTotalMarkzk(), 2);
  const CMarkerDatazk& first = *reader.data.getTrigManager()->getMarker(0, false);
  EXPECT_EQ(first.numSamples, 1000);
  EXPECT_EQ(first.samples.size(), 256u);
}

TEST(Classes, ByRule) {
  const Parts bad{
      .group = "3", .name = "BAD", .color = "Red", .id = "1", .count = "2", .samples = "+17\n 4\n"};
  const std::string filler(4096, '\n');  // so that the block's first line is in the last 4096 bytes
  const std::string start = "PATH OF DATASET:\n/tmp/x.ds\n\nNUMBER OF CLASSES:\n1\n\n";
  const std::string plain = "0 BAD/BAD 'loud' 255 e 1 3 0: 17@0=0 4@0=0";
  const std::string host = " BAD/ 'loud' ? e 1 3 0: 0@0=0 0@0=0";
  Parts plus = bad;
  plus.group = "+ 3";
  Parts word = bad;
  word.samples = "abc\n4\n";
  Parts empty = bad;
  empty.comment = "";
  empty.count = "0";
  empty.samples = "";
  std::string noList = trialClass(bad);
  noList.replace(noList.find("LIST OF TRIALS:\n"), 16, "");
  const std::string whole = start + trialClass(bad);
  const SideCase cases[] = {
      {"shorter than a block", whole, "1 ", plain},
      {"longer than a block", start + filler + trialClass(bad), "1" + host, plain},
      {"class group with a plus apart", start + filler + trialClass(plus), "0 ",
       "0 BAD/BAD 'loud' 255 e 1 0 0: 17@0=0 4@0=0"},
      {"a trial that is none", start + filler + trialClass(word), "0 ",
       "0 BAD/BAD 'loud' 255 e 1 3 0: 4@0=0"},
      {"no list heading", start + filler + noList, "0 ", plain},
      {"no trials, empty comment", start + trialClass(empty), "1 ", "0 BAD/BAD '' 255 e 1 3 0:"},
      {"no last line end", filler + trialClass(bad).substr(0, trialClass(bad).size() - 3), "0 ", plain},
      {"earlier ones stay", trialClass(bad) + filler + "CLASSGROUPID:\nx\n" + filler, "0" + host,
       plain + " | / '' ? - 0 0 0:"},
  };
  expectByRule("ClassFile.cls", cases, classes);
  EXPECT_EQ(readFlipped(&ReadingRules::trialsKept, "ClassFile.cls", filler + trialClass(bad), classes),
            "1 BAD/BAD 'loud' ? e 1 3 0: 17@0=0 4@0=0");
}

}  // namespace
