#include <algorithm>
#include <map>
#include <set>

#include "base/encoding.h"
#include "base/finding_codes.h"
#include "ctf/sample_set.h"
#include "edit/anonymous.h"
#include "edit/compare.h"
#include "edit/rename.h"
#include "edit/resource_fields.h"

#include <ctfmeg/path_text.h>
#include <ctfmeg/record_fields.h>

namespace ctfmeg::edit {

using ctfmeg::textOf;  // of a path; the room has one of lines

namespace {

namespace fs = std::filesystem;
using What = Change::What;

/// The label that takes the place of the subject's, in Windows-1252.
std::string subjectLabel(const Anonymising& how, const fs::path& out) {
  const auto fail = [&](const std::string& why) {
    throw Error(ErrorKind::refused, out, "can't have that label of a subject: " + why);
  };
  const auto& fields = generalHeaderFields();
  const auto field = std::find_if(fields.begin(), fields.end(),
                                  [](const LayoutField& one) { return one.member == "subjectId"; });
  const auto label = windows1252FromUtf8(how.subject);
  if (!label) fail("it has letters that Windows-1252 has not");
  const auto isControl = [](char c) { return (c >= 0 && c < ' ') || c == 0x7F; };
  if (std::any_of(label->begin(), label->end(), isControl)) fail("it has control characters");
  if (!label->empty() && trimmed(*label) != *label) fail("it begins or ends with a blank");
  if (label->size() >= field->width)
    fail("it has more than " + std::to_string(field->width - 1) + " characters");
  return *label;
}

std::vector<std::string> channelNames(const Recording& recording) {
  std::vector<std::string> names;
  for (const Channel& channel : recording.channels())
    names.insert(names.end(), {channel.name, channel.shortName});
  std::sort(names.begin(), names.end());
  return names;
}

/// How many bytes of each sample file belong to the run: of a last trial that is cut short those that are
/// there.
std::map<std::string, std::uint64_t> sampleBytesOf(const Source& source) {
  const Recording& recording = source.recording;
  const SampleFiles found = recording.sampleFiles();
  if (found.status == SampleStatus::broken)
    throw Error(ErrorKind::damaged, source.directory,
                "has sample files that can't be told from others, so that they can't be copied",
                recording.sampleWarnings());
  const RecordInfo& record = recording.record();
  const SampleCounts counts{found.trialsSaid, record.numChannels, record.samplesPerTrial};
  std::map<std::string, std::uint64_t> bytes;
  std::uint64_t left = static_cast<std::uint64_t>(std::max(counts.trials, 0)) * counts.trialBytes();
  for (int i = 0; left > 0 && i < std::max(found.count, 1); ++i) {
    const std::string name = sampleFileName(source.name(), i);
    const auto file = std::find_if(source.files.begin(), source.files.end(),
                                   [&](const SourceFile& one) { return one.name == name; });
    if (file == source.files.end() || file->bytes < kSampleHeaderSize) break;
    const std::uint64_t samples = std::min(left, file->bytes - kSampleHeaderSize);
    bytes[name] = kSampleHeaderSize + samples;
    left -= samples;
  }
  return bytes;
}

AnonymousFile* anonymousFileOf(const std::string& file, const std::string& dataset) {
  static const std::map<std::string, AnonymousFile*> kOfDataset{{".infods", &anonymousInformation},
                                                                {".hc", &anonymousHeadCoils},
                                                                {".eeg", &anonymousElectrodes},
                                                                {".pos", &anonymousPositions}};
  static const std::map<std::string, AnonymousFile*> kByName{
      {"MarkerFile.mrk", &anonymousMarkers},   {"MarkerFile.mrk.bak", &anonymousMarkers},
      {"ClassFile.cls", &anonymousClasses},    {"BadChannels", &anonymousBadChannels},
      {"bad.segments", &anonymousBadSegments}, {"VirtualChannels", &anonymousVirtualChannels}};
  if (const auto known = kByName.find(file); known != kByName.end()) return known->second;
  if (!file.starts_with(dataset)) return nullptr;
  const auto known = kOfDataset.find(file.substr(dataset.size()));
  return known == kOfDataset.end() ? nullptr : known->second;
}

/// The copy of a dataset without what can name a person.
class Anonymisation {
 public:
  Anonymisation(const Source& source, const fs::path& out, const Anonymising& how)
      : m_source(source),
        m_out(out),
        m_how(how),
        m_name(nameChange(source, out)),
        m_anonymous{how, subjectLabel(how, out), *windows1252FromUtf8(m_name.now() + ".ds"),
                    channelNames(source.recording)} {}

