#include "edit/compare.h"

#include <algorithm>
#include <array>
#include <bit>
#include <concepts>
#include <optional>
#include <string>
#include <tuple>
#include <variant>
#include <vector>

#include <ctfmeg/record_fields.h>

namespace ctfmeg::edit {
namespace {

// Every member of a struct: a binding names them all, so that a new one can't be forgotten.

auto membersOf(const Filter& of) {
  const auto& [filterClass, type, frequency, count, params] = of;
  return std::tie(filterClass, type, frequency, count, params);
}

auto membersOf(const Coil& of) {
  const auto& [position, orientation, turns, area] = of;
  return std::tie(position, orientation, turns, area);
}

auto membersOf(const Channel& of) {
  const auto& [index, name, shortName, type, kind, unit, gain, good, polarity, run, shape, properGain, qGain,
               ioGain, ioOffset, coils, order, stimPolarity, dewar, head] = of;
  return std::tie(index, name, shortName, type, kind, unit, gain, good, polarity, run, shape, properGain,
                  qGain, ioGain, ioOffset, coils, order, stimPolarity, dewar, head);
}

auto membersOf(const Coefficient& of) {
  const auto& [reference, value] = of;
  return std::tie(reference, value);
}

auto membersOf(const CoefficientRecord& of) {
  const auto& [sensor, type, references] = of;
  return std::tie(sensor, type, references);
}

auto membersOf(const BadSegment& of) {
  const auto& [trial, start, end] = of;
  return std::tie(trial, start, end);
}

auto membersOf(const MarkerSample& of) {
  const auto& [trial, time, sample] = of;
  return std::tie(trial, time, sample);
}

auto membersOf(const EventGroup& of) {
  const auto& [name, comment, color, editable, classId, group] = of;
  return std::tie(name, color, editable, classId, group);  // comments are compared by themselves
}

auto membersOf(const Marker& of) {
  return std::tuple_cat(membersOf(static_cast<const EventGroup&>(of)), std::tie(of.numSamples, of.samples));
}

auto membersOf(const TrialClass& of) {
  return std::tuple_cat(membersOf(static_cast<const EventGroup&>(of)), std::tie(of.numTrials, of.trials));
}

auto membersOf(const FiducialSet& of) {
  const auto& [nasion, left, right, inion, cz, count] = of;
  return std::tie(nasion, left, right, inion, cz, count);
}

auto membersOf(const Fiducials& of) {
  const auto& [standard, dewar, head, transform] = of;
  return std::tie(standard, dewar, head, transform);
}

auto membersOf(const Electrode& of) {
  const auto& [number, name, position] = of;
  return std::tie(number, name, position);
}

auto membersOf(const DigitisedPoint& of) {
  const auto& [number, position] = of;
  return std::tie(number, position);
}

auto membersOf(const DigitisedFiducial& of) {
  const auto& [label, position] = of;
  return std::tie(label, position);
}

auto membersOf(const Digitised& of) {
  const auto& [points, fiducials] = of;
  return std::tie(points, fiducials);
}

auto membersOf(const InformationEntry& of) {
  const auto& [tag, value] = of;
  return std::tie(tag, value);
}

auto membersOf(const Information& of) {
  const auto& [entries, text] = of;
  return std::tie(entries, text);
}

auto membersOf(const VirtualChannel::Reference& of) {
  const auto& [channel, weight] = of;
  return std::tie(channel, weight);
}

auto membersOf(const VirtualChannel& of) {
  const auto& [name, unit, references] = of;
  return std::tie(name, unit, references);
}

/// Whether values are the same bit by bit: a NaN is the same as itself, and 0 is not -0.
struct Same {
  bool operator()(double a, double b) const {
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
  }

  template <class T>
  requires std::integral<T> || std::same_as<T, std::string> || std::is_enum_v<T>
  bool operator()(const T& a, const T& b) const { return a == b; }

  template <class T, std::size_t N>
  bool operator()(const std::array<T, N>& a, const std::array<T, N>& b) const {
    return std::equal(a.begin(), a.end(), b.begin(), *this);
  }

  template <class T>
  bool operator()(const std::vector<T>& a, const std::vector<T>& b) const {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), *this);
  }

  template <class T>
  bool operator()(const std::optional<T>& a, const std::optional<T>& b) const {
    return a.has_value() == b.has_value() && (!a || (*this)(*a, *b));
  }

  template <class... T>
  bool operator()(const std::variant<T...>& a, const std::variant<T...>& b) const {
    return a.index() == b.index() &&
           std::visit(
               [&](const auto& value) {
                 return (*this)(value, *std::get_if<std::decay_t<decltype(value)>>(&b));
               },
               a);
  }

  template <class T>
  requires requires(const T& of) { membersOf(of); }
  bool operator()(const T& a, const T& b) const {
    return std::apply(
        [&](const auto&... left) {
          return std::apply([&](const auto&... right) { return ((*this)(left, right) && ...); },
                            membersOf(b));
        },
        membersOf(a));
  }
};

template <class Group>
std::vector<std::string> commentsOf(const std::vector<Group>& groups) {
  std::vector<std::string> comments(groups.size());
  std::transform(groups.begin(), groups.end(), comments.begin(),
                 [](const EventGroup& group) { return group.comment; });
  return comments;
}

}  // namespace

void compareRecordings(const Recording& source, const Recording& copy,
                       const std::function<bool(std::string_view what)>& mayDiffer) {
  const auto compare = [&](const char* what, const auto& a, const auto& b) {
    if (!Same{}(a, b) && !mayDiffer(what))
      throw Error(ErrorKind::damaged, copy.resourceFile().parent_path(),
                  std::string("does not say the same as what it was copied from, in ") + what);
  };
  forEachRecordField([&](const char* name, auto memberOf, bool /*identifying*/) {
    compare(name, memberOf(source.record()), memberOf(copy.record()));
  });
  compare("filters", source.record().filters, copy.record().filters);
  compare("channels", source.channels(), copy.channels());
  compare("coefficients", source.coefficients(), copy.coefficients());
  compare("badChannels", source.badChannels(), copy.badChannels());
  compare("badSegments", source.badSegments(), copy.badSegments());
  compare("markers", source.markers(), copy.markers());
  compare("classes", source.classes(), copy.classes());
  compare("comments", commentsOf(source.markers()), commentsOf(copy.markers()));
  compare("comments", commentsOf(source.classes()), commentsOf(copy.classes()));
  compare("fiducials", source.fiducials(), copy.fiducials());
  compare("electrodes", source.electrodes(), copy.electrodes());
  compare("digitised", source.digitised(), copy.digitised());
  compare("information", source.information(), copy.information());
  compare("virtualChannels", source.virtualChannels(), copy.virtualChannels());
}

}  // namespace ctfmeg::edit
