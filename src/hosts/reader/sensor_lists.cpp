#include "hosts/reader/ctf_dataset_reader.h"

namespace {

template <class Element>
void deleteAll(CPtrArray& list) {
  for (int i = 0; i < list.GetSize(); ++i)
    delete static_cast<Element*>(list.GetAt(i));
  list.SetSize(0);
}

}  // namespace

CCtfReader1Samples::~CCtfReader1Samples() { releaseSensorLists(); }

void CCtfReader1Samples::releaseSensors() { deleteAll<CMEGSensorzk>(m_sensors); }

void CCtfReader1Samples::releaseElectrodes() { deleteAll<CEEGelectrodezk>(m_electrodes); }

int CCtfReader1Samples::releaseSensorLists() {
  releaseSensors();
  releaseElectrodes();
  m_channelNames.SetSize(0);
  m_channelShortNames.SetSize(0);
  return 1;
}
