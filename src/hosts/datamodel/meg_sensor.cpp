#include <megreader/datamodel/meg_sensor.h>

#include <cmath>

int CMagCoil::convertCTFm2zkCm() {
  for (std::size_t axis = 0; axis < 3; ++axis)
    position[axis] *= 100.0;
  return 1;
}

CMEGSensor::CMEGSensor(const CMEGSensor& other)
    : sensorType(other.sensorType),
      state(other.state),
      m_squid(other.m_squid ? std::make_unique<CMegSquidzk>(*other.m_squid) : nullptr),
      m_gain(other.m_gain),
      m_gainUsable(other.m_gainUsable) {}

CMEGSensor& CMEGSensor::operator=(const CMEGSensor& other) {
  if (this != &other) *this = CMEGSensor(other);
  return *this;
}

double CMEGSensor::sensorGain() {
  const double product = m_squid ? m_squid->properGain * m_squid->qGain * m_squid->ioGain : 0.0;
  m_gainUsable = std::isfinite(product) && product != 0.0;
  m_gain = m_gainUsable ? product : 1.0;
  return m_gain;
}
