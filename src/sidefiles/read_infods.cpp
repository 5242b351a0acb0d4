#include "hosts/reader/ctf_dataset_reader.h"
#include "sidefiles/info_conversion.h"
#include "sidefiles/infods.h"
#include "sidefiles/side_file.h"
#include "util/buffered_file.h"

int CCtfReader5Infods::readInfoDsFile(const CString& path) {
  return readSideFile(path, {}, [&](CFile& opened) {
    BufferedFile file(opened);
    if (!startsInfoBlock(file)) {
      reportFinding({.severity = kOptional,
                     .code = "infods.magic",
                     .file = path,
                     .text = L"does not begin with the information file's mark \"WS1_\""});
      return 0;
    }
    DatasetInformation& information = m_currentData->getMEGRecordInfozk()->information;
    information.text = {};
    InfoDsParser parser(file, m_rules, information);
    const bool complete = parser.parseInfoEntries();
    if (parser.beganAnew()) m_infodsText = {};
    m_infodsText += information.text;
    return complete ? 1 : 0;
  });
}
