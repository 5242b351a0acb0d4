#include <megreader/framework/encoding.h>
#include "host/convert.h"

namespace ctfmeg {
namespace {

void convertGroup(const CMarkerDatazk& from, EventGroup& to) {
  to.name = toUtf8(from.name);
  to.comment = toUtf8(from.comment);
  const std::uint32_t bgr = from.color;
  if (from.colorKnown) to.color = (bgr & 0xFF) << 16 | (bgr & 0xFF00) | bgr >> 16;
  to.editable = from.editable;
  to.classId = from.classId;
  to.classGroupId = from.classGroupId;
}

Marker convertMarker(const CMarkerDatazk& from) {
  Marker marker;
  convertGroup(from, marker);
  marker.numSamples = from.numSamples;
  for (const ::MarkerSample& sample : from.samples)
    marker.samples.push_back({sample.trial, sample.timeMs, sample.sample});
  return marker;
}

TrialClass convertClass(const CMarkerDatazk& from, bool trialsKept) {
  TrialClass trialClass;
  convertGroup(from, trialClass);
  trialClass.numTrials = from.getTotalTrgMrkPts();
  if (!trialsKept) return trialClass;
  trialClass.trials.emplace();
  for (const ::MarkerSample& sample : from.samples)
    trialClass.trials->push_back(sample.trial);
  return trialClass;
}

}  // namespace

std::vector<Marker> convertMarkers(const CMarkerManagerzk& manager) {
  std::vector<Marker> markers;
  markers.reserve(static_cast<std::size_t>(manager.getTotalMarkzk()));
  for (int i = 0; i < manager.getTotalMarkzk(); ++i)
    markers.push_back(convertMarker(*manager.getMarker(i, false)));
  return markers;
}

std::vector<TrialClass> convertClasses(const CMarkerManagerzk& manager, bool trialsKept) {
  std::vector<TrialClass> classes;
  classes.reserve(static_cast<std::size_t>(manager.getTotalMarkzk()));
  for (int i = 0; i < manager.getTotalMarkzk(); ++i)
    classes.push_back(convertClass(*manager.getMarker(i, false), trialsKept));
  return classes;
}

std::vector<BadSegment> convertBadSegments(const CMEGDatazk& data) {
  std::vector<BadSegment> segments;
  for (const ::BadSegment& from : data.badSegments())
    segments.push_back({from.trial, from.startMs, from.endMs});
  return segments;
}

}  // namespace ctfmeg
