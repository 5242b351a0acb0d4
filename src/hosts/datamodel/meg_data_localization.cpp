#include <megreader/datamodel/meg_data_localization.h>

int CMEGData1Localization01Meg::setFidHeadMeasure2work() {
  m_work = m_headMeasured;
  return 1;
}
