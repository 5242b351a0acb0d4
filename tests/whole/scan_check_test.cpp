#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/command.h"
#include "support/minimal_dataset.h"
#include "support/temporary_directory.h"

#include <ctfmeg/path_text.h>

namespace {

namespace fs = std::filesystem;
using nlohmann::json;

class ManyDatasets : public testing::Test {
 protected:
  std::string path(const std::string& name) const {
    fs::path whole = m_directory.path() / ctfmeg::pathFromText(name);
    return ctfmeg::textOf(whole.make_preferred());
  }
  /// A dataset whose files are called run, in a directory of that name.
  std::string write(const std::string& name, const MinimalDataset& dataset = {}) const {
    fs::create_directories(fs::path(path(name)).parent_path());
    fs::rename(dataset.write(m_directory.path()).parent_path(), path(name));
    return path(name);
  }
  static CommandResult run(const std::vector<std::string>& arguments) {
    CommandResult result = runCommand(CTFMEG_COMMAND, arguments);
    std::erase(result.err, '\r');  // text for people has the system's line ends
    return result;
  }

 private:
  TemporaryDirectory m_directory;
};

TEST_F(ManyDatasets, AreScannedAtEveryDepthAndBrokenOnesSurvived) {
  const MinimalDataset whole;
  write("a/run.ds", whole);
  write("a/run.ds/hz.ds", whole);
  write("b/c/=last.ds", whole);
  fs::create_directory(path("b/broken.ds"));
  writeFile(path("b/file.ds"), "not a directory");
#ifndef _WIN32
  fs::create_directory_symlink(path("a"), path("b/again"));
  fs::create_directory_symlink(path("nowhere"), path("a/gone.ds"));
  const std::string gone = "ctfmeg: " + path("a/gone.ds") + ": leads nowhere\n";
#else
  const std::string gone;
#endif
  const std::string bytes = std::to_string(whole.res4.str().size() + whole.sampleFiles[0].size());
  const std::string about = ",subject,29-Apr-2013,09:36,2,2,3,600,0.01," + bytes + ",ok,\r\n";
  const std::string head =
      "path,subject,date,time,channels,trials,samplesPerTrial,sampleRate,durationSeconds,bytes,status,"
      "error\r\n";
  const std::string why = "holds no CTF resource file: looked for broken.res4 and for any other *.res4";

  const auto csv = run({"scan", "--csv", path("")});
  EXPECT_EQ(csv.exitCode, 1);
  EXPECT_EQ(csv.out, head + path("a/run.ds") + about + path("a/run.ds/hz.ds") + about + path("b/broken.ds") +
                         ",,,,,,,,,0,error," + why + "\r\n" + path("b/c/=last.ds") + about);
  EXPECT_EQ(csv.err, gone + "ctfmeg: " + path("b/broken.ds") + ": " + why + "\n");

  const auto listed = run({"scan", "--json", "--no-identity", path("b")});
  const json all = json::parse(listed.out);
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[0], json({{"path", "broken.ds"}, {"bytes", 0}, {"status", "error"}, {"error", why}}));
  EXPECT_EQ(all[1]["path"], "=last.ds");
  EXPECT_EQ(all[1]["durationSeconds"], 0.01);
  for (const char* key : {"subject", "date", "time"})
    EXPECT_FALSE(all[1].contains(key));
  EXPECT_EQ(listed.err, "ctfmeg: broken.ds: " + why + "\n");

  const auto one = run({"scan", "--csv", "--no-identity", path("b/c/=last.ds")});
  EXPECT_EQ(one.exitCode, 0);
  EXPECT_EQ(one.out, head + "'=last.ds,,,,2,2,3,600,0.01," + bytes + ",ok,\r\n");
  EXPECT_NE(run({"scan", path("a")}).out.find("2 x 3"), std::string::npos);

