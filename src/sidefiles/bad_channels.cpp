#include "hosts/reader/ctf_dataset_reader.h"
#include "sidefiles/side_file.h"

// BadChannels: the name of a channel that is not to be used on each line, taken whole.

int CCtfReader7Bad::readBadChannels(const CString& path) {
  return readSideLines(getFilePathDir(path) + L"BadChannels", {}, m_rules, [&](LineSource& lines) {
    CString name;
    while (lines.more()) {
      if (!lines.next(name)) return 0;
      if (!m_currentData->setChannelGood4Name(name, false, -1, true))
        lines.passOver("bad.channel", L"is no channel of the recording");
    }
    return 1;
  });
}
