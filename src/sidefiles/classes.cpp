#include "sidefiles/classes.h"

#include <optional>

#include "hosts/reader/ctf_dataset_reader.h"
#include "sidefiles/marker_block.h"
#include "sidefiles/side_file.h"
#include "util/scan.h"

// ClassFile.cls: the dataset's path, the number of classes, then a block for each.

namespace {

constexpr MarkerBlockKind kClassBlock{
    .total = L"NUMBER OF CLASSES",
    .keywords = {L"NAME:", L"COMMENT:", L"COLOR:", L"EDITABLE:", L"CLASSID:", L"NUMBER OF TRIALS:",
                 L"LIST OF TRIALS:", L"TRIAL NUMBER", L"CLASSGROUPID:"},
    .plusSignsRemoved = false,
    .keywordCode = "class.keyword",
    .numberCode = "class.number",
    .shortCode = "class.short"};

std::optional<std::int32_t> parseTrial(CString line) {
  line.Remove(L'+');
  std::int32_t trial = 0;
  if (scan(line, L"%d", {&trial}, ScanPrecision::full) != 1) return std::nullopt;
  return trial;
}

bool readList(LineSource& lines, std::int64_t count, bool trialsKept, CMarkerDatazk& trialClass) {
  CString line;
  const Found found = seekKeyword(lines, kClassBlock, kList);
  if (found == Found::endOfFile) return endInsideBlock(lines, kClassBlock);
  if (found == Found::missing &&
      !lines.passOver("class.header", L"stands where a list of trials is to begin"))
    return false;
  if (!lines.next(line)) return endInsideBlock(lines, kClassBlock);
  if (line.Find(kClassBlock.keywords[kColumns]) < 0 &&
      lines.passOver("class.header", L"does not head a list of trial numbers") &&
      isNextBlock(lines, kClassBlock, line))
    return true;
  for (std::int64_t i = 0; i < count; ++i) {
    if (!lines.next(line)) return endInsideBlock(lines, kClassBlock);
    if (const auto trial = parseTrial(line)) {
      // Hosts get an entry for each trial that does not say which.
      trialClass.addClassifyTrial(trialsKept ? *trial : 0, 0, 0, 0, 1.0, 0.0);
      continue;
    }
    if (!lines.passOver("class.trial", L"is not a trial's number, of which the class has more")) return false;
    if (isNextBlock(lines, kClassBlock, line)) return true;
  }
  return true;
}

}  // namespace

std::unique_ptr<CMarkerDatazk> parseOneClass(LineSource& lines, const ReadingRules& rules) {
  auto trialClass = newFor<CMarkerDatazk>(lines);
  if (!trialClass) return nullptr;
  MarkerBlockHeading heading{*trialClass};
  if (!readMarkerBlockHeading(lines, kClassBlock, rules, heading)) return nullptr;
  const bool kept = rules.trialsKept;
  if (kept) trialClass->displayName = trialClass->name;
  return readList(lines, heading.count, kept, *trialClass) ? std::move(trialClass) : nullptr;
}

int CCtfReader4Markers::readClassFile(const CString& path) {
  return readSideLines(getFilePathDir(path) + L"ClassFile.cls", {}, m_rules, [this](LineSource& lines) {
    CMarkerManagerzk& manager = *m_currentData->getClassManager();
    CString line;
    bool surplusTold = true;  // there is no class yet
    std::int32_t count = 0;   // blocks are read to the end, not counted down
    while (lines.more()) {
      const Found found = readBetweenBlocks(lines, kClassBlock, line, count);
      if (found == Found::endOfFile && count != manager.getTotalMarkzk())
        lines.note("class.count", L"holds another number of classes than it says");
      if (found != Found::here) return 0;
      if (line.Find(kClassBlock.keywords[kNextBlock]) < 0) {
        if (!surplusTold && parseTrial(line)) {
          lines.passOver("class.count", L"goes beyond the number of trials that the class says it has");
          surplusTold = true;
        }
        continue;
      }
      auto trialClass = parseOneClass(lines, m_rules);
      if (!trialClass) return 0;
      manager.addMarker(std::move(trialClass));
      surplusTold = false;
    }
    return 1;
  });
}
