#include "ctf/resource_file.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

#include "base/encoding.h"
#include "base/geometry.h"
#include "ctf/channel_kind.h"

namespace ctfmeg {
namespace {

constexpr std::size_t kTriggerFormatEnd = 1342;

/// False for a format that is not known.
bool decodeTriggers(std::span<const std::byte> block, RecordInfo& record) {
  const auto at = [block](std::size_t index) { return std::to_integer<std::uint32_t>(block[index]); };
  switch (record.triggerFormat) {
    case 0:  // primary trigger, 8 secondary triggers, polarity mask
      record.triggerCodes[0] = at(0);
      record.triggerCodes[1] = at(9);
      for (std::size_t i = 1; i <= 8; ++i)
        record.triggerCodes[i + 1] = at(i);
      return true;
    case 1:
      record.triggerCodes[0] = loadBigEndian<std::uint32_t>(block, 0);
      record.triggerCodes[1] = loadBigEndian<std::uint32_t>(block, 4);
      return true;
    default:
      return false;
  }
}

/// From CTF axes and the file's unit to the data model's.
void convertCoil(CoilRecord& coil, const ReadingRules& rules) {
  turnToDataModel(coil.position[0], coil.position[1]);
  turnToDataModel(coil.orientation[0], coil.orientation[1]);
  constexpr double kCmPerMetre = 100.0;
  if (!rules.coilsAreCentimetres)
    for (std::size_t axis = 0; axis < 3; ++axis)
      coil.position[axis] *= kCmPerMetre;
}

/// The bytes of the run description, of zero bytes in a row only the first: either rule makes the same text
/// of that, and a damaged length may take in gigabytes of them.
std::optional<std::vector<std::byte>> readDescriptionBytes(Cursor& cursor, std::int64_t length) {
  const auto bothZero = [](std::byte a, std::byte b) { return a == std::byte{0} && a == b; };
  std::vector<std::byte> text, piece(65536);
  while (length > 0) {
    const auto bytes = std::span(piece).first(static_cast<std::size_t>(std::min(length, std::ssize(piece))));
    if (!cursor.fill(bytes)) return std::nullopt;
    length -= std::ssize(bytes);
    const bool uniform = std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0;
    const auto shown = uniform && bytes.front() == std::byte{0} ? bytes.first(1) : bytes;
    std::unique_copy(shown.begin(), shown.end(), std::back_inserter(text), bothZero);
  }
  return text;
}

/// What names without a zero byte, each of which runs on through the rest of its block, may take together:
/// the names of 500 channels that all do, and a bound on what a block of nothing else costs.
class NameBudget {
 public:
  /// False when `name` is more than is left.
  bool take(const std::string& name) {
    // Characters, not bytes: hosts count them so.
    m_left -= std::count_if(name.begin(), name.end(), [](char c) { return (c & 0xC0) != 0x80; });
    return m_left >= 0;
  }

 private:
  std::int64_t m_left = std::int64_t{500} * 500 * 32 / 2;
};

/// A block of records that is read piece by piece, for it may be large and most of it is never looked at
/// twice.
class RecordPieces {
 public:
  /// The block begins at the cursor. `count` is 0 or more.
  RecordPieces(Cursor& cursor, std::int32_t count, std::size_t recordSize)
      : m_cursor(cursor),
        m_start(cursor.position()),
        m_left(static_cast<std::size_t>(count)),
        m_size(recordSize) {}

  /// Whether the file holds all records; asked before the first is read.
  bool allThere() const { return m_start + m_left * m_size <= m_cursor.file().size(); }

  /// The next record and bytes after it, as many as a text takes that begins in it and runs on to the next
  /// zero byte of the block. Valid until the next call. Empty after the last record, and where the file ends
  /// early.
  std::span<const std::byte> next() {
    if (m_next == m_piece.size() && !readPiece()) return {};
    const auto rest = std::span<const std::byte>(m_piece).subspan(m_next);
    m_next += m_size;
    ++m_given;
    return rest;
  }

