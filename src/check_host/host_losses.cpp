#include <algorithm>
#include <string>
#include <string_view>
#include <unordered_map>

#include "base/finding_codes.h"
#include "check_host/check_host.h"

#include <ctfmeg/path_text.h>
#include <ctfmeg/record_fields.h>

namespace ctfmeg {
namespace {

std::string of(std::size_t part, std::size_t whole, const char* noun) {
  return std::to_string(part) + " of " + std::to_string(whole) + " " + noun;
}

/// Collects what is different, in sentences about the file that it is in: remarks, for nothing is wrong with
/// it.
class Losses {
 public:
  Losses(const std::filesystem::path& resourceFile, const std::string& name)
      : m_resourceFile(resourceFile), m_stem(name) {}

  void resource(Code code, const std::string& text) { add(code, m_resourceFile, text); }
  void file(const std::string& name, Code code, const std::string& text) {
    add(code, m_resourceFile.parent_path() / pathFromText(name), text);
  }
  std::string own(const char* extension) const { return m_stem + extension; }

  /// A list of which host rules keep fewer, or more, items.
  template <class List>
  void compareCounts(const std::string& name, Code code, const List& plain, const List& host,
                     const char* noun) {
    if (plain.size() != host.size())
      file(name, code, "under host rules has " + of(host.size(), plain.size(), noun));
  }

  std::vector<Finding> take() { return std::move(m_findings); }

 private:
  void add(Code code, const std::filesystem::path& file, const std::string& text) {
    m_findings.push_back({Finding::Severity::remark, wordOf(code), textOf(file), text});
  }

  std::filesystem::path m_resourceFile;
  std::string m_stem;
  std::vector<Finding> m_findings;
};

/// How many items at the same places differ by `same`; lists of different lengths are compared as far as both
/// go.
template <class List, class Same>
std::size_t differing(const List& plain, const List& host, Same same) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < std::min(plain.size(), host.size()); ++i)
    if (!same(plain[i], host[i])) ++count;
  return count;
}

bool sameCoils(const std::vector<Coil>& a, const std::vector<Coil>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const Coil& x, const Coil& y) { return x.positionCm == y.positionCm; });
}

bool sameReferences(const std::vector<Coefficient>& a, const std::vector<Coefficient>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const Coefficient& x, const Coefficient& y) {
    return x.reference == y.reference && x.value == y.value;
  });
}

void compareResource(const Recording& plain, const Recording& host, Losses& losses) {
  std::string names;
  std::size_t fields = 0;
  forEachRecordField([&](const char* name, auto member, bool) {
    if (member(plain.record()) == member(host.record())) return;
    ++fields;
    names += (names.empty() ? "" : ", ") + std::string(name);
  });
  if (fields > 0) losses.resource(Code::hostRecord, "reads otherwise under host rules: " + names);
  const std::size_t channels =
      differing(plain.channels(), host.channels(),
                [](const Channel& a, const Channel& b) { return a.name == b.name && a.gain == b.gain; });
  if (channels > 0)
    losses.resource(Code::hostChannels, "under host rules has another name or gain for " +
                                            of(channels, plain.channels().size(), "channels"));
  const std::size_t bad = differing(plain.channels(), host.channels(),
                                    [](const Channel& a, const Channel& b) { return a.good == b.good; });
  if (bad > 0)
    losses.file("BadChannels", Code::hostBad,
                "under host rules marks otherwise " + of(bad, plain.channels().size(), "channels"));
  const std::size_t coils =
      differing(plain.channels(), host.channels(), [](const Channel& a, const Channel& b) {
        return sameCoils(a.dewarCoils, b.dewarCoils) && sameCoils(a.headCoils, b.headCoils);
      });
  if (coils > 0)
    losses.resource(Code::hostCoils, "under host rules has other coil positions for " +
                                         of(coils, plain.channels().size(), "channels"));
  const std::size_t coefficients = differing(
      plain.coefficients(), host.coefficients(), [](const CoefficientRecord& a, const CoefficientRecord& b) {
        return a.sensor == b.sensor && sameReferences(a.references, b.references);
      });
  if (coefficients > 0)
    losses.resource(Code::hostCoefficients,
                    "under host rules has other names or values in " +
                        of(coefficients, plain.coefficients().size(), "coefficient records"));
  const bool parameters = std::any_of(plain.record().filters.begin(), plain.record().filters.end(),
                                      [](const Filter& filter) { return !filter.params.empty(); });
  if (parameters)
    losses.resource(Code::hostFilters,
                    "has filter parameters, which host rules leave in the file's byte order");
}

