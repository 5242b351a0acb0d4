#include "sidefiles/marker_block.h"

#include <algorithm>

#include "sidefiles/color_words.h"
#include "util/scan.h"

namespace {

/// A keyword and the value in the line behind it.
Found readValue(LineSource& lines, const MarkerBlockKind& kind, BlockKeyword keyword, CString& value) {
  const Found found = seekKeyword(lines, kind, keyword);
  if (found != Found::here) return found;
  return lines.nextValue(value) ? Found::here : Found::endOfFile;
}

bool readNumber(const LineSource& lines, const MarkerBlockKind& kind, CString text, bool plusSignsRemoved,
                std::int32_t& number) {
  if (plusSignsRemoved) text.Remove(L'+');
  return scan(text, L"%d", {&number}, ScanPrecision::full) == 1 ||
         lines.passOver(kind.numberCode, L"is not a number");
}

}  // namespace

Found readBetweenBlocks(LineSource& lines, const MarkerBlockKind& kind, CString& line, std::int32_t& total) {
  if (!lines.next(line)) return Found::endOfFile;
  if (line.Find(L"PATH OF DATASET:") >= 0 && !lines.nextValue(line)) return Found::endOfFile;
  if (line.Find(kind.total) < 0) return Found::here;
  if (!lines.nextValue(line)) return Found::endOfFile;
  return readNumber(lines, kind, line, false, total) ? Found::here : Found::missing;
}

Found seekKeyword(LineSource& lines, const MarkerBlockKind& kind, BlockKeyword keyword) {
  // Without these a block says less than it should.
  const bool essential = keyword == kName || keyword == kCount;
  bool told = false;
  CString line;
  while (lines.next(line)) {
    const auto holds = [&line](const wchar_t* word) { return line.Find(word) >= 0; };
    const auto* wanted = kind.keywords.begin() + keyword;
    if (holds(*wanted)) return Found::here;
    const bool later = std::any_of(wanted + 1, kind.keywords.end(), holds);
    const bool lost = later && essential;
    if ((!told || lost) && !lines.passOver(kind.keywordCode, L"stands where another keyword is expected",
                                           lost ? Finding::Severity::warning : Finding::Severity::remark))
      return Found::missing;
    told = true;
    if (later) {
      lines.putBack();
      return Found::missing;
    }
  }
  return Found::endOfFile;
}

bool endInsideBlock(const LineSource& lines, const MarkerBlockKind& kind) {
  return lines.passOver(kind.shortCode, L"is the last line, inside a marker or class");
}

bool isNextBlock(LineSource& lines, const MarkerBlockKind& kind, const CString& line) {
  const bool next = line.Find(kind.keywords[kNextBlock]) >= 0;
  if (next) lines.putBack();
  return next;
}

bool readMarkerBlockHeading(LineSource& lines, const MarkerBlockKind& kind, const ReadingRules& rules,
                            MarkerBlockHeading& heading) {
  CMarkerDatazk& marker = heading.marker;
  CString value;
  if (!lines.nextValue(value)) return endInsideBlock(lines, kind);
  if (!readNumber(lines, kind, value, kind.plusSignsRemoved, marker.classGroupId)) return false;

  const auto text = [&](BlockKeyword keyword, auto store) {
    const Found found = readValue(lines, kind, keyword, value);
    if (found == Found::here) store();
    return found != Found::endOfFile || endInsideBlock(lines, kind);
  };
  const auto number = [&](BlockKeyword keyword, bool plusSignsRemoved, std::int32_t& target) {
    const Found found = readValue(lines, kind, keyword, value);
    if (found == Found::endOfFile) return endInsideBlock(lines, kind);
    return found == Found::missing || readNumber(lines, kind, value, plusSignsRemoved, target);
  };
  return text(kName, [&] { marker.name = value; }) && text(kComment, [&] { marker.comment = value; }) &&
         text(kColor, [&] { colorFromName(value, marker, rules); }) &&
         text(kEditable, [&] { marker.editable = value.Find(L"Yes") >= 0; }) &&
         number(kClassId, kind.plusSignsRemoved, marker.classId) && number(kCount, false, heading.count);
}
