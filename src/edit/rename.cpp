#include "edit/rename.h"

#include <algorithm>
#include <set>
#include <span>
#include <utility>

#include "base/byte_order.h"
#include "base/encoding.h"
#include "base/finding_codes.h"
#include "edit/compare.h"
#include "edit/event_lines.h"
#include "edit/information_tree.h"
#include "edit/resource_fields.h"
#include "recording/file_names.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::edit {

using ctfmeg::textOf;  // of a path; the room has one of lines

namespace {

namespace fs = std::filesystem;

constexpr auto kReplaced = Change::What::replaced;

std::string_view untilZero(std::string_view bytes) { return bytes.substr(0, bytes.find('\0')); }

[[noreturn]] void failNoRoom(const fs::path& file, const std::string& field, std::size_t room) {
  throw Error(ErrorKind::refused, file,
              "has no room for the new name in its field " + field + ", which holds " + std::to_string(room) +
                  " characters");
}

void renameDescription(Edited& edited, const DatasetName& name) {
  auto& bytes = edited.bytes;
  const auto length = loadBigEndian<std::int32_t>(std::as_bytes(std::span(bytes)), kDescriptionLengthOffset);
  if (length <= 0 || static_cast<std::size_t>(length) > bytes.size() - kRunDescriptionStart) return;
  const auto field = std::string_view(bytes).substr(kRunDescriptionStart, static_cast<std::size_t>(length));
  const std::string old(untilZero(field));
  std::string now = name.inText(old);
  if (now == old) return;
  now.resize(now.size() + (old.size() < field.size() ? 1 : 0));  // with the zero that ends it
  bytes.replace(kRunDescriptionStart, field.size(), now);
  for (std::size_t i = 0; i < sizeof length; ++i)
    bytes[kDescriptionLengthOffset + i] = static_cast<char>(now.size() >> (8 * (sizeof length - 1 - i)));
  edited.note(kReplaced, "runDescription");
  if (now.size() != static_cast<std::size_t>(length)) edited.note(kReplaced, "runDescriptionLength");
}

Edited renamedEvents(std::string_view bytes, const EventBlockKind& kind, const DatasetName& name, bool own) {
  auto lines = linesOf(bytes);
  const auto roles = eventLinesOf(lines, kind);
  Edited edited{{}};
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (roles[i].role != EventRole::pathValue) continue;
    const std::string old(readPartOf(lines[i]));
    const std::string now = own ? name.inOwnPath(old) : name.inValue(old);
    if (now == old) continue;
    lines[i].text = now;
    edited.note(kReplaced, "PATH OF DATASET");
  }
  edited.bytes = textOf(lines);
  return edited;
}

void renameNode(InfoNode& node, const DatasetName& name, Edited& edited) {
  for (InfoNode& entry : node.entries)
    renameNode(entry, name, edited);
  auto texts = textsOf(node);
  bool changed = false;
  for (std::string& text : texts) {
    std::string now = name.inValue(untilZero(text));
    if (now == untilZero(text)) continue;
    text = std::move(now);
    changed = true;
  }
  if (changed && setTexts(node, texts)) edited.note(kReplaced, std::string(node.tag()));
}

Edited renamedInformation(std::string_view bytes, const DatasetName& name) {
  InfoTree tree = readInfoTree(bytes);
  Edited edited{{}};
  renameNode(tree.root, name, edited);
  edited.bytes = bytesOf(tree);
  return edited;
}

Edited renamedText(std::string_view bytes, const DatasetName& name) {
  auto lines = linesOf(bytes);
  Edited edited{{}};
  for (TextLine& line : lines) {
    std::string now = name.inText(line.text);
    if (now != line.text) edited.note(kReplaced, "paths");
    line.text = std::move(now);
  }
  edited.bytes = textOf(lines);
  return edited;
}

bool isOneOf(const std::string& name, std::initializer_list<const char*> names) {
  return std::any_of(names.begin(), names.end(), [&](const char* one) { return name == one; });
}

