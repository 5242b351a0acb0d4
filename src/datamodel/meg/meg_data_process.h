#pragma once

#include <vector>

#include "datamodel/meg/meg_data.h"

/// The layer that judges channels.
class MEGREADER_API CMEGData2Process : public CMEGData {
 public:
  /// Marks the channel of that full name, else the channels of that short name, as good or bad, and keeps the
  /// name of a bad one. Returns 1, or 0 when no channel is called so. The last two arguments have no meaning.
  int setChannelGood4Name(const CString& channelName, bool good, int number, bool flag);

  /// Names that were marked bad, as given, whether a channel is called so or not.
  const std::vector<CString>& badChannelNames() const { return m_badChannelNames; }

 private:
  std::vector<CString> m_badChannelNames;
};
