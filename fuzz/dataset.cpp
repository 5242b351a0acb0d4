#include <algorithm>
#include <array>
#include <filesystem>

#include <megreader/framework/native_path.h>
#include "fuzz/fixture.h"
#include <megreader/reader/meg_reader_face.h>

// A whole dataset through the facade. The input is files one after another: a byte that says which, two bytes
// for its length, most significant first, and its content.

namespace {

constexpr std::array<const char*, 14> kFiles{
    "run.res4",           "run.meg4",      "run.1_meg4",   "run.hc",    "MarkerFile.mrk",
    "MarkerFile.mrk.bak", "ClassFile.cls", "run.infods",   "run.eeg",   "run.pos",
    "VirtualChannels",    "BadChannels",   "bad.segments", "run.2_meg4"};

void read(const ReadingRules& rules) {
  CMEGReaderFacezk facade;
  facade.setReadingRules(rules);
  CString path = toWindowsPath(fuzzDirectory() + "run.res4");
  CMEGDatazk info;
  CPtrArray array;
  try {
    facade.readCTFMEGDataInfo(path, &info);
    facade.readCTFMEGData2HdPa(path, &array, nullptr, nullptr);
  } catch (CException* error) {
    error->Delete();
  }
  for (int i = 0; i < array.GetSize(); ++i)
    delete static_cast<CMEGDatazk*>(array.GetAt(i));
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  constexpr std::size_t kHead = 3;
  for (const char* file : kFiles)
    std::filesystem::remove(fuzzDirectory() + file);
  while (size > kHead) {
    const std::size_t length = std::min<std::size_t>(bytes[1] * 256U + bytes[2], size - kHead);
    writeFuzzFile(kFiles[bytes[0] % kFiles.size()], bytes + kHead, length);
    bytes += kHead + length;
    size -= kHead + length;
  }
  read(ReadingRules::host());
  read(ReadingRules::plain());
  return 0;
}