  /// Where in the file the record is that `next` returned.
  std::uint64_t offset() const { return m_start + (m_given - 1) * m_size; }

 private:
  bool readPiece() {
    constexpr std::size_t kRecords = 16;
    m_piece.clear();
    m_next = 0;
    bool endsText = false;
    while (m_left > 0 && !endsText) {
      const std::size_t held = m_piece.size(), wanted = std::min(m_left, kRecords) * m_size;
      m_piece.resize(held + wanted);
      if (!m_cursor.fill(std::span(m_piece).subspan(held))) {
        m_piece.clear();
        return false;
      }
      m_left -= wanted / m_size;
      const auto last = std::span(m_piece).last(m_size);
      endsText = std::find(last.begin(), last.end(), std::byte{0}) != last.end();
    }
    return !m_piece.empty();
  }

  Cursor& m_cursor;
  std::uint64_t m_start;
  std::size_t m_left;       // records that are not in a piece yet
  std::size_t m_size;       // of a record
  std::size_t m_given = 0;  // records so far
  std::vector<std::byte> m_piece;
  std::size_t m_next = 0;  // in the piece
};

std::vector<Coil> coilsOf(const std::array<CoilRecord, SensorRecord::kCoilSlots>& slots, std::int32_t count) {
  std::vector<Coil> coils;
  const auto number = static_cast<std::size_t>(std::clamp<std::int32_t>(count, 0, SensorRecord::kCoilSlots));
  coils.reserve(number);
  for (const CoilRecord& slot : std::span(slots).first(number)) {
    const auto &p = slot.position, &o = slot.orientation;
    coils.push_back({{p[0], p[1], p[2]}, {o[0], o[1], o[2]}, slot.numTurns, slot.area});
  }
  return coils;
}

Channel channelOf(const SensorRecord& sensor, ChannelName name, int index) {
  Channel channel;
  channel.index = index;
  channel.name = std::move(name.name);
  channel.shortName = std::move(name.shortName);
  channel.sensorType = sensorTypeOf(sensor.typeIndex);
  channel.kind = kindOf(channel.sensorType);
  const auto gain = gainOf(sensor);
  channel.unit = gain ? unitOf(channel.kind) : kNoUnit;
  channel.gain = gain.value_or(1.0);
  channel.polarity = sensor.properGain < 0.0 ? -1 : 1;
  channel.originalRun = sensor.originalRun;
  channel.coilShape = sensor.coilShape;
  channel.properGain = sensor.properGain;
  channel.qGain = sensor.qGain;
  channel.ioGain = sensor.ioGain;
  channel.ioOffset = sensor.ioOffset;
  channel.numCoils = sensor.numCoils;
  channel.gradientOrder = sensor.gradientOrder;
  channel.stimPolarity = sensor.stimPolarity;
  channel.dewarCoils = coilsOf(sensor.dewarCoils, sensor.numCoils);
  channel.headCoils = coilsOf(sensor.headCoils, sensor.numCoils);
  return channel;
}

CoefficientRecord recordOf(CoefficientFields fields) {
  CoefficientRecord record{std::move(fields.sensorName), fields.type, {}};
  record.references.reserve(fields.values.size());
  for (std::size_t k = 0; k < fields.values.size(); ++k)
    record.references.push_back({std::move(fields.referenceNames[k]), fields.values[k]});
  return record;
}

}  // namespace

HeaderOutcome decodeGeneralHeader(std::span<const std::byte> block, const ReadingRules& rules,
                                  RecordInfo& record) {
  LayoutDecoder decoder(record, block, rules, kGeneralHeaderStart);
  generalHeaderLayout(decoder);
  HeaderOutcome outcome;
  outcome.complete = decoder.complete();
  if (kGeneralHeaderStart + block.size() >= kTriggerFormatEnd)
    outcome.triggerFormatUnknown =
        !decodeTriggers(block.subspan(kTriggerBlockOffset - kGeneralHeaderStart, kTriggerBlockSize), record);
  return outcome;
}

Filter decodeFilter(std::span<const std::byte> record, const ReadingRules& rules) {
  Filter filter;
  LayoutDecoder decoder(filter, record, rules);
  filterLayout(decoder);
  return filter;
}

std::vector<double> decodeFilterParameters(std::span<const std::byte> block, std::int32_t count,
                                           const ReadingRules& rules) {
  std::vector<double> parameters(static_cast<std::size_t>(std::max(count, 0)));
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    std::memcpy(&parameters[i], block.subspan(i * sizeof(double), sizeof(double)).data(), sizeof(double));
    if (rules.filterParametersSwapped) reverseBytes(parameters[i]);
  }
  return parameters;
}