/// The file with the new name in it; nothing where nobody knows where a name is in a file of that kind.
std::optional<Edited> renamedContent(const SourceFile& file, const DatasetName& name) {
  const std::string last = file.name.substr(file.name.rfind('/') + 1);
  const bool own = last.size() == file.name.size();
  const std::string extension = textOf(pathFromText(last).extension());
  if (extension == ".res4") return renamedResource(bytesOf(file.path), name, file.path);
  if (isOneOf(last, {"MarkerFile.mrk", "MarkerFile.mrk.bak", "MarkerFile.mrk.1.bak"}))
    return renamedEvents(bytesOf(file.path), kMarkerBlock, name, own);
  if (last == "ClassFile.cls") return renamedEvents(bytesOf(file.path), kClassBlock, name, own);
  if (extension == ".infods") return renamedInformation(bytesOf(file.path), name);
  if (isOneOf(extension, {".hist", ".newds"}) || isOneOf(last, {"hist", "processing.cfg", "params.dsc"}))
    return renamedText(bytesOf(file.path), name);
  return std::nullopt;
}

/// A file that nobody knows is copied as it is, with a remark where the old name is in it.
void lookForName(const SourceFile& file, const DatasetName& name, CopyReport& report) {
  constexpr std::uint64_t kMostBytes = 1 << 24;
  const std::string extension = textOf(pathFromText(file.name).extension());
  const bool holdsNoName = extension.ends_with("meg4") || isOneOf(extension, {".hc", ".eeg", ".pos"}) ||
                           isOneOf(file.name, {"BadChannels", "bad.segments", "VirtualChannels"});
  if (file.bytes > kMostBytes || holdsNoName || !name.isIn(bytesOf(file.path))) return;
  report.warnings.push_back({.severity = Finding::Severity::remark,
                             .code = wordOf(Code::fileName),
                             .file = textOf(file.path),
                             .text = "is copied as it is, and has the old name of the dataset in it"});
}

}  // namespace

DatasetName nameChange(const Source& source, const fs::path& out) {
  return DatasetName({source.name(), textOf(stemOfFolder(source.directory))}, nameFor(out));
}

Edited renamedResource(std::string bytes, const DatasetName& name, const fs::path& file) {
  Edited edited{std::move(bytes)};
  for (const LayoutField& field : generalHeaderFields()) {
    if (field.kind != LayoutField::Kind::text || field.offset + field.width > edited.bytes.size()) continue;
    const std::string old(untilZero(std::string_view(edited.bytes).substr(field.offset, field.width)));
    const std::string now = name.inValue(old);
    if (now == old) continue;
    if (now.size() >= field.width) failNoRoom(file, field.member, field.width - 1);
    std::string filled = now;
    filled.resize(field.width, '\0');
    edited.bytes.replace(field.offset, field.width, filled);
    edited.note(kReplaced, field.member);
  }
  if (edited.bytes.size() >= kRunDescriptionStart) renameDescription(edited, name);
  return edited;
}

PlannedFile renamedFile(const SourceFile& file, const DatasetName& name, CopyReport& report) {
  PlannedFile planned{name.ofFile(file.name), PartOfFile{file.path, file.bytes}};
  report.changes.push_back(
      {planned.name == file.name ? Change::What::kept : Change::What::replaced, planned.name, "", 1});
  if (auto edited = renamedContent(file, name)) {
    append(report.changes, planned.name, std::move(edited->changes));
    planned.content = std::move(edited->bytes);
  } else {
    lookForName(file, name, report);
  }
  return planned;
}

void requireOwnNames(const CopyPlan& plan, const Source& source) {
  std::set<std::string> names;
  for (const PlannedFile& file : plan.files)
    if (!names.insert(file.name).second)
      throw Error(ErrorKind::refused, source.directory,
                  "has two files that would both be called " + file.name + " in the copy");
}

}  // namespace ctfmeg::edit

namespace ctfmeg {
inline namespace v1 {

CopyReport renameDataset(const std::filesystem::path& in, const std::filesystem::path& out,
                         const ProgressFunction& progress) {
  using namespace edit;
  const Source source = openSource(in);
  requireNew(out, source.directory);
  const DatasetName name = nameChange(source, out);
  CopyReport report{{}, source.warnings};
  CopyPlan plan;
  for (const std::string& folder : source.folders)
    plan.folders.push_back(name.ofFile(folder));
  for (const SourceFile& file : source.files)
    plan.files.push_back(renamedFile(file, name, report));
  requireOwnNames(plan, source);

  StagedCopy copy(plan, out, progress);
  const auto mayDiffer = [&](std::string_view what) {
    return std::any_of(report.changes.begin(), report.changes.end(), [&](const Change& change) {
      return change.field == what || (what == "information" && change.file == name.now() + ".infods");
    });
  };
  copy.commit(source,
              [&](const Recording& written) { compareRecordings(source.recording, written, mayDiffer); });
  return report;
}

}  // namespace v1
}  // namespace ctfmeg
