#include <algorithm>
#include <array>
#include <filesystem>

#include "fuzz/fixture.h"

// The first five bytes are counts: trials, channels and samples as the header might have them, and the
// lengths of the first two of three sample files in 256ths; the rest is their content.

namespace {

void importAll(FuzzReader& reader, const std::array<int, 3>& counts) {
  const CString path = fuzzBase() + L"meg4";
  const auto again = [&](auto import) {
    CMEGRecordInfozkProzk& info = *reader.data.getMEGRecordInfozk();
    info.numTrials = counts[0];
    info.numChannels = counts[1];
    info.samplesPerTrial = counts[2];
    try {
      import();
    } catch (CException* error) {
      error->Delete();
    }
  };
  CMarkerDatazk marker;
  marker.samples = {{.trial = 0}, {.trial = 2}, {.trial = -1}};
  reader.data.getTrigManager()->copyNewTrigType(&marker, false);
  again([&] { reader.readCtfDataT(path); });
  again([&] { reader.readCtfDataC(path); });
  again([&] { reader.readCtfDataTrigger(path, &marker); });
  again([&] { reader.readCtfDataMultiTrial(path, &reader.data, &reader.data); });
  again([&] { reader.readCtfDataAccumulate(path, &reader.data, 2); });
  again([&] { reader.readCtfDataAverage(path, &reader.data); });
  again([&] { reader.readCtfDataResample(path, 3); });
  again([&] { reader.readCtfDataSelected(path, 1, 2); });
  again([&] { reader.readCtfDataTsplit(path, 2); });
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  constexpr std::size_t kHead = 5;
  if (size < kHead) return 0;
  const std::array<int, 3> counts{bytes[0] - 2, bytes[1] - 2, bytes[2] - 2};
  const std::uint8_t* next = bytes + kHead;
  std::size_t left = size - kHead;
  const std::array<std::size_t, 3> lengths{left * bytes[3] / 256, left * bytes[4] / 256, left};
  const std::array<std::string, 3> names{"run.meg4", "run.1_meg4", "run.2_meg4"};
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::size_t length = std::min(lengths[i], left);
    std::filesystem::remove(fuzzDirectory() + names[i]);
    if (length > 0 || i == 0) writeFuzzFile(names[i], next, length);
    next += length;
    left -= length;
  }
  return byBothRules([&](FuzzReader& reader) { importAll(reader, counts); });
}
