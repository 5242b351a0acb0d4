#include <megreader/datamodel/meg_data_process.h>

int CMEGData2Process::setChannelGood4Name(const CString& channelName, bool good, int /*number*/,
                                          bool /*flag*/) {
  if (!good) m_badChannelNames.push_back(channelName);
  const auto mark = [&](const CString ChannelInfo::*nameKind, ChannelIndex& index) {
    if (index.empty())
      for (std::size_t c = 0; c < m_channels.size(); ++c)
        index.emplace((m_channels[c].*nameKind).str(), c);
    const auto [first, last] = index.equal_range(channelName.str());
    for (auto named = first; named != last; ++named)
      m_channels[named->second].good = good;
    return first != last ? 1 : 0;
  };
  return mark(&ChannelInfo::name, m_byName) != 0 ? 1 : mark(&ChannelInfo::shortName, m_byShortName);
}

int CMEGData2Process::setEEG_electrodesPositionPohemus(int number, double x, double y, double z, int /*kind*/,
                                                       bool /*flag*/) {
  m_digitisedPoints.push_back({number, x, y, z});
  return 1;
}