  fs::remove_all(path("b"));
  fs::create_directory(path("b"));
  EXPECT_EQ(run({"scan", path("b")}).out, "no datasets\n");
  EXPECT_EQ(run({"scan", "--json", path("b")}).out, "[]\n");
  for (const char* name : {"nowhere", "a/run.ds/run.res4"}) {
    const auto failed = run({"scan", path(name)});
    EXPECT_EQ(failed.exitCode, 1);
    EXPECT_TRUE(failed.err.starts_with("ctfmeg: " + path(name) + ": can't be scanned: ")) << failed.err;
  }
}

/// What is odd in a dataset, remarks aside: "code file text", a line each, after the exit code. (The minimal
/// dataset has coefficients for references that are not among its two channels.)
std::string oddities(const std::string& dataset) {
  const auto result = runCommand(CTFMEG_COMMAND, {"check", "--json", dataset});
  std::string text = std::to_string(result.exitCode) + "\n";
  const json all = json::parse(result.out);
  for (const json& finding : all["findings"])
    if (finding["severity"] != "remark" && finding["code"] != "coefficient.channel")
      text += finding["code"].get<std::string>() + " " + finding["file"].get<std::string>() + " " +
              finding["text"].get<std::string>() + "\n";
  return text;
}

TEST_F(ManyDatasets, AreCheckedForWhatIsOdd) {
  const std::string dataset = write("run.ds");
  EXPECT_EQ(oddities(dataset), "3\n");
  const auto add = [&](const char* file, const std::string& text) {
    writeFile(path("run.ds/") + file, text);
  };
  add("MarkerFile.mrk",
      "PATH OF DATASET:\n/d/run.ds\n\nNUMBER OF "
      "MARKERS:\n1\n\nCLASSGROUPID:\n+3\nNAME:\nt\xC3\xB6ne\nCOMMENT:\nloud\n"
      "COLOR:\nred\nEDITABLE:\nYes\nCLASSID:\n+1\nNUMBER OF SAMPLES:\n3\nLIST OF SAMPLES:\nTRIAL "
      "NUMBER\t\tTIME "
      "FROM SYNC POINT (in seconds)\n+0 0\n+2 0\n+1 0.1\n\n");
  add("ClassFile.cls",
      "PATH OF DATASET:\n/d/run.ds\n\nNUMBER OF "
      "CLASSES:\n1\n\nCLASSGROUPID:\n+3\nNAME:\nBAD\nCOMMENT:\n\nCOLOR:\n"
      "red\nEDITABLE:\nYes\nCLASSID:\n+1\nNUMBER OF TRIALS:\n2\nLIST OF TRIALS:\nTRIAL NUMBER\n+1\n+7\n\n");
  add("BadChannels", "MLC11\nMRT99\n");
  add("bad.segments", "0 0 0.005\n1 0 0.1\n");
  add("VirtualChannels", "VirtualChannel\n{\nName: A\nUnit: T\nRef: MLC11,0.5\nRef: MLC12,0.5\n}\n");
  EXPECT_EQ(
      oddities(dataset),
      "3\n"
      "bad.channel BadChannels is no channel of the recording\n"
      "virtual.channel VirtualChannels names 1 reference that no channel has, the first is MLC12 in A\n"
      "marker.outside MarkerFile.mrk places 2 occurrences of marker t\xC3\x83\xC2\xB6ne outside the trials, "
      "the "
      "first at trial 2, sample 1\n"
      "class.outside ClassFile.cls lists 1 trial in class BAD that the run does not have, the first is 7\n"
      "segment.outside bad.segments has 1 segment outside the trials, the first in trial 1\n"
      "text.ascii MarkerFile.mrk has control characters or characters beyond ASCII in name 1\n");

  const auto strict = run({"check", "--strict", dataset});
  EXPECT_EQ(strict.exitCode, 1);
  EXPECT_TRUE(strict.out.starts_with(dataset + ": odd but readable\n")) << strict.out;
}

