#include <algorithm>
#include <cmath>
#include <span>

#include "base/byte_order.h"
#include "base/encoding.h"
#include "ctf/resource_file.h"
#include "edit/anonymous.h"
#include "edit/resource_fields.h"
#include "edit/shifted_dates.h"

namespace ctfmeg::edit {
namespace {

using What = Change::What;
using Kind = LayoutField::Kind;

constexpr const char* kFillers = "fillers";

/// The bytes of a resource file, changed in place.
class AnonymousResource {
 public:
  AnonymousResource(Edited& edited, const ResourcePlaces& places, Anonymous& anonymous)
      : m_edited(edited), m_bytes(edited.bytes), m_places(places), m_anonymous(anonymous) {}

  void run() {
    for (const LayoutField& field : generalHeaderFields())
      changeHeaderField(field);
    clearTriggers();
    clear(m_places.description, m_places.descriptionLength, "runDescription", true);
    for (std::size_t i = 0; i < m_places.channels; ++i) {
      changeName(m_places.names + i * kChannelNameSize, kChannelNameSize, "channels", i);
      changeSensor(m_places.sensors + i * kSensorRecordSize);
    }
    for (std::size_t i = 0; i < m_places.coefficientRecords; ++i)
      changeCoefficients(m_places.coefficients + i * kCoefficientRecordSize, i);
    m_edited.note(What::removed, "bytes after the end", m_bytes.size() > m_places.end ? 1 : 0);
    m_bytes.resize(m_places.end);
  }

 private:
  std::string textAt(std::size_t offset, std::size_t width) const {
    const auto field = std::string_view(m_bytes).substr(offset, width);
    return std::string(field.substr(0, field.find('\0')));
  }

  std::span<const std::byte> bytesAt(std::size_t offset, std::size_t width) const {
    return std::as_bytes(std::span(m_bytes)).subspan(offset, width);
  }

  template <class Number>
  Number numberAt(std::size_t offset) const {
    return loadBigEndian<Number>(std::as_bytes(std::span(m_bytes)), offset);
  }

  bool isClear(std::size_t offset, std::size_t width) const {
    return m_bytes.find_first_not_of('\0', offset) >= offset + width;
  }

  void clear(std::size_t offset, std::size_t width, const char* field, bool isValue = false) {
    if (isClear(offset, width)) return;
    if (isValue) m_anonymous.removed.add(textAt(offset, width));
    m_bytes.replace(offset, width, width, '\0');
    m_edited.note(What::removed, field);
  }

  /// Ends a text that stays, whose bytes after its first zero are leftovers.
  void clearAfter(std::size_t offset, std::size_t width, const char* field) {
    const std::size_t length = textAt(offset, width).size();
    clear(offset + length, width - length, field);
  }

  void put(const LayoutField& field, const std::string& text) {
    m_bytes.replace(field.offset, field.width, text + std::string(field.width - text.size(), '\0'));
  }

  void changeHeaderField(const LayoutField& field) {
    if (field.kind == Kind::filler) return clear(field.offset, field.width, kFillers);
    if (field.kind != Kind::text) return;
    const std::string text = textAt(field.offset, field.width);
    const char* name = field.member.c_str();
    if (field.member == "subjectId" && !m_anonymous.subject.empty()) {
      m_anonymous.removeName(text);
      put(field, m_anonymous.subject);
      m_edited.note(What::replaced, field.member);
    } else if (!field.identifying) {
      clearAfter(field.offset, field.width, name);
    } else if (field.member == "dataDate") {
      changeDate(field, text);
    } else if (field.member == "dataTime" && mayStay(text)) {
      clearAfter(field.offset, field.width, name);
      m_edited.note(What::kept, field.member);
    } else {
      if (field.member == "subjectId" || field.member == "operatorName") m_anonymous.removeName(text);
      if (field.member == "sensorFileName") m_anonymous.removed.addPath(text);
      clear(field.offset, field.width, name, true);
    }
  }

  /// Whether a time of day may stay.
  bool mayStay(const std::string& time) const {
    return m_anonymous.how.dates != Dates::remove && parseTimeOfDay(time).has_value();
  }

  void changeDate(const LayoutField& field, const std::string& text) {
    const auto date = parseDate(text);
    if (date && m_anonymous.how.dates == Dates::keep) {
      clearAfter(field.offset, field.width, field.member.c_str());
      return m_edited.note(What::kept, field.member);
    }
    for (const Date& possible : possibleDates(text))
      m_anonymous.removed.addDate(possible);
    const bool shifting = m_anonymous.how.dates == Dates::shift;
    const auto moved = shifting ? shiftedDate(text, m_anonymous.how.shiftDays) : std::nullopt;
    if (moved && moved->size() < field.width) {
      m_anonymous.removed.add(text);
      m_anonymous.written.push_back(*shifted(*date, m_anonymous.how.shiftDays));
      put(field, *moved);
      return m_edited.note(What::shifted, field.member);
    }
    if (m_anonymous.how.dates != Dates::remove && !trimmed(text).empty())
      m_anonymous.warn(Code::copyDate, "has a date that can't be understood or shifted: it is removed");
    clear(field.offset, field.width, field.member.c_str(), true);
  }

