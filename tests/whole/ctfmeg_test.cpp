#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "support/command.h"
#include "support/minimal_dataset.h"
#include "support/temporary_directory.h"

#include <ctfmeg/path_text.h>

#ifndef _WIN32
#include <sys/resource.h>
#endif

namespace {

namespace fs = std::filesystem;
using ctfmeg::pathFromText;
using ctfmeg::textOf;
using nlohmann::json;

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

/// Tests name paths with slashes, on every system.
std::string slashed(std::string text) {
#ifdef _WIN32
  std::replace(text.begin(), text.end(), '\\', '/');
#endif
  return text;
}

/// A NumPy file taken apart.
struct Array {
  explicit Array(const std::string& bytes) {
    if (bytes.size() < 10 || !bytes.starts_with(std::string("\x93NUMPY\x01\x00", 8))) return;
    const std::size_t start =
        10U + static_cast<unsigned char>(bytes[8]) + 256U * static_cast<unsigned char>(bytes[9]);
    EXPECT_EQ(start % 64, 0U);
    whole = bytes;
    header = bytes.substr(10, start - 10);
    data = bytes.substr(start);
    EXPECT_TRUE(header.starts_with('{') && header.ends_with('\n')) << header;
  }

  bool is(const std::string& type, const std::string& shape) const {
    return contains(header, "'descr': '" + type + "'") && contains(header, "'fortran_order': False") &&
           contains(header, "'shape': (" + shape + "), }");
  }

  template <class T>
  std::vector<T> values() const {
    std::vector<T> all(data.size() / sizeof(T));
    if (!all.empty()) std::memcpy(all.data(), data.data(), all.size() * sizeof(T));
    return all;
  }

  std::string whole, header, data;
};

class Ctfmeg : public testing::Test {
 protected:
  static CommandResult run(const std::vector<std::string>& arguments) {
    return runCommand(CTFMEG_COMMAND, arguments);
  }

  std::string path(const std::string& name) const { return textOf(m_directory.path() / pathFromText(name)); }

  /// Writes a dataset whose directory gets that name; its files are called run.
  std::string write(const std::string& name, const MinimalDataset& dataset = {}) const {
    fs::rename(dataset.write(m_directory.path()).parent_path(), pathFromText(path(name)));
    return path(name);
  }

  std::vector<std::string> filesThere() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(m_directory.path()))
      if (entry.is_regular_file()) names.push_back(entry.path().filename().string());
    return names;
  }

  static void expectFailed(const CommandResult& result, const std::string& about,
                           const std::string& said = "") {
    EXPECT_EQ(result.exitCode, 1) << result.err;
    EXPECT_TRUE(slashed(result.err).starts_with(slashed("ctfmeg: " + about + ": ")) &&
                contains(result.err, said))
        << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
  }

 private:
  TemporaryDirectory m_directory;
};

TEST_F(Ctfmeg, SaysWhatCannotBeReadAndShowsTheOthers) {
  MinimalDataset noHeader, cut;
  noHeader.res4 = Bytes();
  cut.res4 = Bytes().raw(cut.res4.str().substr(0, 2000));
  write("noheader.ds", noHeader);
  write("cut.ds", cut);
  for (const char* name : {"nores4.ds", "noread.ds"})
    write(name);
  fs::create_directory(path("empty.ds"));
  fs::remove(path("nores4.ds/run.res4"));
  fs::permissions(path("noread.ds/run.res4"), fs::perms::none);
  writeFile(path("some.txt"), "some text");
  struct Case {
    std::string given, about, kind, said = "";
  };
  std::vector<Case> cases{{"nope.ds", "nope.ds", "notFound"},
                          {"empty.ds", "empty.ds", "notADataset", "empty.res4"},
                          {"nores4.ds/run.meg4", "nores4.ds/run.res4", "notFound"},
                          {"noheader.ds", "noheader.ds/run.res4", "notADataset"},
                          {"cut.ds", "cut.ds/run.res4", "damaged"},
                          {"some.txt", "some.txt", "refused"}};
#ifndef _WIN32
  if (geteuid() != 0) cases.push_back({"noread.ds", "noread.ds/run.res4", "noPermission"});
#endif
  std::vector<std::string> all{"info", "--json", write("Bänder und Blanks.ds")};
  for (const Case& c : cases) {
    const CommandResult result = run({"info", path(c.given)});
    expectFailed(result, path(c.about), c.said);
    EXPECT_EQ(result.out, "");
    const json alone = json::parse(run({"info", "--json", path(c.given)}).out);
    EXPECT_EQ(alone.at("error").at("kind"), c.kind) << c.given;
    all.push_back(path(c.given));
  }
  all.push_back(path("Bänder und Blanks.ds/run.meg4"));
  const CommandResult result = run(all);
  EXPECT_EQ(result.exitCode, 1);
  const json entries = json::parse(result.out);
  ASSERT_EQ(entries.size(), cases.size() + 2);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    EXPECT_EQ(entries[i].at("path"), all[i + 2]);
    EXPECT_EQ(entries[i].contains("record"), i == 0 || i == entries.size() - 1) << all[i + 2];
  }
}