TEST_F(ManyDatasets, AreCheckedToTheLastByteAndByBothReadings) {
  const auto remarks = [&](const std::string& name) {
    std::string codes;
    const json all = json::parse(run({"check", "--json", path(name)}).out);
    for (const json& finding : all["findings"])
      if (finding["severity"] == "remark")
        codes += finding["code"].get<std::string>() + " " + finding["file"].get<std::string>() + " " +
                 finding["text"].get<std::string>() + "\n";
    return codes;
  };
  const std::string always =
      "host.coils run.res4 under host rules has other coil positions for 1 of 2 channels\n"
      "host.coefficients run.res4 under host rules has other names or values in 1 of 1 coefficient records\n"
      "host.filters run.res4 has filter parameters, which host rules leave in the file's byte order\n";
  MinimalDataset trailing, cut, older, broken;
  trailing.sampleFiles[0] += "abc";
  EXPECT_EQ(oddities(write("trailing.ds", trailing)),
            "3\nmeg4.trailing run.meg4 has 3 bytes after the last trial of the run\n");
  EXPECT_EQ(remarks("trailing.ds"), always);
  cut.sampleFiles[0].pop_back();
  EXPECT_EQ(oddities(write("cut.ds", cut)),
            "3\nmeg4.short run.meg4 ends early: 1 of 2 trials are there whole, the next one in part\n");
  EXPECT_EQ(remarks("cut.ds").substr(0, always.size() + 23), always + "host.unread run.1_meg4 ");
  older.res4.put(3, Bytes().raw("41"));
  write("older.ds", older);
  EXPECT_EQ(remarks("older.ds").substr(0, 21), "host.unread run.res4 ");

  broken.res4 = Bytes().raw(broken.res4.str().substr(0, 3000));
  const auto result = run({"check", write("broken.ds", broken)});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_TRUE(result.out.starts_with(path("broken.ds") + ": can't be read\n")) << result.out;
  EXPECT_NE(result.out.find("res4.short"), std::string::npos) << result.out;
  EXPECT_NE(result.err.find("run.res4"), std::string::npos) << result.err;
  EXPECT_EQ(json::parse(run({"check", "--json", path("nowhere.ds")}).out)["error"]["kind"], "notFound");
}

TEST_F(ManyDatasets, ThatWereSimulatedAreSound) {
  ASSERT_EQ(run({"simulate", "--channels", "12", path("sound.ds")}).exitCode, 0);
  const auto sound = run({"check", "--quiet", "--no-identity", path("sound.ds")});
  EXPECT_EQ(sound.exitCode, 0);
  EXPECT_EQ(sound.out, "sound.ds: sound\n");
}

TEST_F(ManyDatasets, WithNumbersThatCantBeAreTold) {
  MinimalDataset odd;
  odd.res4.put(1296, Bytes().f64(-std::numeric_limits<double>::infinity()));
  const auto scanned = run({"scan", "--csv", "--strict", write("odd.ds", odd)});
  EXPECT_NE(scanned.out.find(",2,2,3,,0,"), std::string::npos) << scanned.out;
  EXPECT_EQ(oddities(path("odd.ds")).substr(0, 52), "3\nres4.rate run.res4 gives a sample rate that can't ");
}

TEST_F(ManyDatasets, WithWarningsSaySo) {
  MinimalDataset twice;
  twice.res4.put(MinimalDataset::kNames + 32, Bytes().raw("MLC11-2805"));
  write("twice.ds", twice);
  writeFile(path("twice.ds/BadChannels"), "NOPE\nNOR\n");
  const auto scanned = run({"scan", "--json", "--strict", path("twice.ds/.")});
  EXPECT_EQ(scanned.exitCode, 1);
  EXPECT_TRUE(scanned.err.ends_with(": warning: BadChannels is no channel of the recording; and 1 more\n"))
      << scanned.err;
  const json all = json::parse(scanned.out);
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0]["subject"], "subject");
  EXPECT_EQ(all[0]["status"], "ok");
  EXPECT_NE(oddities(path("twice.ds"))
                .find("channel.twice run.res4 gives 1 channel a name that another has, the "
                      "first is MLC11-2805"),
            std::string::npos);
}

}  // namespace
