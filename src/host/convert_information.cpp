#include <megreader/framework/encoding.h>
#include "host/convert.h"

namespace ctfmeg {

Information convertInformation(const DatasetInformation& from) {
  Information information;
  information.text = toUtf8(from.text);
  for (const ::InformationEntry& entry : from.entries) {
    InformationEntry& to = information.entries.emplace_back();
    to.tag = toUtf8(entry.tag);
    if (const auto* text = std::get_if<CString>(&entry.value))
      to.value = toUtf8(*text);
    else if (const auto* number = std::get_if<double>(&entry.value))
      to.value = *number;
    else
      to.value = std::get<std::int64_t>(entry.value);
  }
  return information;
}

std::vector<VirtualChannel> convertVirtualChannels(const CMEGDatazk& data) {
  std::vector<VirtualChannel> channels;
  for (const ::VirtualChannel& from : data.virtualChannels) {
    VirtualChannel channel{toUtf8(from.name), toUtf8(from.unit), {}};
    for (const auto& reference : from.references)
      channel.references.push_back({toUtf8(reference.channel), reference.weight});
    channels.push_back(std::move(channel));
  }
  return channels;
}

}  // namespace ctfmeg
