#include "sidefiles/color_words.h"

#include <optional>
#include <string_view>

namespace {

struct NamedColor {
  const wchar_t* name;
  std::uint32_t rgb;  // 0xRRGGBB
};

constexpr NamedColor kHtmlColors[] = {
    {L"black", 0x000000},  {L"silver", 0xC0C0C0}, {L"gray", 0x808080},   {L"white", 0xFFFFFF},
    {L"maroon", 0x800000}, {L"red", 0xFF0000},    {L"purple", 0x800080}, {L"fuchsia", 0xFF00FF},
    {L"green", 0x008000},  {L"lime", 0x00FF00},   {L"olive", 0x808000},  {L"yellow", 0xFFFF00},
    {L"navy", 0x000080},   {L"blue", 0x0000FF},   {L"teal", 0x008080},   {L"aqua", 0x00FFFF},
};

// The first of these that stands anywhere in the text wins; hosts know no others.
constexpr NamedColor kHostColors[] = {{L"green", 0x00FF00}, {L"red", 0xFF0000}, {L"blue", 0x0000FF}};

std::optional<std::uint32_t> hexColor(const std::wstring& text) {
  if (text.size() != 7 || text[0] != L'#') return std::nullopt;
  std::uint32_t rgb = 0;
  for (const wchar_t digit : std::wstring_view(text).substr(1)) {
    const std::size_t value = std::wstring_view(L"0123456789abcdef").find(digit);
    if (value == std::wstring_view::npos) return std::nullopt;
    rgb = rgb * 16 + static_cast<std::uint32_t>(value);
  }
  return rgb;
}

std::optional<std::uint32_t> htmlColor(CString text) {
  text.Trim();
  text.MakeLower();
  for (const NamedColor& color : kHtmlColors)
    if (text == color.name) return color.rgb;
  return hexColor(text.str());
}

std::optional<std::uint32_t> hostColor(const CString& text) {
  for (const NamedColor& color : kHostColors)
    if (text.Find(color.name) >= 0) return color.rgb;
  return std::nullopt;
}

}  // namespace

int colorFromName(const CString& text, CMarkerDatazk& marker, const ReadingRules& rules) {
  const auto rgb = rules.colourWords ? htmlColor(text) : hostColor(text);
  const std::uint32_t known = rgb.value_or(0);
  marker.color = (known & 0xFF) << 16 | (known & 0xFF00) | known >> 16;
  marker.colorKnown = rgb.has_value();
  return marker.colorKnown ? 1 : 0;
}
