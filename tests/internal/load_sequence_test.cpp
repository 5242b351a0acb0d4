#include <gtest/gtest.h>

#include <functional>

#include "internal/probe.h"
#include <megreader/reader/meg_reader_face.h>
#include "support/allocations.h"
#include "support/unreadable_file.h"

namespace {

// What no file can cause, on the reader object; what files cause is provoked through the facade
// (facade_test.cpp).

/// A host that changes counts under the reader's hands, when it is told of the unusable gain of channel 1.
struct Meddler : ScriptedInterface {
  void report(const Finding& finding) override {
    if (finding.code == "channel.gain") meddle();
  }
  std::function<void()> meddle;
};

struct Mismatch {
  const char* what;
  std::function<void(Probe&)> meddle;
  Lines shown;
};

TEST(LoadSequence, CountMismatchesAreToldAndEndInSuccessWithNothingImported) {
  const Lines sensors(2,
                      "message: Error in reading MEG sensor");  // after the records, and before the handover
  const Lines names{"message: Error in reading channel name"};
  const Mismatch cases[] = {
      {"sensors", [](Probe& reader) { reader.current().getMEGRecordInfozk()->numChannels = 3; }, sensors},
      {"names", [](Probe& reader) { reader.m_channelNames.SetSize(1); }, names},
      {"short names", [](Probe& reader) { reader.m_channelShortNames.SetSize(1); }, names},
  };
  MinimalDataset dataset;
  dataset.res4.put(MinimalDataset::kSensors + 1328 + 8, Bytes().f64(0.0));
  for (const Mismatch& c : cases) {
    Probe reader;
    const CString path = reader.writeDataset(dataset);
    CPtrArray array;
    const auto outcome = [&](auto operation) {
      Meddler host;
      host.meddle = [&] { c.meddle(reader); };
      const ThreadUserInterface installed(&host);
      EXPECT_EQ(operation(), 1) << c.what;
      EXPECT_EQ(host.transcript(), c.shown) << c.what;
    };
    outcome([&] { return reader.readDatasetInfo(path, &reader.data, nullptr); });
    outcome([&] { return reader.checkDataset(path, &reader.data); });
    EXPECT_TRUE(reader.data.channels().empty()) << c.what;
    outcome([&] { return reader.readDatasetToArray(path, &array, nullptr, nullptr); });
    const std::unique_ptr<CMEGDatazk> appended(static_cast<CMEGDatazk*>(array.GetAt(0)));
    EXPECT_TRUE(appended->channels().empty()) << c.what;
    EXPECT_EQ(appended->numStoredTrials(), 0) << c.what;
  }
}

TEST(LoadSequence, HandsChannelsOverAndReleasesTheLists) {
  Probe reader;
  const CString path = reader.writeDataset({});
  EXPECT_EQ(reader.readDatasetInfo(path, &reader.data, nullptr), 1);
  EXPECT_EQ(toUtf8(reader.data.name), "run");
  ASSERT_EQ(reader.data.channels().size(), 2u);
  EXPECT_EQ(reader.data.channels()[0].sensor.squid()->gradientOrder, 3) << "a copy: the reader's own is gone";
  EXPECT_EQ(reader.m_sensors.GetSize(), 0);
  EXPECT_EQ(reader.m_channelNames.GetSize(), 0);
  EXPECT_EQ(reader.data.numStoredTrials(), 0);

  EXPECT_EQ(reader.checkDataset(path, &reader.data), 1);
  EXPECT_EQ(reader.m_sensors.GetSize(), 2) << "the check releases nothing";
}

TEST(LoadSequence, RefusesWhatItCannotFill) {
  Probe reader;
  const CString path = reader.writeDataset({});
  EXPECT_EQ(reader.readDatasetInfo(path, nullptr, nullptr), 0);
  EXPECT_EQ(reader.checkDataset(path, nullptr), 0);
  EXPECT_EQ(reader.readDatasetToArray(path, nullptr, nullptr, nullptr), 0);

  MinimalDataset noTrials;
  noTrials.res4.put(1312, Bytes().i16(0));
  EXPECT_EQ(reader.readDatasetInfo(reader.writeDataset(noTrials), &reader.data, nullptr), 0);
  EXPECT_EQ(reader.user.transcript(), Lines{});
}

TEST(LoadSequence, SaysWhenAFileCannotBeRead) {
  Probe reader;
  const auto link = reader.directory.path() / "run.res4";
  const UnreadableFile unreadable(link);
  if (!unreadable.works()) GTEST_SKIP() << "no file here that opens but can't be read";
  EXPECT_EQ(reader.readDatasetInfo(toWindowsPath(link.string()), &reader.data, nullptr), 0);
  EXPECT_EQ(reader.user.transcript(), Lines{"message: CTF File open error!"});
  ASSERT_EQ(reader.user.findings().size(), 1u);
  EXPECT_EQ(toNativePath(reader.user.findings()[0].file), link.string());
}

TEST(LoadSequence, SaysWhenADataObjectDoesNotFitIntoMemory) {
  Probe reader;
  const CString path = reader.writeDataset({});
  CPtrArray array;
  const FailingNew noData(sizeof(CMEGDatazk));
  EXPECT_EQ(reader.readDatasetToArray(path, &array, nullptr, nullptr), 0);
  EXPECT_EQ(reader.user.transcript(), Lines{"message: Out of  memory!"});
  EXPECT_EQ(array.GetSize(), 0);
}

TEST(LoadSequence, AFacadeWithoutMemoryForItsReaderFailsSilently) {
  Probe files;
  CString path = files.writeDataset({});
  CMEGReaderFacezk facade;
  const FailingNew noReader(sizeof(CCtfDatasetReader));
  EXPECT_EQ(facade.readCTFMEGDataInfo(path, &files.data), 0);
  EXPECT_EQ(files.user.transcript(), Lines{});
}

TEST(LoadSequence, DataObjectsRefuseListsThatDoNotFit) {
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

}  // namespace
