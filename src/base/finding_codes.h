#pragma once

#include <span>
#include <string_view>

#include <ctfmeg/finding.h>

namespace ctfmeg {

/// Everything that can be noticed about a dataset or a call, in the order of `findingCodes()`.
enum class Code {
  fileNotFound,
  fileNoPermission,
  fileError,
  fileName,
  memory,
  memorySpill,
  samplesSpilled,
  callArgument,
  callMarker,
  dialogUnshown,
  routeRefused,
  res4Magic,
  res4Short,
  res4Counts,
  res4Length,
  res4Names,
  res4References,
  res4Rate,
  channelGain,
  channelTwice,
  coefficientChannel,
  meg4Magic,
  meg4Short,
  meg4Empty,
  meg4Gap,
  meg4Cut,
  meg4Uneven,
  meg4Trailing,
  meg4Wrapped,
  meg4Changed,
  clockNone,
  clockGap,
  resampleAlias,
  epochIncomplete,
  epochBad,
  epochRejected,
  cropReferences,
  markThere,
  copyDate,
  copyName,
  markerKeyword,
  markerNumber,
  markerHeader,
  markerSample,
  markerCount,
  markerShort,
  markerNone,
  markerTrial,
  markerOutside,
  classKeyword,
  classNumber,
  classHeader,
  classTrial,
  classCount,
  classShort,
  classNone,
  classOutside,
  coilLayout,
  coilCoordinate,
  coilShort,
  coilNone,
  infodsMagic,
  infodsDamaged,
  infodsValue,
  eegLine,
  eegNone,
  posCount,
  posPoint,
  posFiducial,
  posFiducials,
  posShort,
  badChannel,
  segmentLine,
  segmentOutside,
  virtualReference,
  virtualShort,
  virtualNone,
  virtualChannel,
  textAscii,
  textEncoding,
  textCut,
  studyFile,
  signalFlat,
  signalClipped,
  signalJumps,
  signalNoisy,
  hostRecord,
  hostChannels,
  hostCoils,
  hostCoefficients,
  hostFilters,
  hostMarkers,
  hostOccurrences,
  hostRounding,
  hostGroups,
  hostClasses,
  hostTrials,
  hostBad,
  hostSegments,
  hostVirtual,
  hostFiducials,
  hostElectrodes,
  hostPoints,
  hostInformation,
  hostSamples,
  hostUnread,
};

/// What there is to know of a code. The table of these is the only place where codes are spelled.
struct CodeInfo {
  Code code;
  const char* word;     ///< as findings carry it: stable, such as "meg4.short"
  ErrorKind kind;       ///< of the error that a finding of severity `error` ends in
  bool mayNamePerson;   ///< its text or file may hold a person's name: not shown where none may be
  const char* meaning;  ///< for the documentation
};

/// One entry for each code, in the order of `Code`.
std::span<const CodeInfo> findingCodes();

const CodeInfo& infoOf(Code code);
/// Null for a word that is no code.
const CodeInfo* findCode(std::string_view word);

inline const char* wordOf(Code code) { return infoOf(code).word; }
inline bool is(const Finding& finding, Code code) { return finding.code == wordOf(code); }

/// The kind of error that a finding of severity `error` ends in; `damaged` for a code that is not known.
ErrorKind kindOf(const Finding& finding);

}  // namespace ctfmeg