ChannelName decodeChannelName(std::span<const std::byte> block, std::size_t index,
                              const ReadingRules& rules) {
  const std::string field = decodeName(block, index * kChannelNameSize, kChannelNameSize, rules);
  const std::string name(trimmed(field));
  const std::size_t dash = name.find('-');
  return {name, dash != std::string::npos && dash > 0 ? name.substr(0, dash) : name};
}

int sensorTypeOf(std::int32_t typeIndex) {
  static constexpr std::array<int, 30> kCodes{
      10,  11,  12,  13,  100,  101, 102,  103,  300,  302,  // 0 to 9
      400, 600, 700, 800, 401,  900, 903,  701,  402,  601,  // 10 to 19
      602, 303, 354, 200, 5001, 901, 1000, 1001, 1002, 4000};
  const auto index = static_cast<std::size_t>(typeIndex);
  return typeIndex >= 0 && index < kCodes.size() ? kCodes[index] : -1;
}

SensorRecord decodeSensor(std::span<const std::byte> record, const ReadingRules& rules) {
  SensorRecord sensor;
  LayoutDecoder decoder(sensor, record, rules);
  sensorLayout(decoder);
  for (std::size_t slot = 0; slot < SensorRecord::kCoilSlots; ++slot) {
    CoilRecord &dewar = sensor.dewarCoils[slot], &head = sensor.headCoils[slot];
    if (head.numTurns == 0) head.numTurns = dewar.numTurns;
    if (head.area == 0.0) head.area = dewar.area;
    convertCoil(dewar, rules);
    convertCoil(head, rules);
  }
  return sensor;
}

std::optional<double> gainOf(const SensorRecord& sensor) {
  const double gain = sensor.properGain * sensor.qGain * sensor.ioGain;
  if (!std::isfinite(gain) || gain == 0.0) return std::nullopt;
  return gain;
}

std::optional<CoefficientFields> decodeCoefficients(std::span<const std::byte> record,
                                                    const ReadingRules& rules) {
  CoefficientFields fields;
  LayoutDecoder decoder(fields, record, rules);
  coefficientLayout(decoder);
  if (fields.numReferences > static_cast<std::int32_t>(CoefficientFields::kReferenceSlots))
    return std::nullopt;
  return fields;
}

void ResourceFileReader::report(Code code, const std::string& text, std::uint64_t offset,
                                Finding::Severity severity) const {
  m_notices.report({.severity = severity,
                    .code = wordOf(code),
                    .file = m_file.path(),
                    .text = text,
                    .offset = static_cast<std::int64_t>(offset)});
}

bool ResourceFileReader::failShort(const char* what) const {
  const std::uint64_t size = m_file.size();
  report(Code::res4Short, "is cut short: it ends at byte " + std::to_string(size) + ", within " + what, size);
  return false;
}

bool ResourceFileReader::failWithoutEnds(const char* what) const {
  report(Code::res4Names, std::string("has names that end nowhere, within ") + what, position());
  return false;
}

bool ResourceFileReader::failWithoutChannels() const {
  report(Code::res4Counts, "says that it has no channels", 1292);
  return false;
}

