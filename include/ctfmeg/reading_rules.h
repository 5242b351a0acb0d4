#pragma once

#include <array>

namespace ctfmeg {
inline namespace v1 {

/// How files are read where existing hosts rely on something other than what the files say. All false: the
/// host rules, to the letter. All true: the plain rules, for people who want what is in the file. Each member
/// is one decision and is read in one place.
struct ReadingRules {
  /// Fixed text ends at its first zero byte. Else zero bytes are skipped and what follows them is kept.
  bool textEndsAtZero = false;
  /// Every text is Windows-1252, on every system. Else a byte of fixed text from 0x80 up is the character
  /// 0xFF00 + byte, and other text is in the system's ANSI code page.
  bool windows1252 = false;
  /// A name without a zero byte is its field. Else it runs on through the buffer, to its end at most.
  bool nameEndsAtField = false;
  /// Coil positions are centimetres as they are, as in every known file. Else they are scaled from metres.
  bool coilsAreCentimetres = false;
  /// Filter parameters are converted to host byte order. Else they stay big-endian.
  bool filterParametersSwapped = false;
  /// Resource files "MEG41RS" are read too: the same layout, but their stimulus polarity means nothing and
  /// reads 0.
  bool olderGeneration = false;
  /// The sample files are one sequence of whole trials, each file's counted from its length. Else at most
  /// eight files are opened and a short read moves on to the next.
  bool filesAreOneSequence = false;
  /// Byte counts of a trial are 64-bit. Else they wrap at 4 GiB.
  bool wideCounts = false;

  /// Every line of a text file is read, whole; a last line without a line break only in lists of bad
  /// channels, bad segments and electrodes, as elsewhere it was cut. Else loops end once the last block of
  /// 4096 bytes is loaded, a last line without a line break is lost and a line is cut at 2048 bytes.
  bool everyLine = false;
  /// A blank line after a keyword is an empty value. Else blank lines do not count and an empty value
  /// swallows the next keyword.
  bool emptyValues = false;
  /// A line that does not scan is passed over. Else it ends the file.
  bool badLinesSkipped = false;
  /// Numbers of text files are double precision. Else single, widened.
  bool doubleNumbers = false;
  /// A marker's sample is the nearest to its time. Else it is truncated toward zero.
  bool nearestSample = false;
  /// A marker keeps its class group. Else it is 100.
  bool groupKept = false;
  /// A class keeps the numbers of its trials, and its name as the display name too. Else it counts its
  /// trials.
  bool trialsKept = false;
  /// Colours are the sixteen basic HTML names in any case, or `#rrggbb`. Else whatever holds "green", "red"
  /// or "blue".
  bool colourWords = false;
  /// Head-coil blocks of three and of five coils are all read, also those with "stadard" for "standard" and
  /// those whose headings lack "coil position". Else the data object's reader knows blocks of three coils and
  /// the right word only.
  bool blocksWhole = false;
  /// In the information file the type of a value decides its layout, the exact tag its field, also in nested
  /// blocks. Else the first tag of the table that the name contains decides both, at the top level only.
  bool infoByType = false;
  /// Virtual channels and the fiducials among digitised positions are kept. Else they are only checked.
  bool extrasKept = false;

  /// One member with its name, for whoever goes through all of them.
  struct Decision {
    const char* name;
    bool ReadingRules::*member;
  };
  static constexpr auto decisions();

  static constexpr ReadingRules host() { return {}; }
  static constexpr ReadingRules plain();
};

constexpr auto ReadingRules::decisions() {
  using R = ReadingRules;
  return std::to_array<Decision>({
      {"textEndsAtZero", &R::textEndsAtZero},
      {"windows1252", &R::windows1252},
      {"nameEndsAtField", &R::nameEndsAtField},
      {"coilsAreCentimetres", &R::coilsAreCentimetres},
      {"filterParametersSwapped", &R::filterParametersSwapped},
      {"olderGeneration", &R::olderGeneration},
      {"filesAreOneSequence", &R::filesAreOneSequence},
      {"wideCounts", &R::wideCounts},
      {"everyLine", &R::everyLine},
      {"emptyValues", &R::emptyValues},
      {"badLinesSkipped", &R::badLinesSkipped},
      {"doubleNumbers", &R::doubleNumbers},
      {"nearestSample", &R::nearestSample},
      {"groupKept", &R::groupKept},
      {"trialsKept", &R::trialsKept},
      {"colourWords", &R::colourWords},
      {"blocksWhole", &R::blocksWhole},
      {"infoByType", &R::infoByType},
      {"extrasKept", &R::extrasKept},
  });
}

constexpr ReadingRules ReadingRules::plain() {
  ReadingRules rules;
  for (const Decision& decision : decisions())
    rules.*decision.member = true;
  return rules;
}

static_assert(ReadingRules::decisions().size() == sizeof(ReadingRules), "every member is listed");

}  // namespace v1
}  // namespace ctfmeg
