#include "sidefiles/virtual_channels.h"

#include <optional>

#include "hosts/reader/ctf_dataset_reader.h"
#include "sidefiles/side_file.h"
#include "util/scan.h"

// VirtualChannels: for each a line "VirtualChannel" and a block in braces of "Name:", "Unit:" and a "Ref:"
// with channel and weight for each channel that it is made of.

namespace {

/// What stands behind a keyword; nothing when the line does not hold it.
std::optional<CString> behind(CString line, const wchar_t* keyword) {
  if (line.Find(keyword) < 0) return std::nullopt;
  line.Replace(keyword, L"");
  return line.Trim();
}

/// "MLC11, 0.5": the channel is what stands before the first ")" or ",".
std::optional<VirtualChannel::Reference> parseReference(CString text, const ReadingRules& rules) {
  constexpr const wchar_t* kEnds = L"),";
  const std::wstring& all = text.str();
  const std::size_t start = all.find_first_not_of(kEnds);
  if (start == std::wstring::npos) return std::nullopt;
  VirtualChannel::Reference reference{CString(all.substr(start, all.find_first_of(kEnds, start) - start))};
  text.Replace((reference.channel + L",").GetString(), L"");
  reference.channel.Trim();
  if (scan(text, L"%f", {&reference.weight}, precisionOf(rules)) != 1) return std::nullopt;
  return reference;
}

}  // namespace

std::vector<VirtualChannel> parseVirtualChannels(LineSource& lines, const ReadingRules& rules) {
  std::vector<VirtualChannel> channels(1);
  CString line;
  while (lines.next(line)) {
    if (line.Find(L'{') >= 0 || line.Find(L'}') >= 0) continue;
    if (const auto name = behind(line, L"Name:")) {
      channels.back().name = *name;
    } else if (const auto unit = behind(line, L"Unit:")) {
      channels.back().unit = *unit;
    } else if (const auto text = behind(line, L"Ref:")) {
      if (const auto reference = parseReference(*text, rules))
        channels.back().references.push_back(*reference);
      else
        lines.passOver("virtual.reference", L"is not a channel and its weight");
    } else if (line.Find(L"VirtualChannel") >= 0) {
      channels.emplace_back();
    }
  }
  // A line may hold the word without beginning a definition.
  std::erase_if(channels, [](const VirtualChannel& c) { return c.name.IsEmpty() && c.references.empty(); });
  return channels;
}

int CCtfReader6Positions::readVirtualChannels(const CString& path) {
  constexpr SideFileManner kManner{.readError = L"Reading virtual channel error!", .flags = CFile::modeRead};
  return readSideLines(getFilePathDir(path) + L"VirtualChannels", kManner, m_rules,
                       [this](LineSource& lines) {
                         CString line;
                         while (lines.more() && lines.next(line)) {
                           if (line.Find(L"VirtualChannel") < 0) continue;
                           auto channels = parseVirtualChannels(lines, m_rules);
                           keepExtra([&] { m_currentData->virtualChannels = std::move(channels); });
                           return 0;
                         }
                         return 0;
                       });
}