  /// Bytes of the trigger codes that mean nothing in their format.
  void clearTriggers() {
    constexpr std::size_t kTwoWords = 8;
    RecordInfo record;
    decodeGeneralHeader(bytesAt(kGeneralHeaderStart, kRunDescriptionStart - kGeneralHeaderStart),
                        ReadingRules::plain(), record);
    const std::size_t used = record.triggerFormat == 0   ? kTriggerBlockSize
                             : record.triggerFormat == 1 ? kTwoWords
                                                         : 0;
    clear(kTriggerBlockOffset + used, kTriggerBlockSize - used, kFillers);
  }

  void changeName(std::size_t offset, std::size_t width, const char* list, std::size_t index) {
    clearAfter(offset, width, "bytes after names");
    m_anonymous.keep({list, index + 1, textAt(offset, width)});
    m_edited.note(What::kept, std::string("names of ") + list);
  }

  void changeSensor(std::size_t start) {
    const auto coils = decodeSensor(bytesAt(start, kSensorRecordSize), ReadingRules::plain()).numCoils;
    for (std::size_t i = 0; i < 2 * SensorRecord::kCoilSlots; ++i)
      if (static_cast<std::int64_t>(i % SensorRecord::kCoilSlots) >= coils && !canBeGeometry(start, i))
        clear(start + coilPlace(i), kCoilSize, "coils that are not there");
    for (const LayoutField& field : sensorFields()) {
      const std::size_t last = start + field.offset + (field.slots - 1) * field.width;
      const bool meansNothing =
          field.kind == Kind::filler || (field.slots == kVector && numberAt<double>(last) != 0);
      if (meansNothing) clear(last, field.width, kFillers);
    }
  }

  /// Where the coils of a sensor record are: the eight in the dewar, then the eight on the head.
  static std::size_t coilPlace(std::size_t index) { return kCoils + index * kCoilSize; }

  /// Whether the numbers of a coil that does not count can be those of a coil, which text seldom can: each is
  /// 0, or neither tiny nor huge.
  bool canBeGeometry(std::size_t start, std::size_t coil) const {
    constexpr double kSmallest = 1e-30, kLargest = 1e3;
    const auto can = [](double number) {
      return number == 0 || (std::abs(number) >= kSmallest && std::abs(number) <= kLargest);
    };
    for (const LayoutField& field : sensorFields()) {
      if (field.kind != Kind::number || field.offset < coilPlace(coil) || field.offset >= coilPlace(coil + 1))
        continue;
      const std::size_t slots = field.slots == kVector ? kVector - 1 : field.slots;
      for (std::size_t i = 0; i < slots; ++i) {
        const std::size_t at = start + field.offset + i * field.width;
        if (!can(field.width == sizeof(double) ? numberAt<double>(at) : numberAt<std::int16_t>(at)))
          return false;
      }
    }
    return true;
  }

  void changeCoefficients(std::size_t start, std::size_t index) {
    constexpr std::size_t kSlots = CoefficientFields::kReferenceSlots;
    const auto record = decodeCoefficients(bytesAt(start, kCoefficientRecordSize), ReadingRules::plain());
    const std::size_t references = record ? static_cast<std::size_t>(std::max(record->numReferences, 0)) : 0;
    for (const LayoutField& field : coefficientFields()) {
      const bool isList = field.slots == kSlots;
      for (std::size_t i = 0; i < field.slots; ++i) {
        const std::size_t offset = start + field.offset + i * field.width;
        if (field.kind == Kind::filler)
          clear(offset, field.width, kFillers);
        else if (isList && i >= references)
          clear(offset, field.width, "references that are not there");
        else if (field.kind == Kind::name)
          changeName(offset, field.width, isList ? "references" : "coefficient records", index);
      }
    }
  }

  static constexpr std::size_t kVector = 4;  // numbers of a coil's position; the last is none
  static constexpr std::size_t kCoils = 48, kCoilSize = layoutEnd(coilLayout);
  static_assert(kCoils + 2 * SensorRecord::kCoilSlots * kCoilSize == kSensorRecordSize);

  Edited& m_edited;
  std::string& m_bytes;
  const ResourcePlaces& m_places;
  Anonymous& m_anonymous;
};

}  // namespace

Edited anonymousResource(std::string bytes, const std::filesystem::path& path, Anonymous& anonymous) {
  const ResourcePlaces places = placesOf(bytes, path);
  Edited edited{std::move(bytes)};
  AnonymousResource(edited, places, anonymous).run();
  return edited;
}

}  // namespace ctfmeg::edit
