#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include <megreader/framework/encoding.h>
#include <megreader/framework/native_path.h>
#include <megreader/reader/meg_reader_face.h>
#include "support/minimal_dataset.h"
#include "support/scripted.h"
#include "support/temporary_directory.h"

namespace {

using D = MinimalDataset;
using Lines = std::vector<std::string>;

constexpr const char* kQuestion = "question: The file does not like CTF format! Would you like to continue?";

/// A host: an array that owns its data objects, and a scripted user.
struct Host {
  explicit Host(std::deque<MessageAnswer> answers = {}) : user(std::move(answers)), installed(&user) {}
  ~Host() {
    for (int i = 0; i < array.GetSize(); ++i)
      delete at(i);
  }

  CMEGDatazk* at(int index) { return static_cast<CMEGDatazk*>(array.GetAt(index)); }

  CString write(const D& dataset) { return fromUtf8(dataset.write(directory.path()).string()); }

  int read(const CString& path) { return facade.readCTFMEGData2HdPa(path, &array, nullptr, nullptr); }
  int info(CString path) { return facade.readCTFMEGDataInfo(path, &data); }

  /// Messages and questions that were shown, without progress.
  Lines shown() const {
    Lines lines;
    for (const std::string& line : user.transcript())
      if (line.starts_with("message") || line.starts_with("question")) lines.push_back(line);
    return lines;
  }

