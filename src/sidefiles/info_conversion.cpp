#include "sidefiles/info_conversion.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <optional>

#include "util/file_bytes.h"
#include "util/scan.h"

namespace {

using Value = decltype(InformationEntry::value);

std::optional<double> numberOf(const Value& value) {
  if (const auto* text = std::get_if<CString>(&value)) {
    double number = 0.0;
    if (scan(*text, L"%f", {&number}, ScanPrecision::full) != 1) return std::nullopt;
    return number;
  }
  const auto* integer = std::get_if<std::int64_t>(&value);
  return integer != nullptr ? static_cast<double>(*integer) : std::get<double>(value);
}

CString textOf(const Value& value) {
  CString text;
  if (const auto* given = std::get_if<CString>(&value))
    text = *given;
  else if (const auto* integer = std::get_if<std::int64_t>(&value))
    text.Format(L"%d", *integer);
  else
    text.Format(L"%f", std::get<double>(value));
  return text;
}

bool assign(CString& member, Value& value) {
  member = textOf(value);
  value = member;
  return true;
}

bool assign(double& member, Value& value) {
  const auto number = numberOf(value);
  if (!number) return false;
  member = *number;
  value = *number;
  return true;
}

template <class Integer>
bool assign(Integer& member, Value& value) {
  const auto number = numberOf(value);
  if (!number || *number != std::trunc(*number) || !(*number >= std::numeric_limits<Integer>::min()) ||
      !(*number <= std::numeric_limits<Integer>::max()))
    return false;
  member = static_cast<Integer>(*number);
  value = std::int64_t{member};
  return true;
}

bool assignTo(DatasetInformation& information, InfoBlock block, Value& value) {
  return assign(information.*block.text, value);
}

template <class Member>
bool assignTo(DatasetInformation& information, Member DatasetInformation::*member, Value& value) {
  return assign(information.*member, value);
}

}  // namespace

bool convertInto(DatasetInformation& information, const InfoField& field, Value& value) {
  return std::visit([&](auto member) { return assignTo(information, member, value); }, field.member);
}

bool startsInfoBlock(CFile& file) {
  constexpr char kMagic[] = {'W', 'S', '1', '_'};
  const auto bytes = readExactly(file, sizeof kMagic);
  return bytes && std::memcmp(bytes->data(), kMagic, sizeof kMagic) == 0;
}