TEST_F(Ctfmeg, WrongUsage) {
  const std::string dataset = write("a.ds");
  const std::vector<std::vector<std::string>> cases{
      {},
      {"frobnicate"},
      {"info"},
      {"info", "--frobnicate", dataset},
      {"info", "--yes", "--no", dataset},
      {"info", "--rules=other", dataset},
      {"channels", dataset, "--channels"},
      {"export", dataset},
      {"simulate", path("new.ds"), "--samples", "99999999999999999999"}};
  for (const auto& arguments : cases) {
    const CommandResult result = run(arguments);
    EXPECT_EQ(result.exitCode, 2) << testing::PrintToString(arguments);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err, "");
  }
  EXPECT_FALSE(fs::exists(path("new.ds")));
  EXPECT_EQ(run({"--version"}).exitCode, 0);
}

TEST_F(Ctfmeg, AsksBeforeItReadsAFileOfAnotherType) {
  const std::string file = write("a.ds") + "/run.dat";
  writeFile(file, "");
  EXPECT_EQ(run({"info", "--yes", file}).exitCode, 0);
  expectFailed(run({"info", "--no", file}), file);
  expectFailed(run({"info", file}), file);
}

TEST_F(Ctfmeg, InfoAsJson) {
  const std::string dataset = write("a.ds");
  const CommandResult result = run({"info", "--json", dataset});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.err, "");
  const json info = json::parse(result.out);
  EXPECT_EQ(info.at("path"), dataset);
  const json expected = json::parse(readFile(EXPECTED "/info.json"));
  for (const json& change : json::diff(expected, info)) {  // keys may be added, nothing else may differ
    const std::string where = change.at("path");
    const bool inList = where[where.find_last_not_of("0123456789-")] == '/';
    EXPECT_TRUE(change.at("op") == "add" && !inList) << change;
  }
  EXPECT_EQ(json::parse(run({"info", "--json", "--rules=host", dataset}).out).at("rules"), "host");
}

