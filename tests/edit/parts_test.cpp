#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <span>

#include "base/byte_order.h"
#include "edit/cropping.h"
#include "edit/event_lines.h"
#include "edit/resource_fields.h"
#include "simulate/dataset.h"
#include "support/minimal_dataset.h"
#include "support/temporary_directory.h"

#include <ctfmeg/recording.h>

// What single files become when a dataset is cropped, where no recording of a test's size would show it.

namespace ctfmeg::edit {
namespace {

constexpr const char* kMarkers =
    "PATH OF DATASET:\n/data/run.ds\n\n\nNUMBER OF MARKERS:\n2\n\n\nCLASSGROUPID:\n+3\nNAME:\ntone\n"
    "COMMENT:\n\nCOLOR:\nblue\nEDITABLE:\nYes\nCLASSID:\n+1\nNUMBER OF SAMPLES:\n2\nLIST OF SAMPLES:\n"
    "TRIAL NUMBER\t\tTIME FROM SYNC POINT (in seconds)\n  +0\t+0.5\n  "
    "+1\t-0.25\n\n\nCLASSGROUPID:\n3\nNAME:\n"
    "button\nCOMMENT:\nx\nCOLOR:\nRed\nEDITABLE:\nNo\nCLASSID:\n2\nNUMBER OF SAMPLES:\n3\nLIST OF SAMPLES:\n"
    "TRIAL NUMBER\t\tTIME FROM SYNC POINT\n1 0.1\n0 0.2 x\n1 7\n4 1\n";
constexpr const char* kClasses =
    "PATH OF DATASET:\nrun.ds\nNUMBER OF CLASSES:\n2\n\nCLASSGROUPID:\n+3\nNAME:\nBAD\nCOMMENT:\n\nCOLOR:\n"
    "Red\nEDITABLE:\nYes\nCLASSID:\n+1\nNUMBER OF TRIALS:\n3\nLIST OF TRIALS:\nTRIAL NUMBER\n +0\n+1\n 4\n\n"
    "CLASSGROUPID:\n3\nNAME:\ngood\nCOMMENT:\ny\nCOLOR:\nblue\nEDITABLE:\nYes\nCLASSID:\n2\n"
    "NUMBER OF TRIALS:\n1\nLIST OF TRIALS:\nTRIAL NUMBER\n2\n";

class MemoryFile : public File {
 public:
  explicit MemoryFile(const std::string& bytes) : File("file"), m_bytes(bytes) {}
  std::uint64_t size() const override { return m_bytes.size(); }
  std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) const override {
    const std::string_view rest = std::string_view(m_bytes).substr(std::min<std::uint64_t>(offset, size()));
    std::memcpy(out.data(), rest.data(), std::min(rest.size(), out.size()));
    return std::min(rest.size(), out.size());
  }

 private:
  const std::string& m_bytes;
};

class NoNotices : public Notices {
  void report(const Finding& /*finding*/) override {}
};

/// What readers see of each group: its name and its occurrences.
using Groups = std::vector<std::pair<std::string, std::vector<std::pair<int, double>>>>;

constexpr TrialTiming kTiming{600.0, 300};

Groups groupsRead(const std::string& bytes, bool markers) {
  Groups groups;
  NoNotices notices;
  const MemoryFile file(bytes);
  if (markers)
    readMarkers(file, kTiming, ReadingRules::plain(), notices, [&](const ReadMarker& read) {
      groups.push_back({read.marker.name, {}});
      for (const MarkerSample& sample : read.marker.samples)
        groups.back().second.emplace_back(sample.trial, sample.timeMs);
      return true;
    });
  else
    readClasses(file, ReadingRules::plain(), notices, [&](const TrialClass& read) {
      groups.push_back({read.name, {}});
      for (const int trial : *read.trials)
        groups.back().second.emplace_back(trial, 0.0);
      return true;
    });
  return groups;
}

Groups groupsOfLines(const std::string& bytes, const EventBlockKind& kind) {
  Groups groups;
  const auto lines = linesOf(bytes);
  EXPECT_EQ(textOf(lines), bytes);
  const auto events = eventLinesOf(lines, kind, kTiming);
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const EventLine& event = events[i];
    if (event.role == EventRole::blockKeyword) groups.push_back({});
    if (event.role == EventRole::name) groups.back().first = readPartOf(lines[i]);
    if (event.role == EventRole::occurrence)
      groups.back().second.emplace_back(event.sample.trial, event.sample.timeMs);
  }
  // A reader gives up a marker that the file ends in before its name.
  if (!groups.empty() && groups.back() == Groups::value_type{}) groups.pop_back();
  return groups;
}

TEST(EventLines, AreToTheirReaderWhatTheyAreCalled) {
  const auto compare = [&](const std::string& bytes, bool markers) {
    Groups read = groupsRead(bytes, markers);
    if (!read.empty() && read.back() == Groups::value_type{}) read.pop_back();
    ASSERT_EQ(groupsOfLines(bytes, markers ? kMarkerBlock : kClassBlock), read) << bytes;
  };
  for (const bool markers : {true, false}) {
    const auto lines = linesOf(markers ? kMarkers : kClasses);
    compare(textOf(lines), markers);
    // Each line is missing, is there again, is elsewhere, has other bytes or an other end, or is the last.
    for (std::size_t i = 0; i < lines.size(); ++i)
      for (int change = 0; change < 9; ++change) {
        auto changed = lines;
        std::string& text = changed[i].text;
        if (change == 0) changed.erase(changed.begin() + static_cast<std::ptrdiff_t>(i));
        if (change == 1) changed.insert(changed.begin() + static_cast<std::ptrdiff_t>(i), lines[i]);
        if (change == 2) std::swap(changed[i], changed[i * 7 % lines.size()]);
        if (change == 3) text.insert(text.size() / 2, 1, '\0');
        if (change == 4) text = "5 0.125";
        if (change == 5) text = " COMMENT: CLASSID: ";
        if (change == 6) changed[i].end = "\r\n";
        if (change == 7) changed.resize(i + 1);
        if (change == 8) changed[i].end.clear();
        compare(textOf(changed), markers);
      }
  }
}

