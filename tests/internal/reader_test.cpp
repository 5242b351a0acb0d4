#include <gtest/gtest.h>

#include <functional>
#include <iterator>

#include "base/memory_range.h"
#include "ctf/event_files.h"
#include "hosts/datamodel/trial_storage.h"
#include "hosts/reader/sample_import.h"
#include "support/allocations.h"
#include "tables/case_run.h"

// What no file can cause, on the reader object and on the data object; what files cause is in tables/.

namespace {

using D = MinimalDataset;

/// A host that changes counts under the reader's hands, when the unusable gain of channel 1 is reported.
struct Meddler : ScriptedInterface {
  explicit Meddler(std::function<void()> action) : meddle(std::move(action)) {}
  void report(const Finding& finding) override {
    if (finding.code == "channel.gain") meddle();
  }
  std::function<void()> meddle;
};

TEST(Reader, CountMismatchesAreToldAndEndInSuccessWithNothingImported) {
  const std::string sensors = "message: Error in reading MEG sensor",
                    names = "message: Error in reading channel name";
  const std::pair<void (*)(Probe&), Lines> cases[] = {
      // After the records, and before the handover.
      {[](Probe& reader) { reader.current().getMEGRecordInfozk()->numChannels = 3; }, {sensors, sensors}},
      {[](Probe& reader) { reader.m_channelNames.SetSize(1); }, {names}},
      {[](Probe& reader) { reader.m_channelShortNames.SetSize(1); }, {names}},
  };
  MinimalDataset dataset;
  dataset.res4.put(MinimalDataset::kSensors + 1328 + 8, Bytes().f64(0.0));
  for (const auto& [meddle, shown] : cases) {
    Probe reader;
    const CString path = reader.writeDataset(dataset);
    CPtrArray array;
    const auto expectShown = [&](auto operation) {
      Meddler host([&] { meddle(reader); });
      const ThreadUserInterface installed(&host);
      EXPECT_EQ(operation(), 1);
      EXPECT_EQ(host.transcript(), shown);
    };
    expectShown([&] { return reader.checkDataset(path, &reader.data); });
    EXPECT_TRUE(reader.data.channels().empty());
    expectShown([&] { return reader.readDatasetToArray(path, &array, nullptr, nullptr); });
    const std::unique_ptr<CMEGDatazk> appended(static_cast<CMEGDatazk*>(array.GetAt(0)));
    EXPECT_TRUE(appended->channels().empty());
    EXPECT_EQ(appended->numStoredTrials(), 0);
  }
}

TEST(Reader, DataObjectsRefuseListsThatDoNotFit) {
  Probe reader;
  ASSERT_EQ(reader.readRes4Of({}), 1);
  CPtrArray electrodes;
  const auto reading = [&](int trials, int channels) {
    return reader.data.importTrialChannels(trials, channels, &reader.m_sensors, &electrodes,
                                           &reader.m_channelNames, &reader.m_channelShortNames, nullptr);
  };
  EXPECT_EQ(reading(1, 0), 0);
  EXPECT_EQ(reading(-1, 2), 0);
  EXPECT_EQ(reading(1, 3), 0) << "lists of two";
  EXPECT_EQ(reader.data.importTrialChannels(1, 2, nullptr, &electrodes, &reader.m_channelNames,
                                            &reader.m_channelShortNames, nullptr),
            0);
  EXPECT_TRUE(reader.data.channels().empty());
  EXPECT_EQ(reading(0, 2), 1) << "no trials is allowed";
  EXPECT_EQ(reader.data.importCtfDataT(0, 2, 3, nullptr), 0) << "no import is open";
}

TEST(Reader, SaysWhenSensorsDoNotFitIntoMemory) {
  Probe reader;
  const CString path = reader.writeDataset({});
  CFile file;
  ASSERT_TRUE(file.Open(path, CFile::modeRead));
  reader.info().numChannels = 1;
  int result = 0;
  for (int number = 1; result == 0; ++number) {
    const FailingNew failing = FailingNew::nth(number);
    file.Seek(static_cast<std::int64_t>(D::kSensors), CFile::begin);
    try {
      result = reader.readSensorRecords(file);
    } catch (const std::bad_alloc&) {  // something else than a sensor did not fit
    }
  }
  const std::string message = "message: Is memory enough for making MEG sensors?!";
  EXPECT_EQ(reader.user.transcript(), (Lines{message, message})) << "for the sensor and for its squid";
}

TEST(Reader, LeavesTriggerCodesThatTheFileDoesNotGive) {
  D dataset;
  dataset.res4.put(1328, Bytes().raw("\x81\x01\x02\x03\x04\x05\x06\x07")).put(1340, Bytes().i16(1));
  Probe reader;
  reader.info().triggerCodes.fill(77);
  reader.info().runDescription = L"as it was";
  dataset.res4.put(1836, Bytes().i32(0));
  reader.readRes4Of(dataset);
  EXPECT_EQ(reader.info().triggerCodes,
            (std::array<std::uint32_t, 10>{0x81010203, 0x04050607, 77, 77, 77, 77, 77, 77, 77, 77}));
  EXPECT_EQ(reader.info().runDescription, L"as it was");
}

TEST(Reader, ImportsNothingWithoutADataObject) {
  CCtfDatasetReader empty(ReadingRules::host());
  EXPECT_EQ(empty.readCtfDataT(L"run.meg4"), 0);
}

TEST(Reader, ByteCountsWrapByRule) {
  const std::uint64_t bytes = ctfmeg::SampleCounts{1, 1, (std::int64_t{1} << 30) + 2}.trialBytes();
  EXPECT_EQ(countedBytes(bytes, ReadingRules::host()), 8u);
  EXPECT_EQ(countedBytes(bytes, hostBut(&ReadingRules::wideCounts)), bytes);

  // 5 GiB in one sparse file, which some importers count in 32 bits.
  const ctfmeg::SampleCounts counts{256, 1, 5 << 20};
  D dataset;
  dataset.sampleFiles = {D::sampleFile({})};
  Probe reader;
  const CString prefix = Probe::getFilePathBasic(reader.writeDataset(dataset));
  std::filesystem::resize_file(reader.directory.path() / "run.ds" / "run.meg4",
                               8 + (std::uintmax_t{5} << 30));
  const auto opens = [&](const ReadingRules& rules, AvailableBytes available) {
    return openSampleFiles(prefix, counts, rules, available) != nullptr;
  };
  EXPECT_TRUE(opens(ReadingRules::host(), AvailableBytes::wide));
  EXPECT_FALSE(opens(ReadingRules::host(), AvailableBytes::narrow));
  EXPECT_EQ(reader.user.findings().at(0).code, "file.notFound");
  EXPECT_TRUE(opens(hostBut(&ReadingRules::wideCounts), AvailableBytes::narrow));
}

TEST(Reader, AMarkersSampleIsRoundedTwiceOnEveryProcessor) {
  // The product is -120 1/2 and a little less than its last digit; with 130 added before it is rounded, the
  // little would show.
  const ctfmeg::TrialTiming timing{1205.0, 130};
  EXPECT_EQ(timing.sampleAt(-0.1, ReadingRules::plain()), 10);
}

/// A facade whose reader is in reach.
struct Door : CMEGReaderFacezk {
  using CMEGReaderFacezk::reader;
};

TEST(Reader, AReaderThatThereIsNoMemoryForIsNull) {
  Probe listening;  // so that the failure has somebody to be reported to
  Door door;
  {
    const FailingNew none = FailingNew::from(1);
    EXPECT_EQ(door.reader(), nullptr);
  }
  const FailingNew second = FailingNew::nth(2);
  EXPECT_NE(door.reader(), nullptr);
  EXPECT_FALSE(second.happened()) << "the reader is all that is allocated";
}

TEST(Facade, RefusesWhatItCannotFillAndPassesOverEmptyPlaces) {
  CaseRun host(Case(), ReadingRules::host());
  EXPECT_EQ(host.facade.checkCTFMEGData(host.path, nullptr), 0);
  EXPECT_EQ(host.facade.readCTFMEGDataInfo(host.path, nullptr), 0);
  EXPECT_EQ(host.facade.readCTFMEGData2HdPa(host.path, nullptr, nullptr, nullptr), 0);
  host.array.SetAtGrow(0, nullptr);
  EXPECT_EQ(host.perform("facadeArray; facadeArray"), "facadeArray = 1, facadeArray = 1");
  EXPECT_EQ(static_cast<CMEGDatazk*>(host.array.GetAt(2))->trialSamples(1)[5], D::value(1, 1, 2));
}

TEST(Facade, CopiesShareAReaderThatOutlivesThem) {
  CaseRun host(Case(), ReadingRules::host());
  const auto firstCoil = [&](CMEGReaderFacezk& facade) {
    CMEGDatazk data;
    EXPECT_EQ(facade.readCTFMEGDataInfo(host.path, &data), 1);
    return data.channels().at(0).sensor.squid()->dewarCoils[0].position[2];
  };
  auto first = std::make_unique<CMEGReaderFacezk>();
  firstCoil(*first);
  CMEGReaderFacezk second(*first), failing;
  failing = second;
  first.reset();
  firstCoil(second);
  EXPECT_EQ(failing.readCTFMEGData2HdPa(L"missing.res4", &host.array, nullptr, nullptr), 0);
  firstCoil(second);   // a failure releases the failing facade's share only,
  firstCoil(failing);  // and that one makes itself a new one

  CMEGReaderFacezk third(second), fresh;
  CMEGReaderFacezk unrelated(fresh);
  third.setReadingRules(ReadingRules::plain());
  fresh.setReadingRules(ReadingRules::plain());
  EXPECT_EQ(firstCoil(second), 3.0) << "rules belong to the reader that is shared";
  EXPECT_EQ(firstCoil(unrelated), 300.0) << "there was no reader yet to share";
}

#ifdef __linux__
std::ptrdiff_t threadsOfThisProcess() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

/// Counts threads whenever progress is shown.
struct ThreadCounter : ScriptedInterface {
  struct Counting : ProgressWindow {
    explicit Counting(std::ptrdiff_t& ofAll) : most(ofAll) {}
    void setRange(int /*low*/, int /*high*/) override {}
    void setPosition(int /*position*/) override { most = std::max(most, threadsOfThisProcess()); }
    std::ptrdiff_t& most;
  };
  std::unique_ptr<ProgressWindow> openProgress(const CString& /*title*/) override {
    return std::make_unique<Counting>(most);
  }
  std::ptrdiff_t most = 0;
};

TEST(Reader, ThreadsAreStartedOnlyWhereTheyAreAskedFor) {
  const TemporaryDirectory directory;
  D dataset;
  dataset.resize(2, 3, 70'001);  // enough that several threads are faster
  const CString path = toWindowsPath(dataset.write(directory.path()).string());
  const std::ptrdiff_t before = threadsOfThisProcess();
  const auto threads = [&](std::optional<int> asked) {
    ThreadCounter counter;
    const ThreadUserInterface installed(&counter);
    CMEGReaderFacezk facade;
    if (asked) facade.setReadingThreads(*asked);
    CPtrArray array;
    EXPECT_EQ(facade.readCTFMEGData2HdPa(path, &array, nullptr, nullptr), 1);
    delete static_cast<CMEGDatazk*>(array.GetAt(0));
    return counter.most - before;
  };
  EXPECT_EQ(threads({}), 0);
  EXPECT_EQ(threads(1), 0);
  EXPECT_EQ(threads(3), 2);
}
#endif

TEST(Reader, SamplesStayInMemoryUnlessAskedOtherwise) {
  const TemporaryDirectory directory;
  ScriptedInterface user;
  const ThreadUserInterface installed(&user);
  ImportPlan plan{.trials = 4, .channels = 1024};
  plan.heldBytes = ctfmeg::grantedMemory() / 4 * 3;
  plan.samples = static_cast<std::int64_t>(plan.heldBytes / (4 * 1024 * 4));
  TrialStorage storage;
  EXPECT_TRUE(storage.reserve(plan));
  EXPECT_TRUE(user.findings().empty()) << "more than half of the memory, but nobody asked for a file";
  plan.samples = 1;
  plan.memory = SampleMemory{1, toWindowsPath(directory.path().string())};
  EXPECT_TRUE(storage.reserve(plan));
  ASSERT_EQ(user.findings().size(), 1U);
  EXPECT_EQ(user.findings()[0].code, "samples.spilled");
}

}  // namespace