/// A dataset with one of every file beside it.
void addSideFiles(const std::string& dataset) {
  const auto add = [&](const char* name, const std::string& content) { writeFile(dataset + name, content); };
  std::string coils;
  for (const char* coil : {"nasion", "left ear", "right ear"})
    for (const char* place :
         {"measured * coil position relative to dewar\n", "x = 1\n", "y = 0.5\n", "z = -27\n"}) {
      const std::string line(place);
      const std::size_t star = line.find('*');
      coils += star == std::string::npos ? line : line.substr(0, star) + coil + line.substr(star + 1);
    }
  const auto block = [](const std::string& name, const std::string& kind, const std::string& list) {
    return "CLASSGROUPID:\n3\nNAME:\n" + name +
           "\nCOMMENT:\nby Doe\nCOLOR:\nlime\nEDITABLE:\nYes\nCLASSID:\n1\nNUMBER OF " + kind +
           ":\n1\nLIST OF " + kind + ":\nTRIAL NUMBER, TIME FROM SYNC POINT (in seconds)\n" + list + "\n";
  };
  add("/run.hc", coils);
  add("/MarkerFile.mrk", "NUMBER OF MARKERS:\n1\n" + block("=tone", "SAMPLES", "+1 0.0025"));
  add("/ClassFile.cls", "NUMBER OF CLASSES:\n1\n" + block("BAD", "TRIALS", "+17"));
  add("/run.eeg", "1 Cz 0 0 9.5\nwhat\n");
  add("/run.pos", "1\n1 0 0 9.25\nnasion 10 0 0\nleft 0 7 0\nright 0 -7 0\n");
  add("/bad.segments", "3 0.5 1.25\n");
  add("/VirtualChannels", "VirtualChannel\n{\nName: A\nUnit: T\nRef: MLC11,0.5\n}\n");
  const auto sized = [](const std::string& text) {
    return Bytes().i32(static_cast<std::int64_t>(text.size())).raw(text).str();
  };
  const auto text = [&](const char* tag, const std::string& value) {
    return sized(tag) + Bytes().i32(10).str() + sized(value);
  };
  add("/run.infods", "WS1_" + text("_PATIENT_ID", "Doe") + text("note", "Doe") + sized("_PATIENT_SEX") +
                         Bytes().i32(5).i32(2).str() + sized("_DATASET_VERSION") +
                         Bytes().i32(5).i32(9).str() + sized("EndOfParameters"));
}

TEST_F(Ctfmeg, SideFilesAsJson) {
  const std::string dataset = write("a.ds");
  addSideFiles(dataset);
  const CommandResult result = run({"info", "--json", dataset});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_TRUE(contains(slashed(result.err), slashed(dataset + "/run.eeg: warning: "))) << result.err;
  const json info = json::parse(result.out);
  const json expected = json::parse(readFile(EXPECTED "/side_files.json"));
  for (const auto& [key, value] : expected.items())
    EXPECT_EQ(info.at(key), value) << key;

  const json host = json::parse(run({"info", "--json", "--rules=host", dataset}).out);
  EXPECT_EQ(host.at("markers")[0].at("classGroupId"), 100);
  EXPECT_EQ(host.at("virtualChannels"), json::array());
  // What can hold anything, and a message with a path in it, may name a person.
  writeFile(dataset + "/BadChannels", "MLC11\n# Ann Doe is noisy\n");
  fs::remove(dataset + "/MarkerFile.mrk");
  fs::create_directory(dataset + "/MarkerFile.mrk");
  EXPECT_EQ(json::parse(run({"info", "--json", dataset}).out).at("badChannels").size(), 2U);
  const CommandResult hidden = run({"info", "--json", "--no-identity", dataset});
  EXPECT_FALSE(contains(hidden.err, path(""))) << hidden.err;
  EXPECT_FALSE(contains(hidden.out, "error = 5")) << "the message";
  EXPECT_TRUE(contains(hidden.out, "\"file.")) << "what the message is about";
  const json anonymous = json::parse(hidden.out);
  EXPECT_EQ(anonymous.at("badChannels"), json::array({"MLC11"}));
  EXPECT_EQ(anonymous.at("infods"), (json{{"_DATASET_VERSION", 9}}));
}