TEST(CroppedEvents, KeepWhatIsInTheSpanAndInTheTrials) {
  RecordInfo record;
  record.numTrials = 5;
  record.samplesPerTrial = 600;
  record.sampleRate = kTiming.sampleRate;
  record.preTrigSamples = static_cast<std::int32_t>(kTiming.preTrigSamples);
  const std::vector<Channel> channels(1);
  const KeptPart kept(record, channels, {1, 4}, {0}, 100, 400);  // -0.333 s to 0.332 s
  const Groups markers{{"tone", {{0, -250.0}}}, {"button", {{0, 0.1}}}},
      classes{{"BAD", {{0, 0}, {1, 0}}}, {"good", {}}};
  EXPECT_EQ(groupsRead(cropEvents(kMarkers, kMarkerBlock, kept).bytes, true), markers);
  EXPECT_EQ(groupsRead(cropEvents(kClasses, kClassBlock, kept).bytes, false), classes);
}

TEST(CroppedSamples, BeginANewFileBeforeOneIsTooLarge) {
  const TemporaryDirectory directory;
  simulate::Options options;
  options.channels = 7;
  options.trials = 5;
  options.samples = 50;
  simulate::writeDataset(directory.path() / "run.ds", options);
  const auto recording = Recording::open(directory.path() / "run.ds");
  const auto source = recording.samples({.samples = SampleSpan{10, 39}, .exclude = {"stim"}});
  const std::size_t trialBytes = 4UL * 30 * static_cast<std::size_t>(source->shape().channels);
  std::vector<std::int32_t> values(5 * trialBytes / 4);
  source->read({.trials = 5, .channels = source->shape().channels, .samples = 30}, values);
  for (std::int32_t& value : values)
    reverseBytes(value);
  const std::string all(reinterpret_cast<const char*>(values.data()), 5 * trialBytes);

  const auto made = [&](std::uint64_t mostBytes) {
    std::vector<std::size_t> sizes;
    std::string samples;
    for (const PlannedFile& file : sampleFiles(source, "new", mostBytes)) {
      const std::size_t number = sizes.size();
      EXPECT_EQ(file.name, number == 0 ? "new.meg4" : "new." + std::to_string(number) + "_meg4");
      std::string bytes;
      const auto& content = std::get<MadeFile>(file.content);
      content.make([&](std::span<const std::byte> some) {
        bytes.append(reinterpret_cast<const char*>(some.data()), some.size());
      });
      EXPECT_EQ(bytes.size(), content.bytes);
      EXPECT_EQ(bytes.substr(0, 8), std::string("MEG41CP\0", 8));
      sizes.push_back((bytes.size() - 8) / trialBytes);
      samples += bytes.substr(8);
    }
    EXPECT_EQ(samples, all);
    return sizes;
  };
  using Sizes = std::vector<std::size_t>;
  EXPECT_EQ(made(kMostSampleBytes), Sizes{5});
  EXPECT_EQ(made(8 + 2 * trialBytes), (Sizes{2, 2, 1}));
  EXPECT_EQ(made(8 + 2 * trialBytes - 1), (Sizes{1, 1, 1, 1, 1}));
  EXPECT_EQ(made(20), (Sizes{1, 1, 1, 1, 1})) << "a trial is never divided";
}

TEST(CroppedResource, HasNumbersThatFitAndFollow) {
  const TemporaryDirectory directory;
  MinimalDataset dataset;
  dataset.res4.put(1320, Bytes().i16(2).i16(1));  // trials done, and displayed
  int copies = 0;
  const auto cropped = [&](std::vector<int> trials, std::vector<int> channels, int first, int samples) {
    const auto folder = directory.path() / std::to_string(++copies);
    std::filesystem::create_directory(folder);
    const auto path = dataset.write(folder);
    const auto recording = Recording::open(path);
    const KeptPart kept(recording.record(), recording.channels(), trials, channels, first, samples);
    const std::string bytes = cropResource(dataset.res4.str(), kept, path).bytes;
    writeFile(path, bytes);
    EXPECT_EQ(placesOf(bytes, path).end, bytes.size());
    return Recording::open(path);
  };
  const auto one = cropped({1}, {0, 1}, 2, 1);
  EXPECT_EQ(one.record().preTrigSamples, -1);
  EXPECT_EQ(one.record().numTrialsDone, 1);
  EXPECT_EQ(one.record().numTrialsDisplay, 1) << "as it was";
  EXPECT_EQ(one.record().epochTime, 1 / 600.0) << "0.01 s are those of all trials";
  EXPECT_EQ(one.coefficients().size(), 1U);
  const auto two = cropped({0, 1}, {1}, 0, 3);
  EXPECT_EQ(two.channels().front().name, "STIM");
  EXPECT_EQ(two.coefficients().size(), 0U) << "for a channel that is gone";
  EXPECT_EQ(two.record().epochTime, 0.01);
  dataset.res4.put(1304, Bytes().f64(77.0));
  const auto odd = cropped({0}, {0}, 0, 3);
  EXPECT_EQ(odd.record().epochTime, 77.0) << "the time of something else";
  dataset.res4.put(1316, Bytes().i32(INT32_MIN));
  EXPECT_THROW(cropped({0}, {0}, 1, 2), Error);
}

}  // namespace
}  // namespace ctfmeg::edit
