#pragma once

#include <array>

#include <megreader/datamodel/marker.h>
#include "util/line_source.h"

// What the blocks of MarkerFile.mrk and ClassFile.cls have in common: a line with a keyword, then a line with
// its value, in a fixed order, then a list. Hosts get a reader that looks for each keyword in exactly one
// line: a keyword that is missing costs the line in its place. By plain rules unknown lines are passed over
// and a missing keyword costs nothing.

/// How the blocks of a file differ.
struct MarkerBlockKind {
  const wchar_t* total;                    ///< keyword of the number of blocks
  std::array<const wchar_t*, 9> keywords;  ///< in their order; the last is what the next block begins with
  bool plusSignsRemoved;                   ///< from class group and class number, before they are scanned
  const char* keywordCode;
  const char* numberCode;
  const char* shortCode;
};

/// What stands at these places of `keywords`.
enum BlockKeyword : std::size_t {
  kName,
  kComment,
  kColor,
  kEditable,
  kClassId,
  kCount,
  kList,
  kColumns,
  kNextBlock
};

enum class Found { here, missing, endOfFile };

/// Reads the next line between blocks, past the dataset's path and the number of blocks; that number is only
/// told. `missing` when it is none and the file is to be given up.
Found readBetweenBlocks(LineSource& lines, const MarkerBlockKind& kind, CString& line, std::int32_t& total);

/// Reads up to the line that holds a keyword of the block.
Found seekKeyword(LineSource& lines, const MarkerBlockKind& kind, BlockKeyword keyword);

/// What a block says before its list.
struct MarkerBlockHeading {
  CMarkerDatazk& marker;  ///< name, comment, colour, editable, class number and class group go here
  std::int32_t count = 0;
};

/// Reads from behind the line that begins a block up to the number of list entries. False when the block is
/// to be abandoned: at a number that does not scan, or at the end of the file. By plain rules neither is a
/// reason, and what was read stays.
bool readMarkerBlockHeading(LineSource& lines, const MarkerBlockKind& kind, const ReadingRules& rules,
                            MarkerBlockHeading& heading);

/// The end of the file inside a block, as above.
bool endInsideBlock(const LineSource& lines, const MarkerBlockKind& kind);

/// Whether the line that was read last begins the next block; it is then put back.
bool isNextBlock(LineSource& lines, const MarkerBlockKind& kind, const CString& line);