ResourceFileReader::Magic ResourceFileReader::readMagic() {
  std::array<std::byte, kMagicSize> magic{};
  const bool whole = m_cursor.fill(magic);
  const auto is = [&](const char(&expected)[kMagicSize]) {
    return whole && std::memcmp(magic.data(), expected, kMagicSize) == 0;
  };
  if (is("MEG42RS")) return Magic::current;
  if (m_rules.olderGeneration && is("MEG41RS")) return Magic::older;
  report(Code::res4Magic,
         m_file.size() == 0 ? "is empty" : "is not a CTF resource file: it does not begin with MEG42RS", 0);
  return Magic::none;
}

ResourceFileReader::Header ResourceFileReader::readGeneralHeader(RecordInfo& record) {
  m_cursor = Cursor(m_file, kGeneralHeaderStart);
  const auto block = m_cursor.upTo(kRunDescriptionStart - kGeneralHeaderStart);
  const HeaderOutcome outcome = decodeGeneralHeader(block, m_rules, record);
  Header header{.triggerFormatUnknown = outcome.triggerFormatUnknown};
  if (!outcome.complete) {
    failShort("its general header");
    return header;
  }
  header.descriptionLength =
      loadBigEndian<std::int32_t>(block, kDescriptionLengthOffset - kGeneralHeaderStart);
  header.read = true;
  return header;
}

bool ResourceFileReader::readRunDescription(std::int32_t length, RecordInfo& record) {
  if (length > 0) {
    const auto description = readDescriptionBytes(m_cursor, length);
    if (!description) return failShort("its run description");
    record.runDescription = decodeFixedText(*description, m_rules);
  }
  record.runDescriptionLength = length;
  return true;
}

bool ResourceFileReader::readFilters(std::int32_t descriptionLength, const std::function<void(Filter)>& keep,
                                     const std::function<void(std::uint64_t)>& firstFilter) {
  const std::int64_t place =
      std::int64_t{descriptionLength} + static_cast<std::int64_t>(kRunDescriptionStart);
  if (descriptionLength < 0)
    report(Code::res4Length, "gives its run description a negative length", kDescriptionLengthOffset,
           place < 0 ? Finding::Severity::error : Finding::Severity::warning);
  if (place < 0) throw FileError(FileError::Cause::badSeek, -1, m_file.path());
  // What is wrong with a file whose description has a negative length is reported by now.
  const auto fail = [&](const char* what) { return descriptionLength >= 0 && failShort(what); };
  m_cursor = Cursor(m_file, static_cast<std::uint64_t>(place));
  const auto countBytes = m_cursor.exactly(sizeof(std::int16_t));
  if (!countBytes) return fail("its number of filters");
  if (firstFilter) firstFilter(position());

  const auto count = loadBigEndian<std::int16_t>(*countBytes, 0);
  for (std::int16_t i = 0; i < count; ++i) {
    const auto bytes = m_cursor.exactly(kFilterRecordSize);
    if (!bytes) return fail("its filter records");
    Filter filter = decodeFilter(*bytes, m_rules);
    const auto parameters =
        m_cursor.exactly(std::max(filter.numParams, 0) * static_cast<std::int64_t>(sizeof(double)));
    if (!parameters) return fail("its filter parameters");
    filter.params = decodeFilterParameters(*parameters, filter.numParams, m_rules);
    keep(std::move(filter));
  }
  return true;
}

bool ResourceFileReader::readChannelNames(std::int32_t channels,
                                          const std::function<void(ChannelName)>& keep) {
  if (channels < 1) return failWithoutChannels();
  const auto block = m_cursor.exactly(channels * static_cast<std::int64_t>(kChannelNameSize));
  if (!block) return failShort("its channel names");
  NameBudget budget;
  for (std::int32_t c = 0; c < channels; ++c) {
    ChannelName name = decodeChannelName(*block, static_cast<std::size_t>(c), m_rules);
    if (!budget.take(name.name)) return failWithoutEnds("its channel names");
    keep(std::move(name));
  }
  return true;
}

