#include "datamodel/meg/meg_data_process.h"

int CMEGData2Process::setChannelGood4Name(const CString& channelName, bool good, int /*number*/,
                                          bool /*flag*/) {
  if (!good) m_badChannelNames.push_back(channelName);
  const auto mark = [&](CString ChannelInfo::*nameKind) {
    int marked = 0;
    for (ChannelInfo& channel : m_channels)
      if (channel.*nameKind == channelName) {
        channel.good = good;
        marked = 1;
      }
    return marked;
  };
  return mark(&ChannelInfo::name) != 0 ? 1 : mark(&ChannelInfo::shortName);
}

int CMEGData2Process::setEEG_electrodesPositionPohemus(int number, double x, double y, double z, int /*kind*/,
                                                       bool /*flag*/) {
  m_digitisedPoints.push_back({number, x, y, z});
  return 1;
}
