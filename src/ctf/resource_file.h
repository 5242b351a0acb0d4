#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/file.h"
#include "base/notices.h"
#include "ctf/resource_layout.h"

#include <ctfmeg/reading_rules.h>

namespace ctfmeg {

// The blocks of a resource file, from bytes to plain structs.

struct HeaderOutcome {
  bool complete = false;              ///< false: the block ended early; the fields before that are set
  bool triggerFormatUnknown = false;  ///< true: the trigger codes are as they were
};

/// The general header, from byte 8 of the file to the run description.
HeaderOutcome decodeGeneralHeader(std::span<const std::byte> block, const ReadingRules& rules,
                                  RecordInfo& record);

/// A filter record of 18 bytes, without its parameters.
Filter decodeFilter(std::span<const std::byte> record, const ReadingRules& rules);

/// 8 bytes for each of `count` parameters.
std::vector<double> decodeFilterParameters(std::span<const std::byte> block, std::int32_t count,
                                           const ReadingRules& rules);

struct ChannelName {
  std::string name;       ///< such as "MLC11-2805"
  std::string shortName;  ///< the part before its first "-", unless that is its first character
};

/// The name of channel `index` from the block of all names (32 bytes a channel).
ChannelName decodeChannelName(std::span<const std::byte> block, std::size_t index, const ReadingRules& rules);

/// A sensor record of 1328 bytes, its coils in the data model's axes; a head coil without turns or area has
/// those of its dewar coil.
SensorRecord decodeSensor(std::span<const std::byte> record, const ReadingRules& rules);

/// The data model's sensor type code of a CTF type index; -1 for an index outside 0 to 29.
int sensorTypeOf(std::int32_t typeIndex);

/// properGain x qGain x ioGain: raw values for each physical unit. Nothing when it is 0 or not finite.
std::optional<double> gainOf(const SensorRecord& sensor);

/// A coefficient record of 1992 bytes and what follows it in the block, for a name without a zero byte may
/// run past the record. Nothing when it names more references than a record holds.
std::optional<CoefficientFields> decodeCoefficients(std::span<const std::byte> record,
                                                    const ReadingRules& rules);

/// Reads a resource file front to back, a block with each call; the position is that of the next block. A
/// block that can't be read is reported and ends the reading. Operations throw FileError.
class ResourceFileReader {
 public:
  ResourceFileReader(const File& file, const ReadingRules& rules, Notices& notices,
                     std::uint64_t position = 0)
      : m_file(file), m_rules(rules), m_notices(notices), m_cursor(file, position) {}

  std::uint64_t position() const { return m_cursor.position(); }

  enum class Magic { none, current, older };
  /// "MEG42RS", or "MEG41RS" of the generation before, where the stimulus polarity means nothing.
  Magic readMagic();

  struct Header {
    bool read = false;
    bool triggerFormatUnknown = false;
    std::int32_t descriptionLength = 0;  ///< as in the file: what follows the header is that much further on
  };
  Header readGeneralHeader(RecordInfo& record);

  /// The description of `length` bytes that follows the header, none below 1. The record's length is set only
  /// once the description was read.
  bool readRunDescription(std::int32_t length, RecordInfo& record);

  /// Filters are at byte 1844 + the length of the run description, which may lead before it or out of the
  /// file. `firstFilter`, when given, is called with the place of the first filter record.
  bool readFilters(std::int32_t descriptionLength, const std::function<void(Filter)>& keep,
                   const std::function<void(std::uint64_t firstFilter)>& firstFilter = {});

  bool readChannelNames(std::int32_t channels, const std::function<void(ChannelName)>& keep);

  /// `keep` returns false to end the reading, which is then not reported. `nameOf` is for findings.
  bool readSensors(std::int32_t channels, const std::function<std::string(std::int32_t)>& nameOf,
                   const std::function<bool(SensorRecord&)>& keep);

  /// Reads their number and then `keep`s each; `count` is set first, below 1 where there are none.
  bool readCoefficients(std::int32_t& count, const std::function<void(CoefficientFields)>& keep);

  /// Reports a finding at byte `offset`.
  void report(Code code, const std::string& text, std::uint64_t offset,
              Finding::Severity severity = Finding::Severity::error) const;

 private:
  bool failShort(const char* what) const;
  bool failWithoutEnds(const char* what) const;
  bool failWithoutChannels() const;

  const File& m_file;
  const ReadingRules m_rules;
  Notices& m_notices;
  Cursor m_cursor;
};

/// A resource file as a whole.
struct ResourceFile {
  RecordInfo record;
  std::vector<Channel> channels;
  std::vector<CoefficientRecord> coefficients;
};

/// Nothing, the reason reported, when it can't be read. Throws FileError.
std::optional<ResourceFile> readResourceFile(const File& file, const ReadingRules& rules, Notices& notices);

}  // namespace ctfmeg
