#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include <megreader/framework/cstring.h>
#include <megreader/framework/export.h>

/// One pick-up coil.
class MEGREADER_API CMagCoil {
 public:
  /// Metres to centimetres: multiplies the position (x, y, z) by 100 in place. Returns 1.
  int convertCTFm2zkCm();

  std::array<double, 4> position{};  ///< x, y, z in centimetres, data model's axes; the fourth as in the file
  std::array<double, 4>
      orientation{};  ///< unit vector x, y, z in the data model's axes; the fourth as in the file
  std::int32_t numTurns = 0;
  double area = 0.0;  ///< square centimetres, as in the file
  std::int32_t coilShape = 0;
};

/// What a CTF sensor record says about one channel.
class MEGREADER_API CMegSquidzk {
 public:
  static constexpr int kCoilSlots = 8;

  std::int16_t originalRun = 0;
  std::int32_t coilShape = 0;
  double properGain = 0.0;
  double qGain = 0.0;
  double ioGain = 0.0;
  double ioOffset = 0.0;
  std::int16_t numCoils = 0;  ///< as read; may lie outside 0 to 8
  std::int16_t gradientOrder = 0;
  std::int32_t stimPolarity = 0;
  std::array<CMagCoil, kCoilSlots> dewarCoils{};
  std::array<CMagCoil, kCoilSlots> headCoils{};
};

/// One channel's sensor. Owns its squid; copies are deep.
class MEGREADER_API CMEGSensor {
 public:
  CMEGSensor() = default;
  CMEGSensor(const CMEGSensor& other);
  CMEGSensor(CMEGSensor&&) noexcept = default;
  CMEGSensor& operator=(const CMEGSensor& other);
  CMEGSensor& operator=(CMEGSensor&&) noexcept = default;
  ~CMEGSensor() = default;

  /// Takes the squid over; null removes it.
  void attachSquid(std::unique_ptr<CMegSquidzk> squid) { m_squid = std::move(squid); }
  CMegSquidzk* squid() { return m_squid.get(); }
  const CMegSquidzk* squid() const { return m_squid.get(); }

  /// properGain x qGain x ioGain: raw values for each physical unit, so physical = raw / gain. A product of 0
  /// or not finite (and a sensor without a squid) counts as 1 and the channel has no unit. The sensor keeps
  /// what it computes.
  double sensorGain();

  double gain() const { return m_gain; }              ///< of the last `sensorGain()`; 1 before
  bool gainIsUsable() const { return m_gainUsable; }  ///< false: the gain is 1 for want of a usable product

  std::int32_t sensorType = -1;  ///< a code that `sensorTypeName` names; -1 when unknown
  std::int32_t state = 0;        ///< state flag; 0 after reading

 private:
  std::unique_ptr<CMegSquidzk> m_squid;
  double m_gain = 1.0;
  bool m_gainUsable = false;
};

class MEGREADER_API CMEGSensorzk : public CMEGSensor {};

/// Name of the channel type that a sensor type code (`CMEGSensor::sensorType`) means, such as "gradiometer";
/// "other" for a code that no channel of its own kind has, and for -1. A constant, never null.
MEGREADER_API const wchar_t* sensorTypeName(int sensorType);

/// One EEG electrode of a dataset.
class MEGREADER_API CEEGelectrodezk {
 public:
  std::int32_t number = 0;
  CString name;
  double x = 0.0, y = 0.0, z = 0.0;  ///< as in the file: CTF head axes, centimetres
};
