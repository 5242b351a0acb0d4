#pragma once

#include <span>
#include <string_view>

#include "base/file.h"
#include "base/notices.h"

#include <ctfmeg/information.h>
#include <ctfmeg/reading_rules.h>

// The information file: "WS1_", then entries up to one named "EndOfParameters". An entry is a name, a type
// code and a value; a value may be a block of entries, again from "WS1_" on. Numbers are big-endian; names
// and texts have their length in 32 bits before them.

namespace ctfmeg {

/// Type codes of values.
enum class InfoType : std::int32_t {
  text = 1,  ///< likewise 3 and 10
  block = 2,
  path = 3,
  float64 = 4,
  int32 = 5,
  int16 = 6,
  uint16 = 7,
  character = 8,
  text32 = 9,  ///< 32 bytes
  longText = 10,
  textList = 11,    ///< a 32-bit count before them; likewise the next two
  text32List = 12,  ///< 32 bytes each
  int32List = 13,
  signed32 = 14,
  unsigned32 = 15,
  alsoUnsigned32 = 16,
  alsoSigned32 = 17,
};

/// What the value of one of the system's own tags is: under host rules that decides how it is read, under
/// plain rules what it is converted to.
enum class InfoKind { block, text, int32, uint16, float64 };

struct InfoTag {
  const char* name;
  InfoKind kind;
};

/// All of them, in the order in which host rules look for them in a name.
std::span<const InfoTag> infoTags();

/// Whether numbers of that tag say how something was recorded, and nothing about persons.
bool isOfTheMachine(std::string_view tag);

/// How far a reading came.
struct InformationOutcome {
  bool begins = false;     ///< the file begins as an information file
  bool complete = false;   ///< it was read up to its end mark
  bool beganAnew = false;  ///< a top-level block emptied the text that was gathered before it
};

/// Reads a file into `information`, after what it holds; its text begins anew. What is read before a failure
/// stays. Throws FileError.
InformationOutcome readInformation(const File& file, const ReadingRules& rules, Notices& notices,
                                   Information& information);

}  // namespace ctfmeg