void compareMarkers(const Recording& plain, const Recording& host, Losses& losses) {
  const std::string file = "MarkerFile.mrk";
  losses.compareCounts(file, Code::hostMarkers, plain.markers(), host.markers(), "markers");
  std::size_t held = 0, all = 0, moved = 0, renamed = 0, recoloured = 0;
  for (std::size_t i = 0; i < std::min(plain.markers().size(), host.markers().size()); ++i) {
    const Marker &ours = plain.markers()[i], &theirs = host.markers()[i];
    all += ours.samples.size();
    held += theirs.samples.size();
    if (ours.name != theirs.name) ++renamed;
    if (ours.color != theirs.color || ours.classGroupId != theirs.classGroupId) ++recoloured;
    moved += differing(ours.samples, theirs.samples, [](const MarkerSample& a, const MarkerSample& b) {
      return a.trial == b.trial && a.sample == b.sample;
    });
  }
  if (held != all)
    losses.file(file, Code::hostOccurrences, "under host rules has " + of(held, all, "occurrences"));
  if (renamed > 0)
    losses.file(file, Code::hostMarkers,
                "under host rules has other names for " + of(renamed, plain.markers().size(), "markers"));
  if (recoloured > 0)
    losses.file(file, Code::hostGroups,
                "under host rules has another group or colour for " +
                    of(recoloured, plain.markers().size(), "markers"));
  if (moved > 0)
    losses.file(file, Code::hostRounding,
                "under host rules has another sample for " + of(moved, all, "occurrences"));
}

void compareClasses(const Recording& plain, const Recording& host, Losses& losses) {
  const std::string file = "ClassFile.cls";
  losses.compareCounts(file, Code::hostClasses, plain.classes(), host.classes(), "classes");
  const std::size_t different =
      differing(plain.classes(), host.classes(), [](const TrialClass& a, const TrialClass& b) {
        return a.name == b.name && a.numTrials == b.numTrials;
      });
  if (different > 0)
    losses.file(
        file, Code::hostClasses,
        "under host rules has another name or count for " + of(different, plain.classes().size(), "classes"));
  if (std::any_of(plain.classes().begin(), plain.classes().end(),
                  [](const TrialClass& group) { return group.trials && !group.trials->empty(); }))
    losses.file(file, Code::hostTrials, "lists trials, which host rules only count");
}

void compareHead(const Recording& plain, const Recording& host, Losses& losses) {
  for (const auto& [name, set] : kFiducialSetNames) {
    const auto &ours = plain.fiducials().*set, &theirs = host.fiducials().*set;
    if (ours && (!theirs || theirs->numPoints < ours->numPoints))
      losses.file(losses.own(".hc"), Code::hostFiducials,
                  std::string("under host rules lacks head-coil positions of the set ") + name);
  }
  losses.compareCounts(losses.own(".eeg"), Code::hostElectrodes, plain.electrodes(), host.electrodes(),
                       "electrodes");
  losses.compareCounts(losses.own(".pos"), Code::hostPoints, plain.digitised().points,
                       host.digitised().points, "digitised points");
  losses.compareCounts(losses.own(".pos"), Code::hostPoints, plain.digitised().fiducials,
                       host.digitised().fiducials, "digitised fiducials");
}

void compareInformation(const Recording& plain, const Recording& host, Losses& losses) {
  // A tag may be set more than once: the last value counts.
  std::unordered_map<std::string_view, const InformationEntry*> ours, theirs;
  for (const InformationEntry& entry : plain.information().entries)
    ours[entry.tag] = &entry;
  for (const InformationEntry& entry : host.information().entries)
    theirs[entry.tag] = &entry;
  std::size_t different = 0;
  for (const auto& [tag, entry] : ours) {
    const auto found = theirs.find(tag);
    if (found == theirs.end() || found->second->value != entry->value) ++different;
  }
  if (different > 0)
    losses.file(losses.own(".infods"), Code::hostInformation,
                "under host rules lacks or changes " + of(different, ours.size(), "values"));
}

}  // namespace

std::vector<Finding> hostLosses(const Recording& plain, const Recording& host) {
  Losses losses(plain.resourceFile(), plain.name());
  compareResource(plain, host, losses);
  compareMarkers(plain, host, losses);
  compareClasses(plain, host, losses);
  losses.compareCounts("BadChannels", Code::hostBad, plain.badChannels(), host.badChannels(), "names");
  losses.compareCounts("bad.segments", Code::hostSegments, plain.badSegments(), host.badSegments(),
                       "segments");
  losses.compareCounts("VirtualChannels", Code::hostVirtual, plain.virtualChannels(), host.virtualChannels(),
                       "virtual channels");
  compareHead(plain, host, losses);
  compareInformation(plain, host, losses);
  return losses.take();
}

}  // namespace ctfmeg