TEST_F(Ctfmeg, TablesAndTrialsOfMarkers) {
  const std::string given = write("a.ds"), other = write("b.ds");
  addSideFiles(given);
  EXPECT_EQ(run({"markers", "--csv", given, other}).out, "marker,trial,timeMs,sample\r\n'=tone,1,2.5,3\r\n");
  EXPECT_EQ(run({"headcoils", "--csv", given, other}).out,
            "set,point,x,y,z\r\ndewarMeasured,nasion,-5,10,-270\r\ndewarMeasured,leftEar,-5,10,-270\r\n"
            "dewarMeasured,rightEar,-5,10,-270\r\n");
  EXPECT_TRUE(contains(run({"markers", given, other}).out, other + ":\nno markers\n"));
  EXPECT_TRUE(contains(run({"headcoils", given}).out, "dewarMeasured  leftEar   -5.0    10.0    -270.0"));

  const std::vector<std::string> byMarker{"export", given, "--marker", "=tone", "-o", "-"};
  EXPECT_EQ(run(byMarker).out, run({"export", given, "--trials", "1", "-o", "-"}).out);
  expectFailed(run({"export", given, "--marker", "TONE", "-o", "-"}), given + "/run.res4", "there are =tone");
  const json info = json::parse(run({"info", "--json", given, "--marker", "=tone"}).out);
  std::string rubbish;
  for (int i = 0; i < 1000; ++i)
    rubbish += "x\n";
  writeFile(other + "/bad.segments", rubbish);
  const CommandResult bounded = run({"info", "--json", other});
  EXPECT_EQ(json::parse(bounded.out).at("warnings").size(), 101U);
  EXPECT_EQ(std::count(bounded.err.begin(), bounded.err.end(), '\n'), 6);
  EXPECT_EQ(info.at("trialNumbers"), json::parse("[1]"));
  EXPECT_EQ(info.at("markers")[0].at("name"), "=tone") << "the file's markers, on every route";
}

TEST_F(Ctfmeg, NoIdentity) {
  MinimalDataset dataset;
  for (const std::size_t offset : {8, 264, 520, 778, 1033, 1360, 1392, 1648, 1680, 1712, 1744, 1776})
    dataset.res4.put(offset, Bytes().raw("Doe"));
  dataset.res4.put(MinimalDataset::kFilterCount - 3, Bytes().raw("Doe"));  // the run description
  fs::create_directory(path("Doe"));
  const std::string a = write("Doe/a.ds", dataset);
  const std::string b = write("Doe/b.ds", dataset);
  addSideFiles(a);
  for (const auto& arguments : std::vector<std::vector<std::string>>{{"info", a, b},
                                                                     {"info", "--json", a, path("Doe/c.ds")},
                                                                     {"channels", a, b},
                                                                     {"markers", a, b},
                                                                     {"headcoils", a, b}}) {
    auto without = arguments;
    without.emplace_back("--no-identity");
    EXPECT_TRUE(contains(run(arguments).out, "Doe")) << arguments[0];
    const std::string out = run(without).out;
    EXPECT_FALSE(contains(out, "Doe")) << out;
    EXPECT_TRUE(contains(out, "a.ds") || contains(out, "run")) << out;
  }
}

