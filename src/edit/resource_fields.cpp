#include "edit/resource_fields.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "base/byte_order.h"

#include <ctfmeg/finding.h>
#include <ctfmeg/record_fields.h>

namespace ctfmeg::edit {
namespace {

using Kind = LayoutField::Kind;

/// A visitor of layouts that lists their fields.
template <class Record>
class FieldList {
 public:
  explicit FieldList(std::vector<LayoutField>& fields, std::size_t origin = 0)
      : m_fields(fields), m_origin(origin) {}

  void skip(std::size_t offset, std::size_t width) { add(Kind::filler, offset, width); }
  void text(std::size_t offset, std::size_t width, std::string Record::*member) {
    add(Kind::text, offset, width);
    nameAfter(member);
  }
  void name(std::size_t offset, std::size_t width, std::string Record::* /*member*/) {
    add(Kind::name, offset, width);
  }
  template <class... Members>
  void i16(std::size_t offset, Members... members) {
    number(offset, 2, members...);
  }
  template <class... Members>
  void i32(std::size_t offset, Members... members) {
    number(offset, 4, members...);
  }
  template <class... Members>
  void u32(std::size_t offset, Members... members) {
    number(offset, 4, members...);
  }
  template <class... Members>
  void f64(std::size_t offset, Members... members) {
    number(offset, 8, members...);
  }
  template <std::size_t N>
  void f64s(std::size_t offset, std::array<double, N> Record::* /*member*/) {
    add(Kind::number, offset, 8, N);
  }
  template <class Member, class Count>
  void f64s(std::size_t offset, std::size_t slots, Member /*member*/, Count /*count*/) {
    add(Kind::number, offset, 8, slots);
  }
  template <class Member, class Count>
  void texts(std::size_t offset, std::size_t width, std::size_t slots, Member /*member*/, Count /*count*/) {
    add(Kind::name, offset, width, slots);
  }
  template <auto Layout, class Element, std::size_t N>
  void records(std::size_t offset, std::size_t width, std::array<Element, N> Record::* /*member*/) {
    for (std::size_t i = 0; i < N; ++i) {
      FieldList<Element> element(m_fields, m_origin + offset + i * width);
      Layout(element);
    }
  }

 private:
  void add(Kind kind, std::size_t offset, std::size_t width, std::size_t slots = 1) {
    m_fields.push_back({kind, m_origin + offset, width, slots, {}, false});
  }

  template <class Member, class... Others>
  void number(std::size_t offset, std::size_t width, Member member, Others... /*others*/) {
    add(Kind::number, offset, width);
    nameAfter(member);
  }

  /// Names the field that was added last as the record's member is called.
  template <class Member>
  void nameAfter(Member member) {
    if constexpr (std::is_same_v<Record, RecordInfo>) {
      Record record;
      const void* wanted = &(record.*member);
      forEachRecordField([&](const char* called, auto memberOf, bool identifying) {
        if (static_cast<const void*>(&memberOf(record)) != wanted) return;
        m_fields.back().member = called;
        m_fields.back().identifying = identifying;
      });
    }
  }

  std::vector<LayoutField>& m_fields;
  std::size_t m_origin;
};

template <class Record>
std::vector<LayoutField> listOf(auto layout) {
  std::vector<LayoutField> fields;
  FieldList<Record> list(fields);
  layout(list);
  return fields;
}

std::vector<LayoutField> listOfGeneralHeader() {
  auto fields = listOf<RecordInfo>(generalHeaderLayout);
  for (LayoutField& field : fields)
    if (field.offset == kTriggerBlockOffset || field.offset == kDescriptionLengthOffset)
      field.kind = Kind::number;
  return fields;
}

/// The blocks of a resource file, one after another.
class Walk {
 public:
  Walk(std::string_view bytes, const std::filesystem::path& path) : m_bytes(bytes), m_path(path) {}

  std::size_t place() const { return m_place; }

  /// Goes over `count` records of `width` bytes.
  void pass(std::size_t count, std::size_t width, const char* what) {
    if (count > (m_bytes.size() - m_place) / width)
      throw Error(ErrorKind::damaged, m_path,
                  "is cut short: it ends at byte " + std::to_string(m_bytes.size()) + ", within " + what);
    m_place += count * width;
  }

  /// The number at the place, which is passed. Throws where it is negative.
  template <class Integer>
  std::size_t count(const char* what) {
    const std::size_t at = m_place;
    pass(1, sizeof(Integer), what);
    return countAt<Integer>(at, what);
  }

  template <class Integer>
  std::size_t countAt(std::size_t at, const char* what) const {
    const auto number = loadBigEndian<Integer>(std::as_bytes(std::span(m_bytes)), at);
    if (number < 0)
      throw Error(ErrorKind::damaged, m_path, std::string("gives a negative number for ") + what);
    return static_cast<std::size_t>(number);
  }

 private:
  std::string_view m_bytes;
  const std::filesystem::path& m_path;
  std::size_t m_place = 0;
};

}  // namespace

const std::vector<LayoutField>& generalHeaderFields() {
  static const auto kFields = listOfGeneralHeader();
  return kFields;
}

const std::vector<LayoutField>& sensorFields() {
  static const auto kFields = listOf<SensorRecord>(sensorLayout);
  return kFields;
}

const std::vector<LayoutField>& coefficientFields() {
  static const auto kFields = listOf<CoefficientFields>(coefficientLayout);
  return kFields;
}

ResourcePlaces placesOf(std::string_view resource, const std::filesystem::path& path) {
  constexpr std::size_t kChannelsOffset = 1292, kParametersOffset = 16;
  ResourcePlaces places;
  Walk walk(resource, path);
  walk.pass(1, kRunDescriptionStart, "its general header");
  places.channels = walk.countAt<std::int16_t>(kChannelsOffset, "its channels");
  places.descriptionLength =
      walk.countAt<std::int32_t>(kDescriptionLengthOffset, "the length of its run description");
  walk.pass(places.descriptionLength, 1, "its run description");
  places.filters = walk.place();
  const auto filters = walk.count<std::int16_t>("its filters");
  for (std::size_t i = 0; i < filters; ++i) {
    const std::size_t at = walk.place();
    walk.pass(1, kFilterRecordSize, "its filter records");
    walk.pass(walk.countAt<std::int16_t>(at + kParametersOffset, "the parameters of a filter"),
              sizeof(double), "its filter parameters");
  }
  places.names = walk.place();
  walk.pass(places.channels, kChannelNameSize, "its channel names");
  places.sensors = walk.place();
  walk.pass(places.channels, kSensorRecordSize, "its sensor records");
  places.coefficientCount = walk.place();
  places.coefficientRecords = walk.count<std::int16_t>("its coefficient records");
  places.coefficients = walk.place();
  walk.pass(places.coefficientRecords, kCoefficientRecordSize, "its coefficient records");
  places.end = walk.place();
  return places;
}

}  // namespace ctfmeg::edit
