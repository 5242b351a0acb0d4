#pragma once

#include <string_view>
#include <vector>

#include "ctf/event_files.h"
#include "edit/text_document.h"

// What each line of MarkerFile.mrk and ClassFile.cls is to its reader, so that single lines can be changed.

namespace ctfmeg::edit {

enum class EventRole {
  blank,  ///< an empty line that is no value
  other,  ///< not read: not understood, or the last line where no line break ends it
  // Between blocks. A keyword is found anywhere in its line, which may hold more.
  pathKeyword,
  pathValue,
  totalKeyword,
  totalValue,
  // Of a block.
  blockKeyword,  ///< with which it begins
  groupId,
  keyword,  ///< of the value in the next line
  name,
  comment,
  color,
  editable,
  classId,
  count,
  listKeyword,
  columns,     ///< heads the list
  occurrence,  ///< of a marker; of a class: a trial
  passedOver,  ///< in a list, not understood: it takes the place of an occurrence among the block's count
  surplus,     ///< as `occurrence`, beyond the block's count, so not read
};

struct EventLine {
  EventRole role = EventRole::other;
  int block = -1;  ///< number of the marker or class, from 0; -1: of the file as a whole
  /// Of an occurrence or a surplus one; for a class only the trial counts.
  MarkerSample sample{};
};

/// Whether the text is of 16 bits a character, and has no lines to a reader.
bool isUtf16(const std::vector<TextLine>& lines);

/// As many as there are lines. `kind` is `kMarkerBlock` or `kClassBlock`; a value may be an empty line.
/// Without `timing` the samples of markers mean nothing.
std::vector<EventLine> eventLinesOf(const std::vector<TextLine>& lines, const EventBlockKind& kind,
                                    const TrialTiming& timing = {});

/// A keyword of a block as reports name it, without its colon.
std::string fieldOf(const EventBlockKind& kind, EventKeyword keyword);

/// What a reader has of a line: its bytes up to the first zero byte.
std::string_view readPartOf(const TextLine& line);

}  // namespace ctfmeg::edit