TEST_F(Ctfmeg, SetThatEndsEarly) {
  MinimalDataset dataset;
  dataset.sampleFiles = {MinimalDataset::sampleFile({MinimalDataset::trial(0, 2, 3)})};
  const std::string given = write("a.ds", dataset);
  const CommandResult result = run({"export", "--quiet", given, "-o", "-"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_TRUE(contains(slashed(result.err), slashed(given + "/run.meg4: "))) << "a warning stays";
  EXPECT_TRUE(Array(result.out).is("<i4", "1, 2, 3"));
  expectFailed(run({"export", "--strict", given, "-o", "-"}), given + "/run.meg4", "1 of 2");
  EXPECT_EQ(run({"export", "--rules=host", given, "-o", path("host.npy")}).exitCode, 1);
  EXPECT_EQ(filesThere(), std::vector<std::string>{});
}

TEST_F(Ctfmeg, ChannelsAsCsv) {
  MinimalDataset dataset;
  dataset.res4.put(MinimalDataset::kNames, Bytes().text("=1,\"a\"-2805", 32));
  const std::string given = write("a.ds", dataset);
  writeFile(given + "/BadChannels", "STIM\n");
  const CommandResult result = run({"channels", "--csv", given});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out,
            "index,name,shortName,kind,sensorType,unit,gain,gradientOrder,good\r\n"
            "0,\"'=1,\"\"a\"\"-2805\",\"'=1,\"\"a\"\"\",gradiometer,101,T,-2.097152e+15,3,true\r\n"
            "1,STIM,STIM,stim,600,1,1,0,false\r\n");
}

TEST_F(Ctfmeg, ChannelSelection) {
  const std::string dataset = write("a.ds");
  const std::vector<std::pair<std::string, std::vector<int>>> cases{
      {"STIM,MLC11", {0, 1}},
      {"MLC11-2805,M*,MLC11", {0}},
      {"?TIM", {1}},
      {"*-*", {0}},
      {"*", {0, 1}},
      {"X*", {}},
      {"STIM,MLC1", {}},
      {"*STIM?", {}},
      {"", {}},
      {"STIM,", {}},
  };
  for (const auto& [list, channels] : cases) {
    const CommandResult result = run({"export", dataset, "--channels", list, "-o", "-"});
    EXPECT_EQ(result.exitCode, channels.empty() ? 1 : 0) << list;
    if (channels.empty()) expectFailed(result, dataset, list.substr(list.find(',') + 1));
    std::vector<std::int32_t> expected;
    for (const int trial : {0, 1})
      for (const int channel : channels)
        for (const int sample : {0, 1, 2})
          expected.push_back(MinimalDataset::value(trial, channel, sample));
    EXPECT_EQ(Array(result.out).values<std::int32_t>(), expected) << list;
  }
}

TEST_F(Ctfmeg, ExportReplacesAFileOnlyByACompleteOne) {
  MinimalDataset noSamples;
  noSamples.sampleFiles = {""};
  const std::string broken = write("broken.ds", noSamples), dataset = write("a.ds"), file = path("out.npy");
  EXPECT_EQ(run({"info", broken}).exitCode, 0);
  EXPECT_EQ(run({"export", broken, "-o", path("new.npy")}).exitCode, 1);
  writeFile(file, "old");
  expectFailed(run({"export", broken, "-o", file}), broken + "/run.meg4");
  expectFailed(run({"export", dataset, "--channels=NONE", "-o", file}), dataset);
  EXPECT_EQ(readFile(file), "old");

  EXPECT_EQ(run({"export", dataset, "-o", file}).exitCode, 0);
  const Array raw(readFile(file));
  EXPECT_TRUE(raw.is("<i4", "2, 2, 3")) << raw.header;
  EXPECT_EQ(raw.values<std::int32_t>(),
            (std::vector{0, 1, 2, 100, 101, 102, 1000, 1001, 1002, 1100, 1101, 1102}));
  EXPECT_EQ(run({"export", dataset, "-o", "-"}).out, readFile(file));

  EXPECT_EQ(run({"export", "--physical", dataset, "-o", file}).exitCode, 0);
  const Array physical(readFile(file));
  EXPECT_TRUE(physical.is("<f8", "2, 2, 3")) << physical.header;
  const double gain = -2.097152e15;
  EXPECT_EQ(physical.values<double>(),
            (std::vector{0 / gain, 1 / gain, 2 / gain, 100., 101., 102., 1000 / gain, 1001 / gain,
                         1002 / gain, 1100., 1101., 1102.}));
  EXPECT_EQ(filesThere(), std::vector<std::string>{"out.npy"});

  const std::string samples = readFile(dataset + "/run.meg4");
  expectFailed(run({"export", dataset, "-o", dataset + "/run.meg4"}), dataset + "/run.meg4", "belongs to");
  EXPECT_EQ(readFile(dataset + "/run.meg4"), samples);

  if (fs::exists("/dev/full")) expectFailed(run({"export", dataset, "-o", "/dev/full"}), "/dev/full");
}

TEST_F(Ctfmeg, ShowsControlCharacters) {
  MinimalDataset dataset;
  dataset.res4.put(1712, Bytes().raw("a\x1b[31m\x9b\n\xE4"));  // subject; Windows-1252
  const std::string out = run({"info", write("a.ds", dataset)}).out;
  EXPECT_TRUE(contains(out, "a\\x1b[31m\u203A\\x0aä\n")) << out;
  expectFailed(run({"info", path("\x1b[31m.ds")}), path("") + "\\x1b[31m.ds");
}

TEST_F(Ctfmeg, OddNumbersInTheHeader) {
  MinimalDataset dataset;
  dataset.res4.put(1296, Bytes().f64(0.0)).put(1316, Bytes().i32(INT32_MIN));  // rate, pre-trigger samples
  const std::string given = write("a.ds", dataset);
  const CommandResult result = run({"info", given});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  EXPECT_FALSE(contains(result.out, "-inf")) << result.out;
  EXPECT_EQ(run({"export", given, "-o", "-"}).exitCode, 0);
}

TEST_F(Ctfmeg, TakesMemoryOptionsOfOlderScripts) {
  const std::string given = write("a.ds");
  const CommandResult asked = run({"export", given, "--memory", "1", "--spill", path("none"), "-o", "-"});
  EXPECT_EQ(asked.err, "");
  EXPECT_EQ(asked.out, run({"export", given, "-o", "-"}).out);
  EXPECT_EQ(run({"export", given, "--memory", "much", "-o", "-"}).exitCode, 2);
  EXPECT_EQ(run({"export", given, "--ask-resample", "-o", "-"}).exitCode, 2);
}

TEST_F(Ctfmeg, RoutesGoIntoExportAndInfo) {
  MinimalDataset dataset;
  dataset.resize(3, 1, 4);
  const std::string given = write("a.ds", dataset);
  struct Case {
    std::vector<std::string> route;
    std::string shape;
    std::vector<int> trialNumbers;
    std::int32_t last;  // value: which samples a route reads is recording_test.cpp's
  };
  const Case cases[] = {
      {{"--resample", "3"}, "3, 1, 1", {0, 1, 2}, 2000},
      {{"--samples=-2:1"}, "3, 1, 2", {0, 1, 2}, 2001},
      {{"--split", "2"}, "6, 1, 2", {0, 0, 1, 1, 2, 2}, 2003},
      {{"--trials", "2,0,2"}, "2, 1, 4", {0, 2}, 2003},
      {{"--trials", "0-1"}, "2, 1, 4", {0, 1}, 1003},
  };
  for (const Case& c : cases) {
    auto arguments = c.route;
    arguments.insert(arguments.begin(), {"export", given, "-o", "-"});
    const Array array(run(arguments).out);
    ASSERT_TRUE(array.is("<i4", c.shape)) << array.header;
    EXPECT_EQ(array.values<std::int32_t>().back(), c.last) << c.route[0];
    arguments.emplace_back("--rules=host");
    EXPECT_EQ(run(arguments).out, array.whole) << c.route[0];
    arguments.pop_back();
    arguments.erase(arguments.begin(), arguments.begin() + 4);
    arguments.insert(arguments.begin(), {"info", "--json", given});
    const json info = json::parse(run(arguments).out);
    EXPECT_EQ(info.at("trialNumbers"), json(c.trialNumbers)) << c.route[0];
    EXPECT_EQ(info.at("storedTrials"), c.trialNumbers.size()) << c.route[0];
    arguments.emplace_back("--rules=host");
    const json host = json::parse(run(arguments).out);
    for (const char* key : {"samplesPerTrial", "sampleRate", "numTrialsDone"})
      EXPECT_EQ(host.at("record").at(key), info.at("record").at(key)) << c.route[0];
    EXPECT_EQ(host.at("trialNumbers"), info.at("trialNumbers")) << c.route[0];
  }
  // The trigger is one sample into each trial.
  EXPECT_TRUE(contains(run({"info", given}).out, "at sample 1, 0.002 s into"));
  EXPECT_TRUE(contains(run({"info", given, "--samples", "0:2"}).out, "at sample 1, 0.002 s into"));
  EXPECT_TRUE(contains(run({"info", given, "--samples", "1:2"}).out, "at the first sample"));
  EXPECT_TRUE(contains(run({"info", given, "--samples", "2:3"}).out, "0.002 s before each"));
  EXPECT_FALSE(contains(run({"info", given, "--split", "2"}).out, "Trigger"));
  const std::vector<std::vector<std::string>> refused{
      {"--trials", "99999999999"}, {"--trials", "0-99999999999"}, {"--samples", "4:99999999999999999999"}};
  for (const auto& route : refused)
    expectFailed(run({"export", given, "-o", "-", route[0], route[1]}), given + "/run.res4");
  const std::vector<std::string> wholeSpan{"export", given,       "-o",
                                           "-",      "--samples", "-1:99999999999999999999"};
  EXPECT_TRUE(Array(run(wholeSpan).out).is("<i4", "3, 1, 4"));
  auto hostSpan = wholeSpan;
  hostSpan.emplace_back("--rules=host");
  expectFailed(run(hostSpan), given + "/run.res4", "it is a whole trial, samples 0 to 3");
  EXPECT_TRUE(contains(run({"info", given, "--trials", "3"}).err, "there are trials 0 to 2"));
  const std::vector<std::vector<std::string>> wrong{
      {"--resample", "0"}, {"--split", "-1"}, {"--samples", "5"},     {"--trials", "2-1"},
      {"--trials", ""},    {"--trials", "x"}, {"--samples", "1:2:3"}, {"--resample=2", "--split=2"}};
  for (const auto& route : wrong)
    EXPECT_EQ(run({"info", given, route[0], route[1]}).exitCode, 2) << route[0];
}

/// A dataset of one channel or more whose samples are a hole in its file.
MinimalDataset sparseDataset(int trials, int channels, int samples) {
  MinimalDataset dataset;
  dataset.resize(1, channels, 1);
  dataset.res4.put(1288, Bytes().i32(samples)).put(1312, Bytes().i16(trials));
  dataset.sampleFiles = {MinimalDataset::sampleFile({})};
  return dataset;
}

TEST_F(Ctfmeg, SpanOfFiveGibibytes) {
  constexpr int kTrials = 256, kSamples = 5 << 20;
  const std::string given = write("a.ds", sparseDataset(kTrials, 1, kSamples));
  const std::uintmax_t trial = std::uintmax_t{kSamples} * 4;
  fs::resize_file(given + "/run.meg4", 8 + 200 * trial + 7 * 4);
  std::ofstream(given + "/run.meg4", std::ios::binary | std::ios::app) << Bytes().i32(-42).str();
  fs::resize_file(given + "/run.meg4", 8 + kTrials * trial);
  const CommandResult result = run({"export", given, "--samples", "5:8", "-o", "-"});
  EXPECT_EQ(result.exitCode, 0) << result.err;
  std::vector<std::int32_t> expected(kTrials * 4, 0);
  expected[200 * 4 + 2] = -42;
  EXPECT_EQ(Array(result.out).values<std::int32_t>(), expected);
}

#if !defined(_WIN32) && !defined(__SANITIZE_ADDRESS__)
TEST_F(Ctfmeg, ExportingTakesNoMemoryForTheRecording) {
  constexpr int kTrials = 10, kChannels = 10, kSamples = 1000000;
  const std::string given = write("a.ds", sparseDataset(kTrials, kChannels, kSamples));
  fs::resize_file(given + "/run.meg4", 8 + std::uintmax_t{kTrials} * kChannels * kSamples * 4);  // 400 MB
  for (const std::vector<std::string>& how : {std::vector<std::string>{},
                                              {"--resample", "10"},
                                              {"--physical", "--channels", "MLC11,MLC13*,MLC14"}}) {
    std::vector<std::string> arguments{"export", given, "-o", "/dev/null"};
    arguments.insert(arguments.end(), how.begin(), how.end());
    EXPECT_EQ(run(arguments).exitCode, 0);
  }
  rusage children{};
  getrusage(RUSAGE_CHILDREN, &children);
  EXPECT_LT(children.ru_maxrss, 100 * 1000) << "kilobytes";
}
#endif

TEST_F(Ctfmeg, RealRecording) {
  const fs::path recording = REAL_RECORDING;
  if (!fs::exists(recording)) GTEST_SKIP() << "there is no recording at " << recording;
  const std::string overview = run({"info", recording.string()}).out;
  for (const char* count : {"1201", "1200 Hz", "356"})
    EXPECT_TRUE(contains(overview, count)) << overview;
  const json split = json::parse(run({"info", "--json", recording.string(), "--split", "3"}).out);
  EXPECT_EQ(split.at("record").at("numTrialsDone"), 6);

  std::string samples = readFile(recording / recording.stem().concat(".meg4")).substr(8);
  for (std::size_t i = 0; i + 4 <= samples.size(); i += 4)
    std::reverse(&samples[i], &samples[i] + 4);
  const Array raw(run({"export", recording.string(), "-o", "-"}).out);
  EXPECT_TRUE(raw.is("<i4", "2, 356, 1201")) << raw.header;
  EXPECT_TRUE(raw.data == samples);

  struct Case {
    const char* channel;
    double first, last;
  };
  for (const Case& c : {Case{"BG1-4304", -1.001309540312169e-09, -1.029459096617618e-09},
                        {"MLC11-4304", -6.863387314589708e-11, -6.731340101548842e-11},
                        {"MRF21-4304", 7.443976319210039e-12, 8.896418980189732e-12},
                        {"UADC005-4302", 0.005673784762620926, 0.005284631624817848},
                        {"SCLK01-177", 16542.588333333333, 16643.588333333333}}) {
    const Array physical(
        run({"export", "--physical", "--channels", c.channel, recording.string(), "-o", "-"}).out);
    ASSERT_TRUE(physical.is("<f8", "2, 1, 1201")) << c.channel << physical.header;
    EXPECT_DOUBLE_EQ(physical.values<double>().front(), c.first) << c.channel;
    EXPECT_DOUBLE_EQ(physical.values<double>().back(), c.last) << c.channel;
  }
}

TEST_F(Ctfmeg, ShowsStrangeTextsAndSaysWhatWentWrongAtTheEnd) {
  // A character beyond U+FFFF that shows nothing.
  const std::string name = "a\xF3\xA0\x80\x81.ds";
  write(name);
  const std::string group = "CLASSGROUPID:\n+3\nNAME:\n" + std::string(80, 'm') +
                            "\nCOMMENT:\n\nCOLOR:\nred\nEDITABLE:\nYes\nCLASSID:\n+1\nNUMBER OF ";
  writeFile(pathFromText(path(name + "/MarkerFile.mrk")),
            "PATH OF DATASET:\nx\nNUMBER OF MARKERS:\n1\n" + group +
                "SAMPLES:\n1\nLIST OF SAMPLES:\nTRIAL NUMBER\t\tTIME FROM SYNC POINT (in seconds)\n+0 0\n\n");
  writeFile(pathFromText(path(name + "/ClassFile.cls")),
            "PATH OF DATASET:\nx\nNUMBER OF CLASSES:\n1\n" + group +
                "TRIALS:\n1\nLIST OF TRIALS:\nTRIAL NUMBER\n+1\n+0\n\n");
  const auto shown = run({"info", "--json", path(name)});
  EXPECT_TRUE(contains(shown.out, "a\\udb40\\udc01.ds")) << shown.out.substr(0, 200);
  EXPECT_TRUE(contains(shown.err, "goes beyond the number of trials that the class says it has"))
      << shown.err;
  const auto table = run({"markers", path(name)}).out;
  EXPECT_TRUE(contains(table, std::string(59, 'm') + "\xE2\x80\xA6  0 ")) << table;

  const auto rate = run({"simulate", "--rate", "-1", path("rate.ds")});
  EXPECT_EQ(rate.exitCode, 2);
  EXPECT_TRUE(contains(rate.err, "rate must be a finite number above 0")) << rate.err;
#ifndef _WIN32
  const auto full =
      runCommand("/bin/sh", {"-c", "exec '" CTFMEG_COMMAND "' markers '" + path(name) + "' >/dev/full"});
  EXPECT_EQ(full.exitCode, 1);
  EXPECT_TRUE(full.err.ends_with("ctfmeg: standard output: can't be written: No space left on device\n"));
#endif
}

}  // namespace