  AnonymiseReport run(const ProgressFunction& progress) {
    planFiles();
    requireOwnNames(m_plan, m_source);
    settleValues();
    requireKept();
    requireHarmlessNames();
    reportLeftOut();
    StagedCopy copy(m_plan, m_out, progress);
    copy.commit(m_source, [&](const Recording& written) {
      compareRecordings(m_source.recording, written, [&](std::string_view what) { return mayDiffer(what); });
      search(copy.directory());
    });
    fillReport();
    return std::move(m_report);
  }

 private:
  bool isKept(const std::string& file) const {
    return std::find(m_how.keep.begin(), m_how.keep.end(), file) != m_how.keep.end();
  }

  void requireKept() const {
    for (const std::string& file : m_how.keep) {
      const auto& files = m_source.files;
      if (std::any_of(files.begin(), files.end(), [&](const SourceFile& one) { return one.name == file; }))
        continue;
      std::string names;
      for (const SourceFile& one : files)
        names.append(names.empty() ? "" : ", ").append(m_anonymous.removed.masked(one.name));
      throw Error(
          ErrorKind::refused, m_source.directory,
          std::string("has no file ").append(file).append(" that could be kept; there are ").append(names));
    }
  }

  void planFiles() {
    m_plan.dated1970 = true;
    const auto samples = sampleBytesOf(m_source);
    for (const SourceFile& file : m_source.files) {
      m_anonymous.file = m_name.ofFile(file.name);
      learnFrom(file);
      if (file.name == textOf(m_source.file().filename()))
        plan(file, anonymousResource(bytesOf(file.path), file.path, m_anonymous));
      else if (const auto part = samples.find(file.name); part != samples.end())
        planSamples(file, part->second);
      else if (AnonymousFile* anonymous = anonymousFileOf(file.name, m_source.name()))
        planKnown(file, *anonymous);
      else if (isKept(file.name))
        planKept(file);
      else
        m_leftOut.push_back(m_anonymous.file);
    }
  }

  /// Values to be looked for that only files of other datasets hold, which are in folders of this one.
  void learnFrom(const SourceFile& file) {
    const std::string extension = textOf(file.path.extension());
    if (file.name.find('/') == std::string::npos || (extension != ".res4" && extension != ".infods")) return;
    Anonymous other{m_how, m_anonymous.subject, m_anonymous.name};
    try {
      if (extension == ".res4")
        anonymousResource(bytesOf(file.path), file.path, other);
      else
        anonymousInformation(bytesOf(file.path), other);
    } catch (const Error&) {
      return;  // damaged, and it is left out
    }
    m_anonymous.patient += other.patient;
    m_anonymous.persons.add(other.persons);
    // One that is kept holds its values, of which only the names of persons matter.
    m_anonymous.removed.add(isKept(file.name) ? other.persons : other.removed);
  }

  void plan(const SourceFile& file, Edited edited) {
    const std::string name = m_name.ofFile(file.name);
    m_report.changes.push_back({What::kept, name, ""});
    append(m_report.changes, name, std::move(edited.changes));
    m_plan.files.push_back({name, std::move(edited.bytes)});
  }

  void planKnown(const SourceFile& file, AnonymousFile& anonymous) {
    if (auto edited = anonymous(bytesOf(file.path), m_anonymous))
      plan(file, std::move(*edited));
    else
      m_leftOut.push_back(m_anonymous.file);
  }

  void planSamples(const SourceFile& file, std::uint64_t bytes) {
    m_report.changes.push_back({What::kept, m_anonymous.file, ""});
    if (bytes < file.bytes)
      m_report.changes.push_back({What::removed, m_anonymous.file, "bytes that are of no trial"});
    m_plan.files.push_back({m_anonymous.file, PartOfFile{file.path, bytes}});
    m_samples.insert(m_anonymous.file);
  }

  void planKept(const SourceFile& file) {
    for (std::size_t slash = 0; (slash = m_anonymous.file.find('/', slash)) != std::string::npos; ++slash)
      if (const std::string folder = m_anonymous.file.substr(0, slash);
          std::find(m_plan.folders.begin(), m_plan.folders.end(), folder) == m_plan.folders.end())
        m_plan.folders.push_back(folder);
    m_report.changes.push_back({What::kept, m_anonymous.file, ""});
    m_plan.files.push_back({m_anonymous.file, PartOfFile{file.path, file.bytes}});
    m_keptFrom[m_anonymous.file] = file.path;
  }

