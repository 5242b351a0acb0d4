#include <megreader/datamodel/coordinate_process.h>

#include "base/geometry.h"

int CCoordinateProcess::cvtCtf_D3Dzk(double& x, double& y, double& /*z*/) {
  ctfmeg::turnToDataModel(x, y);
  return 1;
}
