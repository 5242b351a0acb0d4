#include <megreader/datamodel/coordinate_process.h>

int CCoordinateProcess::cvtCtf_D3Dzk(double& x, double& y, double& /*z*/) {
  const double front = x;
  x = 0.0 - y;  // not -y: a coordinate of 0 stays +0
  y = front;
  return 1;
}
