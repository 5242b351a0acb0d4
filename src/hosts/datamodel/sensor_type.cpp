#include <megreader/datamodel/sensor_type.h>

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