  /// Which values are looked for: not those that the copy is to have.
  void settleValues() {
    RemovedValues &removed = m_anonymous.removed, &persons = m_anonymous.persons;
    m_anonymous.removeName(m_anonymous.patient);
    for (const std::string& before : m_name.before()) {
      removed.addDatasetName(before);
    }
    const std::string& now = m_name.now();
    m_anonymous.file = now + ".ds";
    if (persons.isIn(now))
      throw Error(ErrorKind::refused, m_out, "would have a name that holds a name which is removed");
    if (removed.isIn(now))
      m_anonymous.warn(Code::copyName,
                       "has a name that holds the old one of the dataset, or another value that is removed");
    removed.allow(now);
    if (persons.has(m_anonymous.subject))
      throw Error(ErrorKind::refused, m_out,
                  "can't have that label of a subject: it is a name or number which is removed");
    if (removed.isIn(m_anonymous.subject))
      m_anonymous.warn(Code::copyName, "has a subject's label that holds a value which is removed");
    removed.allow(m_anonymous.subject);
    for (const Date& date : m_anonymous.written)
      removed.allowDate(date);
  }

  void requireHarmlessNames() const {
    for (const KeptName& kept : m_anonymous.names)
      if (!m_how.keepNames && m_anonymous.removed.isIn(kept.name))
        throw Error(ErrorKind::refused, m_source.directory,
                    "has a removed value in a name that would stay: of " + kept.list + " in " + kept.file +
                        ", number " + std::to_string(kept.number) +
                        "; names stay as they are only if asked for");
  }

  void reportLeftOut() {
    for (const std::string& file : m_leftOut)
      m_report.changes.push_back({What::removed, m_anonymous.removed.masked(file), ""});
  }

  bool mayDiffer(std::string_view what) const {
    bool mayBe = what == "comments" || what == "information" || what == "badChannels";
    forEachRecordField([&](const char* name, auto /*memberOf*/, bool identifying) {
      mayBe = mayBe || (identifying && what == name);
    });
    return mayBe || (what == "virtualChannels" &&
                     std::any_of(m_report.changes.begin(), m_report.changes.end(), [](const Change& change) {
                       return change.file == "VirtualChannels" && change.what == What::removed;
                     }));
  }

  void search(const fs::path& directory) const {
    std::string allowed = anonymousVocabulary();
    for (const KeptName& kept : m_anonymous.names)
      if (m_how.keepNames) allowed.append(kept.name).append("\n");
    const RemovedValues ofKnown = m_anonymous.removed.textsNotIn(allowed);
    for (const PlannedFile& file : m_plan.files) {
      if (m_samples.contains(file.name)) continue;
      const auto from = m_keptFrom.find(file.name);
      const bool kept = from != m_keptFrom.end();
      const fs::path shown = kept ? from->second : m_out / pathFromText(file.name);
      if (kept && m_anonymous.removed.isIn(file.name))
        throw Error(ErrorKind::refused, shown, "has a name that holds a removed value, and can't be kept");
      const auto place =
          (kept ? m_anonymous.removed : ofKnown).placeIn(bytesOf(directory / pathFromText(file.name)));
      if (place)
        throw Error(ErrorKind::refused, shown,
                    std::string(kept ? "holds a removed value" : "would hold a removed value") + " at byte " +
                        std::to_string(*place) + (kept ? ", and can't be kept" : ""));
    }
  }

  void fillReport() {
    for (const KeptName& kept : m_anonymous.names) {
      auto* list = kept.list == "markers"                               ? &m_report.markers
                   : kept.list == "classes"                             ? &m_report.classes
                   : kept.list == "electrodes" || kept.list == "labels" ? &m_report.electrodes
                                                                        : &m_report.channels;
      const std::string name = utf8FromWindows1252(kept.name);
      if (std::find(list->begin(), list->end(), name) == list->end()) list->push_back(name);
    }
    for (Finding finding : m_source.warnings) {
      const CodeInfo* code = findCode(finding.code);
      if (code != nullptr && code->mayNamePerson) continue;
      finding.file = m_anonymous.removed.masked(m_name.ofFile(textOf(pathFromText(finding.file).filename())));
      finding.text = m_anonymous.removed.masked(finding.text);
      m_report.warnings.push_back(std::move(finding));
    }
    m_report.warnings.insert(m_report.warnings.end(), m_anonymous.warnings.begin(),
                             m_anonymous.warnings.end());
  }

  const Source& m_source;
  const fs::path& m_out;
  const Anonymising& m_how;
  DatasetName m_name;
  Anonymous m_anonymous;
  CopyPlan m_plan;
  AnonymiseReport m_report;
  std::vector<std::string> m_leftOut;          // by their names in the copy
  std::set<std::string> m_samples;             // likewise
  std::map<std::string, fs::path> m_keptFrom;  // likewise
};

}  // namespace

}  // namespace ctfmeg::edit

namespace ctfmeg {
inline namespace v1 {

AnonymiseReport anonymiseDataset(const std::filesystem::path& in, const std::filesystem::path& out,
                                 const Anonymising& how, const ProgressFunction& progress) {
  const edit::Source source = edit::openSource(in);
  edit::requireNew(out, source.directory);
  return edit::Anonymisation(source, out, how).run(progress);
}

}  // namespace v1
}  // namespace ctfmeg
