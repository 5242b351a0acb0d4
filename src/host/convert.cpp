#include "host/convert.h"

#include <algorithm>

#include <megreader/framework/encoding.h>
#include <megreader/framework/native_path.h>
#include "ctf/channel_kind.h"
#include "ctf/record_fields.h"

namespace ctfmeg {
namespace {

void assign(std::string& to, const CString& from) { to = toUtf8(from); }

template <class To, class From>
void assign(To& to, const From& from) {
  to = from;
}

/// Copies the members that a list names from a struct of the data model to its plain counterpart.
template <class To, class From>
auto copyTo(To& to, const From& from) {
  return [&to, &from](const char*, auto member, bool) { assign(member(to), member(from)); };
}

Filter convertFilter(const FilterInfo& from) {
  Filter filter;
  forEachFilterField(copyTo(filter, from));
  if (from.params) filter.params.assign(from.params.get(), from.params.get() + std::max(from.numParams, 0));
  return filter;
}

std::vector<Coil> convertCoils(const std::array<CMagCoil, CMegSquidzk::kCoilSlots>& from, int count) {
  std::vector<Coil> coils;
  const auto number = static_cast<std::size_t>(std::clamp(count, 0, CMegSquidzk::kCoilSlots));
  coils.reserve(number);
  for (std::size_t i = 0; i < number; ++i) {
    const CMagCoil& coil = from[i];
    const auto& position = coil.position;
    const auto& orientation = coil.orientation;
    coils.push_back({{position[0], position[1], position[2]},
                     {orientation[0], orientation[1], orientation[2]},
                     coil.numTurns,
                     coil.area});
  }
  return coils;
}

Channel convertChannel(const ChannelInfo& from) {
  Channel channel;
  channel.name = toUtf8(from.name);
  channel.shortName = toUtf8(from.shortName);
  channel.sensorType = from.sensor.sensorType;
  channel.kind = kindOf(channel.sensorType);
  channel.unit = from.sensor.gainIsUsable() ? unitOf(channel.kind) : kNoUnit;
  channel.gain = from.sensor.gain();
  channel.good = from.good;
  if (const CMegSquidzk* squid = from.sensor.squid()) {
    forEachSensorField(copyTo(channel, *squid));
    channel.dewarCoils = convertCoils(squid->dewarCoils, squid->numCoils);
    channel.headCoils = convertCoils(squid->headCoils, squid->numCoils);
  }
  return channel;
}

}  // namespace

RecordInfo convertRecord(const CMEGRecordInfozkProzk& info) {
  RecordInfo record;
  forEachRecordField(copyTo(record, info));
  for (const auto& filter : info.filters)
    record.filters.push_back(convertFilter(*filter));
  return record;
}

std::vector<Channel> convertChannels(const CMEGData& data) {
  std::vector<Channel> channels;
  channels.reserve(data.channels().size());
  for (const ChannelInfo& from : data.channels()) {
    channels.push_back(convertChannel(from));
    channels.back().index = static_cast<int>(channels.size()) - 1;
  }
  return channels;
}

std::vector<CoefficientRecord> convertCoefficients(const CCoefficientManagerzk& manager) {
  std::vector<CoefficientRecord> records;
  records.reserve(static_cast<std::size_t>(manager.numHeld()));
  for (int i = 0; i < manager.numHeld(); ++i) {
    const CCoefficientDatazk& from = manager.coefficients(i);
    CoefficientRecord& record = records.emplace_back();
    record.sensor = toUtf8(from.sensorName);
    record.type = from.coefficientType;
    record.references.reserve(from.referenceNames.size());
    for (std::size_t k = 0; k < from.referenceNames.size(); ++k)
      record.references.push_back({toUtf8(from.referenceNames[k]), from.values[k]});
  }
  return records;
}

std::vector<std::string> convertBadChannels(const CMEGDatazk& data) {
  std::vector<std::string> names;
  for (const CString& name : data.badChannelNames())
    names.push_back(toUtf8(name));
  return names;
}

Finding convertFinding(const ::Finding& finding) {
  return {static_cast<Finding::Severity>(finding.severity),
          finding.code,
          toNativePath(finding.file),
          toUtf8(finding.text),
          finding.offset,
          finding.line};
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
