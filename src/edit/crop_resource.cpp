#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <span>

#include "base/byte_order.h"
#include "ctf/resource_file.h"
#include "edit/cropping.h"
#include "edit/resource_fields.h"

namespace ctfmeg::edit {
namespace {

template <class Number>
void storeBigEndian(std::string& bytes, std::size_t offset, Number value) {
  reverseBytes(value);
  std::memcpy(bytes.data() + offset, &value, sizeof value);
}

/// The numbers of a general header, by the names of the record's members.
class HeaderNumbers {
 public:
  HeaderNumbers(Edited& header, const std::filesystem::path& path) : m_header(header), m_path(path) {}

  void putCount(const char* member, std::int64_t before, std::int64_t now) {
    const LayoutField& field = fieldOf(member);
    if (field.width == sizeof(std::int16_t))
      put<std::int16_t>(field, now);
    else
      put<std::int32_t>(field, now);
    if (now != before) m_header.note(Change::What::replaced, member);
  }

  void putSeconds(const char* member, double now) {
    storeBigEndian(m_header.bytes, fieldOf(member).offset, now);
    m_header.note(Change::What::replaced, member);
  }

 private:
  static const LayoutField& fieldOf(const char* member) {
    const auto& fields = generalHeaderFields();
    return *std::find_if(fields.begin(), fields.end(),
                         [&](const LayoutField& field) { return field.member == member; });
  }

  template <class Number>
  void put(const LayoutField& field, std::int64_t value) {
    if (value < std::numeric_limits<Number>::min() || value > std::numeric_limits<Number>::max())
      throw Error(ErrorKind::refused, m_path,
                  "has no room for " + std::to_string(value) + " as " + field.member);
    storeBigEndian(m_header.bytes, field.offset, static_cast<Number>(value));
  }

  Edited& m_header;
  const std::filesystem::path& m_path;
};

/// Whether a time is that of so many samples, but for rounding.
bool isTimeOf(double seconds, double samples, double rate) {
  constexpr double kRounding = 1e-6;
  return std::abs(seconds - samples / rate) <= kRounding * seconds;
}

void putHeader(Edited& header, const KeptPart& kept, const std::filesystem::path& path) {
  const RecordInfo& before = kept.record();
  const std::int64_t trials = std::ssize(kept.trials());
  HeaderNumbers numbers(header, path);
  numbers.putCount("samplesPerTrial", before.samplesPerTrial, kept.samples());
  numbers.putCount("numChannels", before.numChannels,
                   std::count_if(kept.channels().begin(), kept.channels().end(),
                                 [&](const Channel& channel) { return kept.isKept(channel); }));
  numbers.putCount("numTrials", before.numTrials, trials);
  if (before.numTrialsDone == before.numTrials)
    numbers.putCount("numTrialsDone", before.numTrialsDone, trials);
  if (before.numTrialsDisplay == before.numTrials)
    numbers.putCount("numTrialsDisplay", before.numTrialsDisplay, trials);
  numbers.putCount("preTrigSamples", before.preTrigSamples, before.preTrigSamples - kept.first());

  const double samplesBefore = before.samplesPerTrial, rate = before.sampleRate;
  const auto samples = static_cast<double>(kept.samples());
  const bool changes = kept.samples() != before.samplesPerTrial || trials != before.numTrials;
  if (changes && isTimeOf(before.epochTime, samplesBefore * before.numTrials, rate))
    numbers.putSeconds("epochTime", samples * static_cast<double>(trials) / rate);
  else if (changes && isTimeOf(before.epochTime, samplesBefore, rate))
    numbers.putSeconds("epochTime", samples / rate);
}

/// Whether the coefficients of a record are for a channel of the copy, and their references are in it.
bool staysWhole(const CoefficientFields& record, const KeptPart& kept) {
  return kept.isOfUse(record.sensorName) &&
         std::none_of(record.referenceNames.begin(), record.referenceNames.end(),
                      [&](const std::string& reference) { return kept.isGone(reference); });
}

}  // namespace

Edited cropResource(std::string_view bytes, const KeptPart& kept, const std::filesystem::path& path) {
  const ResourcePlaces places = placesOf(bytes, path);
  if (places.channels != kept.channels().size())
    throw Error(ErrorKind::damaged, path, "changed while it was copied");
  Edited cropped{std::string(bytes.substr(0, places.names))};
  const auto keepChannels = [&](std::size_t start, std::size_t size) {
    for (const Channel& channel : kept.channels())
      if (kept.isKept(channel))
        cropped.bytes += bytes.substr(start + static_cast<std::size_t>(channel.index) * size, size);
  };
  keepChannels(places.names, kChannelNameSize);
  keepChannels(places.sensors, kSensorRecordSize);

  const std::size_t count = cropped.bytes.size();
  cropped.bytes += bytes.substr(places.coefficientCount, sizeof(std::int16_t));
  std::size_t staying = 0;
  for (std::size_t i = 0; i < places.coefficientRecords; ++i) {
    const auto record =
        bytes.substr(places.coefficients + i * kCoefficientRecordSize, kCoefficientRecordSize);
    const auto fields = decodeCoefficients(std::as_bytes(std::span(record)), ReadingRules::plain());
    if (fields && !staysWhole(*fields, kept)) continue;
    cropped.bytes += record;
    ++staying;
  }
  if (staying < places.coefficientRecords)
    storeBigEndian(cropped.bytes, count, static_cast<std::int16_t>(staying));
  cropped.bytes += bytes.substr(places.end);

  putHeader(cropped, kept, path);
  const auto channels = std::count_if(kept.channels().begin(), kept.channels().end(),
                                      [&](const Channel& channel) { return !kept.isKept(channel); });
  cropped.note(Change::What::removed, "channels", channels);
  cropped.note(Change::What::removed, "coefficients",
               static_cast<std::int64_t>(places.coefficientRecords - staying));
  return cropped;
}

}  // namespace ctfmeg::edit
