#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include <megreader/framework/user_interface.h>
#include "hosts/reader/ctf_dataset_reader.h"
#include "res4/decode.h"
#include "res4/res4_findings.h"
#include "res4/res4_layout.h"
#include "util/file_bytes.h"
#include "util/guarded.h"

namespace {

/// The bytes of the run description, of zero bytes in a row only the first: either rule makes the same text
/// of that, and a damaged length may take in gigabytes of them.
std::optional<std::vector<std::byte>> readRunDescription(CFile& file, std::int64_t length) {
  const auto bothZero = [](std::byte a, std::byte b) { return a == std::byte{0} && a == b; };
  std::vector<std::byte> text, piece(65536);
  while (length > 0) {
    const auto wanted = static_cast<std::size_t>(std::min(length, std::ssize(piece)));
    if (file.Read(piece.data(), wanted) != wanted) return std::nullopt;
    length -= static_cast<std::int64_t>(wanted);
    const bool uniform = std::memcmp(piece.data(), piece.data() + 1, wanted - 1) == 0;
    const auto end = uniform && piece.front() == std::byte{0}
                         ? piece.begin() + 1
                         : piece.begin() + static_cast<std::ptrdiff_t>(wanted);
    std::unique_copy(piece.begin(), end, std::back_inserter(text), bothZero);
  }
  return text;
}

}  // namespace

int CCtfReader2Res4::readRes4(const CString& prefix) {
  CFile file;
  CFileException error;
  if (!openShared(file, prefix + L"res4", error)) {
    // Shows the prefix without "res4": hosts know the message so.
    CString text;
    text.Format(L"Can't open file %s, error = %u\n", prefix, static_cast<unsigned>(error.m_cause));
    AfxMessageBox(text);
    return 0;
  }
  return checkRes4Magic(file) && readGeneralHeader(file) && readFilters(file) && readChannelNames(file) &&
                 readSensorRecords(file) && readCoefficients(file)
             ? 1
             : 0;
}

int CCtfReader2Res4::checkRes4Magic(CFile& file) {
  std::array<char, kMagicSize> magic{};
  const bool whole = file.Read(magic.data(), magic.size()) == magic.size();
  const auto is = [&](const char(&expected)[kMagicSize]) {
    return whole && std::equal(magic.begin(), magic.end(), expected);
  };
  m_olderGeneration = m_rules.olderGeneration && is("MEG41RS");
  if (m_olderGeneration || is("MEG42RS")) return 1;
  const bool empty = file.GetLength() == 0;
  reportRes4(file, "res4.magic",
             empty ? L"is empty" : L"is not a CTF resource file: it does not begin with MEG42RS", 0);
  AfxMessageBox(L"Invalid (MEG42RS) CTF resource file");
  return 0;
}

int CCtfReader2Res4::readGeneralHeader(CFile& file) {
  CMEGRecordInfozkProzk& info = *m_currentData->getMEGRecordInfozk();
  file.Seek(kGeneralHeaderStart, CFile::begin);
  const auto block = readUpTo(file, kRunDescriptionStart - kGeneralHeaderStart);
  const std::int32_t lengthBefore = info.runDescriptionLength;
  const GeneralHeaderResult header = decodeGeneralHeader(block, m_rules, info);
  // Hosts find the length only where the description was read, too.
  const std::int32_t length = std::exchange(info.runDescriptionLength, lengthBefore);
  if (header.triggerFormatUnknown) AfxMessageBox(L"Trigger format error!");
  if (!header.complete) return failShort(file, L"its general header");

  if (length > 0) {
    const auto description = readRunDescription(file, length);
    if (!description) return failShort(file, L"its run description");
    info.runDescription = fixedTextToString(*description, m_rules);
  }
  if (length < 0)
    reportRes4(file, "res4.length", L"gives its run description a negative length", kRunDescriptionStart - 8,
               Finding::Severity::warning);
  info.runDescriptionLength = m_runDescLength = length;
  return 1;
}

int CCtfReader2Res4::readFilters(CFile& file) {
  return guardedAgainstMemory(file.GetFilePath(), 0, [&] { return appendFilters(file); });
}

int CCtfReader2Res4::appendFilters(CFile& file) {
  CMEGRecordInfozkProzk& info = *m_currentData->getMEGRecordInfozk();
  // Hosts rely on it: a negative length leads back into the header, and beyond its start to a file error.
  file.Seek(std::int64_t{m_runDescLength} + static_cast<std::int64_t>(kRunDescriptionStart), CFile::begin);
  const auto count = readExactly(file, sizeof(std::int16_t));
  // What is wrong with a file whose description has a negative length was reported already.
  const auto fail = [&](const wchar_t* what) { return m_runDescLength < 0 ? 0 : failShort(file, what); };
  if (!count) return fail(L"its number of filters");
  m_filterStart = static_cast<std::int32_t>(file.GetPosition());

  for (std::int16_t i = 0; i < loadBigEndian<std::int16_t>(*count, 0); ++i) {
    const auto record = readExactly(file, kFilterRecordSize);
    if (!record) return fail(L"its filter records");
    auto filter = decodeFilter(*record, m_rules);
    const auto parameters = readExactly(file, std::max(filter->numParams, 0) * std::int64_t{sizeof(double)});
    if (!parameters) return fail(L"its filter parameters");
    decodeFilterParameters(*parameters, m_rules, *filter);
    info.filters.push_back(std::move(filter));
  }
  m_channelNameStart = static_cast<std::int32_t>(file.GetPosition());
  return 1;
}
