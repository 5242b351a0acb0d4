#include <megreader/framework/encoding.h>
#include "host/convert.h"

namespace ctfmeg {
namespace {

std::optional<FiducialSet> convertSet(const CFiducialzk& from) {
  if (!from.anyPointRead()) return std::nullopt;
  FiducialSet set;
  set.numPoints = from.numPoints;
  for (std::size_t i = 0; i < from.points.size(); ++i) {
    const FiducialPoint& point = from.points[i];
    if (point.valid) set.*kFiducialNames[i].point = {point.x, point.y, point.z};
  }
  return set;
}

}  // namespace

Fiducials convertFiducials(const CMEGDatazk& data) {
  return {convertSet(*data.getFidDewarStd()), convertSet(*data.getFidDewarMsr()),
          convertSet(*data.getFidHeadMsr()), headFrameOf(*data.getFidDewarMsr())};
}

std::vector<Electrode> convertElectrodes(const CMEGData& data) {
  std::vector<Electrode> electrodes;
  for (const CEEGelectrodezk& from : data.electrodes())
    electrodes.push_back({from.number, toUtf8(from.name), {from.x, from.y, from.z}});
  return electrodes;
}

Digitised convertDigitised(const CMEGDatazk& data) {
  Digitised digitised;
  for (const ::DigitisedPoint& from : data.digitisedPoints())
    digitised.points.push_back({from.number, {from.x, from.y, from.z}});
  for (const ::DigitisedFiducial& from : data.digitisedFiducials)
    digitised.fiducials.push_back({toUtf8(from.label), {from.x, from.y, from.z}});
  return digitised;
}

}  // namespace ctfmeg
