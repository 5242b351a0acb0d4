#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ctf/event_files.h"
#include "edit/changes.h"
#include "edit/staged_copy.h"

#include <ctfmeg/record.h>
#include <ctfmeg/recording.h>
#include <ctfmeg/samples.h>

// What cropping makes of each file of a dataset.

namespace ctfmeg::edit {

/// The part of a recording that a copy keeps. Refers to what the resource file says.
class KeptPart {
 public:
  /// `trials`: numbers in the file, `channels`: places among all channels, both rising; of each trial
  /// `samples` samples from `first` on.
  KeptPart(const RecordInfo& record, const std::vector<Channel>& all, std::vector<int> trials,
           const std::vector<int>& channels, std::int64_t first, std::int64_t samples);

  const RecordInfo& record() const { return m_record; }
  const std::vector<Channel>& channels() const { return m_channels; }
  bool isKept(const Channel& channel) const { return m_isKept[static_cast<std::size_t>(channel.index)]; }
  const std::vector<int>& trials() const { return m_trials; }
  std::int64_t first() const { return m_first; }
  std::int64_t samples() const { return m_samples; }

  /// The number in the copy of a trial of the file; nothing where the copy does not have it. A trial that the
  /// file does not have either keeps its number where all trials stay.
  std::optional<int> trialOf(std::int32_t number) const;
  bool hasWholeTrials() const { return m_samples == m_record.samplesPerTrial; }
  bool hasAllChannels() const;
  bool hasAllTrials() const { return std::ssize(m_trials) == m_record.numTrials; }
  /// Whether an event is in the copy. One that is outside of its trial stays there, unless a span is cut.
  bool hasSample(std::int64_t sample) const;
  /// Whether a name, full or short, is only of channels that the copy does not have. A name of no channel at
  /// all is not.
  bool isGone(const std::string& name) const;
  /// Whether a name, full or short, is of a channel of the copy, or of none at all.
  bool isOfUse(const std::string& name) const;

 private:
  /// Names, with whether one of the channels that are called so is kept.
  using Names = std::unordered_map<std::string, bool>;

  const RecordInfo& m_record;
  const std::vector<Channel>& m_channels;
  std::vector<int> m_trials;
  std::vector<bool> m_isKept;
  Names m_names, m_shortNames;
  std::int64_t m_first, m_samples;
};

/// Throws `Error` about `path` where the file can't be followed, or a number does not fit its field.
/// Coefficient records of sensors that are gone go, and those with a reference that is gone.
Edited cropResource(std::string_view bytes, const KeptPart& kept, const std::filesystem::path& path);

/// As reports name times of markers that were changed.
inline constexpr const char* kTimesField = "TIME FROM SYNC POINT";

/// MarkerFile.mrk or ClassFile.cls. A time that would be read as another sample is replaced by that of its
/// own.
Edited cropEvents(std::string_view bytes, const EventBlockKind& kind, const KeptPart& kept);
Edited cropBadSegments(std::string_view bytes, const KeptPart& kept);
Edited cropBadChannels(std::string_view bytes, const KeptPart& kept);
/// Nothing where no definition is left, of those that there were.
std::optional<Edited> cropVirtualChannels(std::string_view bytes, const KeptPart& kept);

/// The information file: the trial of the largest head motion gets its new number. Where the copy does not
/// have it, or the number is none, what is said of that motion goes.
Edited cropInformation(std::string_view bytes, const KeptPart& kept);

/// What a copy loses with channels that it does not have: references of a compensation that its samples
/// carry, coefficient records and virtual channels.
std::vector<Finding> lossesOf(const Recording& recording, const KeptPart& kept);

/// What 31 bits count: no sample file may be larger, unless a single trial is.
inline constexpr std::uint64_t kMostSampleBytes = 0x7FFFFFFF;

/// The sample files of a dataset called `name`, made of a source's raw samples.
std::vector<PlannedFile> sampleFiles(const std::shared_ptr<const SampleSource>& source,
                                     const std::string& name, std::uint64_t mostBytes = kMostSampleBytes);

/// Whether two sources of the same shape hold the same raw samples. `goOn` is called with the bytes compared.
bool haveSameSamples(const SampleSource& a, const SampleSource& b,
                     const std::function<void(std::uint64_t)>& goOn);

}  // namespace ctfmeg::edit
