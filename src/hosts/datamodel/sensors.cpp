#include <megreader/datamodel/sensors.h>

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

const wchar_t* sensorTypeName(int sensorType) {
  struct CodeRange {
    int first, last;
    const wchar_t* name;
  };
  static constexpr CodeRange kNames[] = {
      {10, 10, L"ref-magnetometer"},
      {11, 13, L"ref-gradiometer"},
      {100, 100, L"magnetometer"},
      {101, 103, L"gradiometer"},
      {200, 200, L"reset"},
      {300, 300, L"eeg-ref"},
      {302, 303, L"eeg"},
      {354, 354, L"eeg"},
      {400, 400, L"adc"},
      {401, 401, L"dac"},
      {402, 402, L"adc"},
      {600, 602, L"stim"},
      {700, 701, L"clock"},
      {800, 800, L"position"},
  };
  for (const CodeRange& codes : kNames)
    if (sensorType >= codes.first && sensorType <= codes.last) return codes.name;
  return L"other";
}