  TemporaryDirectory directory;
  CPtrArray array;
  CMEGDatazk data;
  CMEGReaderFacezk facade;
  ScriptedInterface user;
  ThreadUserInterface installed;
};

D patched(std::size_t offset, const Bytes& bytes) {
  D dataset;
  dataset.res4.put(offset, bytes);
  return dataset;
}

D withSampleFiles(std::vector<std::string> files) {
  D dataset;
  dataset.sampleFiles = std::move(files);
  return dataset;
}

TEST(Facade, AsksAboutOtherFileTypesOnly) {
  Host host({MessageAnswer::yes, MessageAnswer::no});
  for (const wchar_t* path : {L"run.meg4", L"RUN.MEG4", L"x.1_meg4", L"run.res4", L"run.eeg", L"run.infods"})
    EXPECT_EQ(host.facade.checkCtfFileFormat(path), 1);
  EXPECT_EQ(host.user.transcript(), Lines{});
  EXPECT_EQ(host.facade.checkCtfFileFormat(L"run.ds"), 1);
  EXPECT_EQ(host.facade.checkCtfFileFormat(L"run.meg"), 0);
  EXPECT_EQ(host.shown(), (Lines{std::string(kQuestion) + " -> yes", std::string(kQuestion) + " -> no"}));
}

TEST(Facade, GoesOnWithTheSamePathAfterYes) {
  Host host({MessageAnswer::yes});
  const CString resource = host.write({});
  // Any name in the dataset will do: the reader looks for the resource file of that base name.
  const CString other = resource.Left(resource.GetLength() - 4) + L"xyz";
  EXPECT_EQ(host.info(other), 1);
  EXPECT_EQ(host.info(other), 0) << "the script is used up: No";
}

TEST(Facade, OpensTrialsOfEveryObjectInTheArray) {
  Host host;
  const CString path = host.write({});
  ASSERT_EQ(host.read(path), 1);
  ASSERT_EQ(host.read(path), 1);
  host.array.SetAtGrow(2, nullptr);
  ASSERT_EQ(host.read(path), 1);
  ASSERT_EQ(host.array.GetSize(), 4);
  for (const int i : {0, 1, 3}) {
    EXPECT_EQ(host.at(i)->currentTrial(), 0);
    EXPECT_EQ(host.at(i)->trialSamples(1)[5], D::value(1, 1, 2));
  }
}

TEST(Facade, InfoReadsNoSamplesAndOpensNoTrial) {
  Host host;
  EXPECT_EQ(host.info(host.write(withSampleFiles({}))), 1) << "no sample file is needed";
  EXPECT_EQ(host.data.channels().size(), 2u);
  EXPECT_EQ(host.data.currentTrial(), -1);
  CString path = host.write({});
  EXPECT_EQ(host.facade.checkCTFMEGData(path, &host.data), 1);
  EXPECT_EQ(host.facade.checkCTFMEGData(path, nullptr), 0);
  EXPECT_EQ(host.facade.readCTFMEGDataInfo(path, nullptr), 0);
}

TEST(Facade, ASecondReadingAppendsWhatHostsAreTold) {
  Host host;
  D dataset;
  CString path = host.write(dataset);
  const auto folder = host.directory.path() / "run.ds";
  writeFile(folder / "MarkerFile.mrk",
            "NUMBER OF MARKERS:\n1\nCLASSGROUPID:\n3\nNAME:\nm\nCOMMENT:\nc\nCOLOR:\nred\nEDITABLE:\nYes\n"
            "CLASSID:\n1\nNUMBER OF SAMPLES:\n1\nLIST OF SAMPLES:\nTRIAL NUMBER  TIME FROM SYNC POINT (in "
            "seconds)\n+0 +0.0\n");
  writeFile(folder / "bad.segments", "0 0.0 0.1\n");
  writeFile(folder / "BadChannels", "STIM\n");
  writeFile(folder / "run.pos", "1\n1 1 2 3\n");
  host.facade.setReadingRules(ReadingRules::plain());
  CMEGDatazk& data = host.data;
  const auto counts = [&] {
    return std::vector<std::size_t>{data.getMEGRecordInfozk()->filters.size(),
                                    static_cast<std::size_t>(data.getTrigManager()->getTotalMarkzk()),
                                    data.getMEGRecordInfozk()->triggers.size(),
                                    data.badSegments().size(),
                                    data.badChannelNames().size(),
                                    data.digitisedPoints().size()};
  };
  ASSERT_EQ(host.info(path), 1);
  std::vector<std::size_t> expected = counts();
  EXPECT_EQ(std::count(expected.begin() + 1, expected.end(), 1U), 5);
  for (std::size_t& count : expected)
    count *= 2;
  ASSERT_EQ(host.info(path), 1);
  EXPECT_EQ(counts(), expected);
  EXPECT_EQ(data.channels().size(), 2U);
  EXPECT_FALSE(data.channels()[1].good);
  EXPECT_EQ(host.facade.checkCTFMEGData(path, &data), 1);
  EXPECT_TRUE(data.channels()[1].good) << "a check reads no bad channels";
  EXPECT_EQ(data.getTrigManager()->getTotalMarkzk(), 3);
  EXPECT_EQ(data.badSegments().size(), 2U);
}

TEST(Facade, ShowsWhatFilesCauseAndLeavesTheArrayAsItWas) {
  struct Case {
    D dataset;
    int result;
    Lines shown;
  };
  const Case cases[] = {
      {patched(1340, Bytes().i16(2)), 1, {"message: Trigger format error!"}},
      {withSampleFiles({}), 0, {"message: Failed"}},
      {withSampleFiles({"MEG41CP!"}), 0, {"message: Invalid CTF data file!"}},
  };
  for (const Case& c : cases) {
    Host host;
    host.array.SetAtGrow(0, new CMEGDatazk);
    EXPECT_EQ(host.read(host.write(c.dataset)), c.result);
    EXPECT_EQ(host.shown(), c.shown);
    EXPECT_EQ(host.array.GetSize(), 1 + c.result);
  }
}

TEST(Facade, NamesTheBaseOfAResourceFileThatIsMissing) {
  Host host;
  const std::string base = (host.directory.path() / "none.").string();
  EXPECT_EQ(host.read(fromUtf8(base + "res4")), 0);
  EXPECT_EQ(host.shown(), Lines{"message: Can't open file " + toUtf8(toWindowsPath(base)) + ", error = 2\n"});
  ASSERT_EQ(host.user.findings().size(), 1u);
  EXPECT_EQ(toNativePath(host.user.findings()[0].file), base + "res4");
}

TEST(Facade, ASampleFileThatEndsTooSoonReachesTheHostAsAFileError) {
  Host host;
  // Enough bytes for two trials, but spread so that the first file holds one and a half.
  const std::string first = D::trial(0, 2, 3), second = D::trial(1, 2, 3);
  const CString path = host.write(
      withSampleFiles({D::sampleFile({first, second.substr(0, 12)}), D::sampleFile({second.substr(12)})}));
  try {
    host.read(path);
    ADD_FAILURE() << "no exception";
  } catch (CFileException* error) {
    EXPECT_EQ(error->m_cause, CFileException::invalidFile);
    error->Delete();
  }
  EXPECT_EQ(host.array.GetSize(), 1) << "what was appended stays";
}

TEST(Facade, CopiesShareAReaderThatOutlivesThem) {
  Host host;
  const CString path = host.write({});
  auto first = std::make_unique<CMEGReaderFacezk>();
  CString p = path;
  ASSERT_EQ(first->readCTFMEGDataInfo(p, &host.data), 1);
  CMEGReaderFacezk second(*first);
  host.facade = second;
  first.reset();
  EXPECT_EQ(second.readCTFMEGDataInfo(p, &host.data), 1);
  EXPECT_EQ(host.facade.readCTFMEGData2HdPa(L"missing.res4", &host.array, nullptr, nullptr), 0);
  EXPECT_EQ(second.readCTFMEGDataInfo(p, &host.data), 1)
      << "a failure releases the failing facade's share only";
  EXPECT_EQ(host.info(path), 1) << "and that one makes itself a new one";

  const auto firstCoil = [&](CMEGReaderFacezk& facade) {
    CMEGDatazk data;
    EXPECT_EQ(facade.readCTFMEGDataInfo(p, &data), 1);
    return data.channels().at(0).sensor.squid()->dewarCoils[0].position[2];
  };
  CMEGReaderFacezk fresh, third(second);
  CMEGReaderFacezk unrelated(fresh);
  third.setReadingRules(ReadingRules::plain());
  fresh.setReadingRules(ReadingRules::plain());
  EXPECT_EQ(firstCoil(second), 3.0) << "rules belong to the reader that is shared";
  EXPECT_EQ(firstCoil(unrelated), 300.0) << "there was no reader yet to share";
}

constexpr const char* kDialog =
    "file dialog: MEG Files(*.meg;*.meg4;*.res4;*.eeg;*.infods)|*.meg;*.meg4;*.res4;*.eeg;*.infods|CTF MEG "
    "File "
    "(*.meg4)|*.meg4|CTF Dataset (*.ds)|*.ds|CTF MEG Data (*.meg4)|*.meg4|All Files(*.*)|*.*|| (1) -> ";

TEST(Facade, FileDialogsCanBeCancelled) {
  Host host;
  EXPECT_EQ(host.facade.openReadCTFMEGData2HdPa(&host.array, nullptr, nullptr), 0);
  EXPECT_EQ(host.facade.readResampling(&host.array, 2, nullptr), 0);
  EXPECT_EQ(host.facade.readSelectSample(&host.array, 0, 1, nullptr), 0);
  EXPECT_EQ(host.facade.readTrialSplit(&host.array, 2, nullptr), 0);
  EXPECT_EQ(host.user.transcript(), Lines(4, std::string(kDialog) + "cancel"));
  EXPECT_EQ(host.array.GetSize(), 0);
}

TEST(Facade, RoutesReadTheChosenFile) {
  Host host;
  const CString path = host.write({});
  CMarkerDatazk marker;
  marker.samples = {{1, 0.0, 0}};
  const auto choose = [&](auto operation) {
    ScriptedInterface user({}, {path});
    const ThreadUserInterface chooses(&user);
    EXPECT_EQ(operation(), 1);
    EXPECT_EQ(user.transcript()[0], std::string(kDialog) + "chosen");
    return host.at(host.array.GetSize() - 1);
  };
  const CMEGDatazk* marked =
      choose([&] { return host.facade.openReadCTFMEGData2HdPa(&host.array, nullptr, &marker); });
  EXPECT_EQ(marked->numStoredTrials(), 1);
  EXPECT_EQ(marked->trialSamples(0)[0], D::value(1, 0, 0));
  EXPECT_EQ(marked->getTrigManager()->getTotalMarkzk(), 1);
  const CMEGDatazk* resampled = choose([&] { return host.facade.readResampling(&host.array, 2, nullptr); });
  EXPECT_EQ(resampled->storedSamples(), 1);
  EXPECT_EQ(resampled->getMEGRecordInfozk()->sampleRate, 300.0);
  const CMEGDatazk* selected =
      choose([&] { return host.facade.readSelectSample(&host.array, 1, 2, nullptr); });
  EXPECT_EQ(selected->trialSamples(1)[3], D::value(1, 1, 2));
  const CMEGDatazk* split = choose([&] { return host.facade.readTrialSplit(&host.array, 3, nullptr); });
  EXPECT_EQ(split->numStoredTrials(), 6);
  const CMEGDatazk* whole = choose([&] { return host.facade.readTrialSplit(&host.array, 1, nullptr); });
  EXPECT_EQ(whole->storedSamples(), 3);
  for (int i = 0; i < host.array.GetSize(); ++i)
    EXPECT_EQ(host.at(i)->currentTrial(), 0) << i;
}

TEST(Facade, AFailedRouteLeavesItsObjectInTheArray) {
  Host host;
  const CString path = host.write(withSampleFiles({}));
  ScriptedInterface user({}, {path, path});
  const ThreadUserInterface chooses(&user);
  EXPECT_EQ(host.facade.readResampling(&host.array, 2, nullptr), 0);
  EXPECT_EQ(host.facade.readTrialSplit(&host.array, 1, nullptr), 0);
  EXPECT_EQ(host.array.GetSize(), 2);
  EXPECT_EQ(host.at(0)->channels().size(), 2u);
}

TEST(Facade, RoutesTurnFileErrorsIntoAMessage) {
  Host host;
  const CString path =
      host.write(withSampleFiles({D::sampleFile({D::trial(0, 2, 3)}), D::sampleFile({D::trial(1, 2, 3)})}));
  ScriptedInterface user({}, {path});
  const ThreadUserInterface chooses(&user);
  EXPECT_EQ(host.facade.readSelectSample(&host.array, 0, 1, nullptr), 0)
      << "by channel blocks from several files";
  EXPECT_EQ(user.transcript().back(), "message: CTF File open error!");
}

struct LargeCase {
  int trials, samples;
  std::deque<MessageAnswer> answers;
  std::deque<CString> entries;
  Lines shown;
  std::int64_t stored;  ///< samples of each trial
};

TEST(Facade, AsksAboutLargeRecordingsWhetherToResample) {
  constexpr auto yes = MessageAnswer::yes;
  const auto question = [](const char* megabytes, const char* answer) {
    return std::string("question: This data is ") + megabytes + " MB, would you like to re-sample it? -> " +
           answer;
  };
  const std::string dialog = "dialog: Sampling Rate: 2";
  const std::string range = "message: Enter an integer between 1 and 30.",
                    integer = "message: Enter an integer.";
  const LargeCase cases[] = {
      {100, 1000000, {yes}, {L"5"}, {}, 1000000},  // 400,000,000 bytes
      {17, 5882353, {}, {}, {question("400", "no")}, 5882353},
      {17, 5882353, {yes}, {}, {question("400", "yes"), dialog, "escape"}, 2941176},
      {17,
       5882353,
       {yes},
       {L"0", L"31", L"9999999999", L"-9999999999", L"9999999999a", L"3a", L"", L" +5 "},
       {question("400", "yes"),
        dialog,
        "typed: 0",
        range,
        range,
        "typed: 31",
        range,
        range,
        "typed: 9999999999",
        range,
        range,
        "typed: -9999999999",
        range,
        range,
        "typed: 9999999999a",
        integer,
        integer,
        "typed: 3a",
        integer,
        integer,
        "typed: ",
        integer,
        integer,
        "typed:  +5 "},
       1176470},
      {691, 723589, {yes}, {L"30"}, {question("1999", "yes"), dialog, "typed: 30"}, 24119},
  };
  for (const LargeCase& c : cases) {
    D dataset;
    dataset.resize(1, 1, 3);
    dataset.res4.put(1288, Bytes().i32(c.samples));
    dataset.res4.put(1312, Bytes().i16(c.trials));
    Host host;
    ScriptedInterface user(c.answers, {}, c.entries);
    const ThreadUserInterface installed(&user);
    const CString path = host.write(dataset);
    std::filesystem::resize_file(
        host.directory.path() / "run.ds" / "run.meg4",
        8 + 4ULL * static_cast<unsigned>(c.trials) * static_cast<unsigned>(c.samples));
    ASSERT_EQ(host.facade.readWithResamplePrompt(path, &host.array, nullptr), 1);
    Lines shown;
    for (const std::string& line : user.transcript()) {
      if (line.starts_with("progress")) break;
      shown.push_back(line);
    }
    EXPECT_EQ(shown, c.shown);
    EXPECT_EQ(host.at(0)->storedSamples(), c.stored);
    EXPECT_EQ(host.at(0)->numStoredTrials(), c.trials);
  }
}

TEST(Facade, AFailedPromptTakesItsObjectOutOfTheArray) {
  Host host;
  const CString path = host.write(withSampleFiles({"no"}));
  EXPECT_EQ(host.facade.readWithResamplePrompt(path, &host.array, nullptr), 0);
  EXPECT_EQ(host.array.GetSize(), 0);
}

TEST(Facade, RulesSetLaterReachTheReaderThatIsThere) {
  Host host;
  const CString path = host.write({});
  const auto firstCoil = [&] {
    EXPECT_EQ(host.info(path), 1);
    return host.data.channels()[0].sensor.squid()->dewarCoils[0].position[2];
  };
  EXPECT_EQ(firstCoil(), 300.0);
  host.facade.setReadingRules(ReadingRules::plain());
  EXPECT_EQ(firstCoil(), 3.0);
}

}  // namespace
