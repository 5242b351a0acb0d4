#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// The information file as a tree of entries, each with its bytes, so that a copy changes some of them and
// leaves the others as they are. What the bytes mean is in ctf/information_file.h.

namespace ctfmeg::edit {

/// An entry: a value, or a block of entries.
struct InfoNode {
  std::string name;  ///< its bytes; for a reader it ends at its first zero
  std::int32_t type = 0;
  std::string value{};              ///< as in the file, with lengths and counts; empty for a block
  std::vector<InfoNode> entries{};  ///< of a block
  std::string endMark{};            ///< of a block: its name's bytes; empty where the file broke off before
  bool begun = false;               ///< of a block: "WS1_" was there

  bool isBlock() const;
  /// The name up to its first zero.
  std::string_view tag() const;
};

/// The file's own block, and what could not be read or is not part of it.
struct InfoTree {
  InfoNode root;
  /// Why reading ended before the last end mark: a sentence about the file; empty where it did not.
  std::string damage{};
  std::string rest{};  ///< from the entry that can't be read, or from after the last end mark
};

InfoTree readInfoTree(std::string_view bytes);
/// The reverse: `bytesOf(readInfoTree(bytes))` is `bytes`.
std::string bytesOf(const InfoTree& tree);

/// With which a block ends.
inline constexpr std::string_view kInfoEnd = "EndOfParameters";

/// The texts of a value, each with all its bytes: one, several of a list, none of a number.
std::vector<std::string> textsOf(const InfoNode& node);
/// Puts as many texts in their places, with their lengths before them; one of fixed width is filled up with
/// zeros. False, and nothing changed, where one is too long for its width.
bool setTexts(InfoNode& node, const std::vector<std::string>& texts);

}  // namespace ctfmeg::edit