bool ResourceFileReader::readSensors(std::int32_t channels,
                                     const std::function<std::string(std::int32_t)>& nameOf,
                                     const std::function<bool(SensorRecord&)>& keep) {
  if (channels < 1) return failWithoutChannels();
  RecordPieces records(m_cursor, channels, kSensorRecordSize);
  if (!records.allThere()) return failShort("its sensor records");
  for (std::int32_t c = 0; c < channels; ++c) {
    const auto record = records.next();
    if (record.empty()) return failShort("its sensor records");
    SensorRecord sensor = decodeSensor(record.first(kSensorRecordSize), m_rules);
    if (!keep(sensor)) return false;
    if (!gainOf(sensor))
      report(Code::channelGain,
             "gives channel " + nameOf(c) + " a gain that can't be used: its values stay raw",
             records.offset(), Finding::Severity::warning);
  }
  return true;
}

bool ResourceFileReader::readCoefficients(std::int32_t& count,
                                          const std::function<void(CoefficientFields)>& keep) {
  const auto countBytes = m_cursor.exactly(sizeof(std::int16_t));
  if (!countBytes) return failShort("its number of coefficient records");
  count = loadBigEndian<std::int16_t>(*countBytes, 0);
  if (count < 1) return true;
  RecordPieces records(m_cursor, count, kCoefficientRecordSize);
  if (!records.allThere()) return failShort("its coefficient records");
  NameBudget budget;
  for (std::int32_t i = 0; i < count; ++i) {
    const auto record = records.next();
    if (record.empty()) return failShort("its coefficient records");
    auto fields = decodeCoefficients(record, m_rules);
    if (!fields) {
      report(Code::res4References, "has a coefficient record of more than 50 references", records.offset());
      return false;
    }
    if (!budget.take(fields->sensorName)) return failWithoutEnds("its coefficient records");
    keep(std::move(*fields));
  }
  return true;
}

std::optional<ResourceFile> readResourceFile(const File& file, const ReadingRules& rules, Notices& notices) {
  ResourceFileReader reader(file, rules, notices);
  ResourceFile resource;
  const auto magic = reader.readMagic();
  if (magic == ResourceFileReader::Magic::none) return std::nullopt;
  const auto header = reader.readGeneralHeader(resource.record);
  if (!header.read || !reader.readRunDescription(header.descriptionLength, resource.record) ||
      !reader.readFilters(header.descriptionLength,
                          [&](Filter filter) { resource.record.filters.push_back(std::move(filter)); }))
    return std::nullopt;
  std::vector<ChannelName> names;
  if (!reader.readChannelNames(resource.record.numChannels,
                               [&](ChannelName name) { names.push_back(std::move(name)); }))
    return std::nullopt;
  const auto nameOf = [&](std::int32_t channel) { return names[static_cast<std::size_t>(channel)].name; };
  const auto keepSensor = [&](SensorRecord& sensor) {
    if (magic == ResourceFileReader::Magic::older) sensor.stimPolarity = 0;
    const std::size_t index = resource.channels.size();
    resource.channels.push_back(channelOf(sensor, names[index], static_cast<int>(index)));
    return true;
  };
  std::int32_t count = 0;
  if (!reader.readSensors(resource.record.numChannels, nameOf, keepSensor) ||
      !reader.readCoefficients(count, [&](CoefficientFields fields) {
        resource.coefficients.push_back(recordOf(std::move(fields)));
      }))
    return std::nullopt;
  return resource;
}

inline namespace v1 {

std::string coefficientTypeName(std::uint32_t type) {
  std::string name;
  for (int shift = 24; shift >= 0; shift -= 8) {
    const auto character = static_cast<char>((type >> shift) & 0xFF);
    if (character < 0x20 || character > 0x7E) return {};
    name += character;
  }
  return name;
}

}  // namespace v1
}  // namespace ctfmeg
