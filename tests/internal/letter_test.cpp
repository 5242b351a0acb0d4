#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

#include <megreader/reader/meg_reader_face.h>
#include "base/memory_range.h"
#include "ctf/event_files.h"
#include "hosts/datamodel/trial_storage.h"
#include "internal/import_probe.h"
#include "internal/side_probe.h"
#include "support/allocations.h"

// What hosts rely on where a file is damaged or odd, down to the byte.

namespace {

using D = MinimalDataset;

TEST(Letter, ASampleFileNeedsTheZeroByteOfItsHeader) {
  D dataset;
  for (const std::string begins : {"MEG41CP", "MEG4", ""}) {
    dataset.sampleFiles = {begins};
    Import reading(dataset, 1, 1, 1);
    EXPECT_EQ(reading.whole(), 0) << begins;
    EXPECT_EQ(reading.user.transcript(), Lines{"message: Invalid CTF data file!"}) << begins;
    EXPECT_EQ(reading.codes(), "meg4.magic") << begins;
  }
}

TEST(Letter, AResourceFileNeedsTheZeroByteOfItsMagic) {
  for (const auto& rules : {ReadingRules::host(), ReadingRules::plain()})
    for (const char* magic : {"MEG42RS", "MEG41RS"}) {
      D dataset;
      dataset.res4 = Bytes().raw(magic);
      Probe reader(rules);
      EXPECT_EQ(reader.readRes4Of(dataset), 0) << magic;
      EXPECT_EQ(reader.user.transcript(), Lines{"message: Invalid (MEG42RS) CTF resource file"}) << magic;
    }
}

TEST(Letter, ANegativeDescriptionLengthLeadsBackIntoTheHeader) {
  constexpr std::int32_t kLength = -200;
  constexpr std::size_t kFilters = 1844 + kLength;
  D dataset;
  const std::string names = dataset.res4.str().substr(D::kNames);
  dataset.res4 = Bytes().raw(dataset.res4.str().substr(0, kFilters)).i16(0).raw(names);
  dataset.res4.put(1836, Bytes().i32(kLength));  // inside the first sensor record now
  Probe reader;
  reader.info().runDescription = L"as it was";
  EXPECT_EQ(reader.readRes4Of(dataset), 1);
  EXPECT_EQ(reader.info().runDescriptionLength, kLength);
  EXPECT_EQ(reader.info().runDescription, L"as it was");
  EXPECT_EQ(reader.m_filterStart, 1846 + kLength);
  EXPECT_EQ(toUtf8(reader.m_channelNames.GetAt(1)), "STIM");
  EXPECT_EQ(reader.codes(), "res4.length");

  dataset.res4.put(1836, Bytes().i32(-1845));  // one byte before the file
  EXPECT_EQ(reader.readDatasetInfo(reader.writeDataset(dataset), &reader.data, nullptr), 0);
  EXPECT_EQ(reader.info().runDescriptionLength, -1845);
  EXPECT_EQ(reader.user.transcript(), Lines{"message: CTF File open error!"});
}

TEST(Letter, TheDescriptionLengthIsKeptOnlyAfterTheDescription) {
  D dataset;
  dataset.res4.put(1836, Bytes().i32(1 << 20));
  Probe reader;
  reader.info().runDescriptionLength = 7;
  EXPECT_EQ(reader.readRes4Of(dataset), 0);
  EXPECT_EQ(reader.info().runDescriptionLength, 7);
  dataset.res4 = Bytes().raw(dataset.res4.str().substr(0, 1842));  // inside the word after it
  EXPECT_EQ(reader.readRes4Of(dataset), 0);
  EXPECT_EQ(reader.info().runDescriptionLength, 7);
}

TEST(Letter, SideFilesWhosePathCannotExistAreMissing) {
  // "run.infods" with so long a name is longer than any file's name may be; "run.res4" is not.
  for (const ReadingRules& rules : {ReadingRules::host(), ReadingRules::plain()}) {
    const TemporaryDirectory directory;
    const std::filesystem::path folder = D().write(directory.path()).parent_path();
    const std::string name(250, 'n');
    for (const char* type : {".res4", ".meg4"})
      std::filesystem::rename(folder / (std::string("run") + type), folder / (name + type));
    const CString path = toWindowsPath((folder / (name + ".res4")).string());
    Probe reader(rules);
    EXPECT_EQ(reader.readDatasetInfo(path, &reader.data, nullptr), 1);
    EXPECT_EQ(reader.readCtfDataT(path), 1);
    EXPECT_EQ(reader.codes(), "");
    std::filesystem::create_directory_symlink("loop", directory.path() / "loop");
    for (const char* nowhere : {"none/run.infods", "loop/run.infods", "run.ds/run.infods/run.infods"}) {
      const CString missing = toWindowsPath((directory.path() / nowhere).string());
      EXPECT_EQ(reader.readInfoDsFile(missing), 0);
      EXPECT_EQ(reader.readEegFile(missing), 0);
      EXPECT_EQ(reader.readPosFile(missing), 0);
      EXPECT_EQ(reader.readHeadCoilsToDataset(missing), 0);
      EXPECT_EQ(reader.readHeadCoilsToLocalization(missing), 0);
    }
    EXPECT_EQ(reader.codes(), "");
    for (const std::string& line : reader.user.transcript())
      EXPECT_FALSE(line.starts_with("message")) << line;
  }
}

TEST(Letter, HeadCoilHeadingsMayLeaveOutCoilPosition) {
  const auto block = [](const std::string& kind, bool five) {
    std::string text;
    for (const char* coil : {"nasion", "left ear", "right ear", "inion", "Cz"})
      if (five || std::string_view(coil).size() > 5)
        text += kind.substr(0, kind.find(' ') + 1) + coil + kind.substr(kind.find(' ')) +
                "\nx = 1\ny = 2\nz = 3\n";
    return text;
  };
  for (const bool five : {false, true}) {
    const std::string content = block("standard relative to dewar", five) +
                                block("measured relative to dewar", five) +
                                block("measured relative to head", five);
    WithFile plain("run.hc", content, ReadingRules::plain());
    EXPECT_EQ(plain.readHeadCoilsToDataset(plain.base()), 3);
    EXPECT_EQ(plain.data.getFidHeadMsr()->numPoints, five ? 5 : 3);
    EXPECT_EQ(plain.readHeadCoilsToLocalization(plain.base()), 1);
    ASSERT_EQ(plain.data.getHeadLocationDataset()->fiducials().size(), 3U);
    EXPECT_EQ(plain.data.getHeadLocationDataset()->fiducials()[2]->numPoints, five ? 5 : 3);
    WithFile host("run.hc", content, ReadingRules::host());
    EXPECT_EQ(host.readHeadCoilsToLocalization(host.base()), 1);
    EXPECT_FALSE(host.data.getHeadLocationDataset()->fiducials().size() == 3U &&
                 host.data.getHeadLocationDataset()->fiducials()[2]->anyPointRead());
  }
}

std::string sized(const std::string& text) {
  return Bytes().i32(static_cast<std::int64_t>(text.size())).raw(text).str();
}

TEST(Letter, ACharacterOfTheInformationFileIsWindows1252) {
  const std::string content =
      "WS1_" + sized("sign") + Bytes().i32(8).raw("\x80").str() + sized("EndOfParameters");
  WithFile plain("run.infods", content, ReadingRules::plain());
  EXPECT_EQ(plain.readInfoDsFile(plain.base() + L"infods"), 1);
  EXPECT_EQ(toUtf8(plain.info().information.text), "\xE2\x82\xAC \n") << "the euro sign";
  WithFile host("run.infods", content, ReadingRules::host());
  EXPECT_EQ(host.readInfoDsFile(host.base() + L"infods"), 1);
  EXPECT_EQ(host.info().information.text, L"\x80 \n");
}

TEST(Letter, AMarkersSampleIsRoundedTwiceOnEveryProcessor) {
  // The product is -120 1/2 and a little less than its last digit; with 130 added before it is rounded, the
  // little would show.
  const ctfmeg::TrialTiming timing{1205.0, 130};
  EXPECT_EQ(timing.sampleAt(-0.1, ReadingRules::plain()), 10);
}

/// A facade whose reader is in reach.
struct Door : CMEGReaderFacezk {
  using CMEGReaderFacezk::reader;
};

TEST(Letter, AReaderThatThereIsNoMemoryForIsNull) {
  Probe listening;  // so that the failure has somebody to be reported to
  Door door;
  {
    const FailingNew none = FailingNew::from(1);
    EXPECT_EQ(door.reader(), nullptr);
  }
  const FailingNew second = FailingNew::nth(2);
  EXPECT_NE(door.reader(), nullptr);
  EXPECT_FALSE(second.happened()) << "the reader is all that is allocated";
  const Door copy = door;
  Door later;
  later = copy;
  EXPECT_EQ(later.reader(), door.reader());
}

#ifdef __linux__
/// Counts the process's threads whenever progress is shown.
struct ThreadCounter : UserInterface {
  struct Forwarding : ProgressWindow {
    explicit Forwarding(ThreadCounter& of) : counter(of) {}
    void setRange(int /*low*/, int /*high*/) override {}
    void setPosition(int /*position*/) override {
      const auto threads = std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
      counter.most = std::max(counter.most, threads);
    }
    ThreadCounter& counter;
  };
  MessageAnswer messageBox(const CString& /*text*/, MessageStyle /*style*/) override {
    return MessageAnswer::no;
  }
  std::optional<CString> chooseFile(const CString& /*filter*/, int /*index*/) override { return {}; }
  std::unique_ptr<ProgressWindow> openProgress(const CString& /*title*/) override {
    return std::make_unique<Forwarding>(*this);
  }

  std::ptrdiff_t most = 0;
};

TEST(Letter, ThreadsAreStartedOnlyWhereTheyAreAskedFor) {
  const TemporaryDirectory directory;
  D dataset;
  dataset.resize(2, 3, 70'001);  // enough that several threads are faster
  const CString path = toWindowsPath(dataset.write(directory.path()).string());
  const auto before = std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
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

TEST(Letter, SamplesStayInMemoryUnlessAskedOtherwise) {
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
