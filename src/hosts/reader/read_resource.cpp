#include <memory>
#include <utility>

#include "ctf/resource_file.h"
#include "hosts/framework/bridge.h"
#include "hosts/reader/ctf_dataset_reader.h"
#include "hosts/reader/guarded.h"
#include "hosts/reader/to_data_model.h"

#include <megreader/framework/encoding.h>

namespace {

using Reader = ctfmeg::ResourceFileReader;

/// Runs a step of reading, `int step(reader)`, from the file's position on, and leaves the file at its end.
template <class Step>
int readStep(CFile& file, const ReadingRules& rules, Step step) {
  return asFramework([&] {
    HostNotices notices;
    Reader reader(file.opened(), rules, notices, file.GetPosition());
    const int result = step(reader);
    file.Seek(static_cast<std::int64_t>(reader.position()), CFile::begin);
    return result;
  });
}

}  // namespace

int CCtfReader2Res4::readRes4(const CString& prefix) {
  CFile file;
  CFileException error;
  if (!openOrReport(file, prefix + L"res4", CFile::modeRead | CFile::shareDenyNone, error,
                    Finding::Severity::error)) {
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
  return readStep(file, m_rules, [&](Reader& reader) {
    const Reader::Magic magic = reader.readMagic();
    m_olderGeneration = magic == Reader::Magic::older;
    if (magic != Reader::Magic::none) return 1;
    AfxMessageBox(L"Invalid (MEG42RS) CTF resource file");
    return 0;
  });
}

int CCtfReader2Res4::readGeneralHeader(CFile& file) {
  CMEGRecordInfozkProzk& info = *m_currentData->getMEGRecordInfozk();
  return readStep(file, m_rules, [&](Reader& reader) {
    ctfmeg::RecordInfo record = recordOf(info);
    const Reader::Header header = reader.readGeneralHeader(record);
    store(record, info);
    if (header.triggerFormatUnknown) AfxMessageBox(L"Trigger format error!");
    if (!header.read || !reader.readRunDescription(header.descriptionLength, record)) return 0;
    store(record, info);
    m_runDescLength = header.descriptionLength;
    return 1;
  });
}

int CCtfReader2Res4::readFilters(CFile& file) {
  auto& filters = m_currentData->getMEGRecordInfozk()->filters;
  const auto read = [&](Reader& reader) {
    const bool whole = reader.readFilters(
        m_runDescLength, [&](const ctfmeg::Filter& filter) { filters.push_back(toDataModel(filter)); },
        [&](std::uint64_t firstFilter) { m_filterStart = static_cast<std::int32_t>(firstFilter); });
    if (whole) m_channelNameStart = static_cast<std::int32_t>(reader.position());
    return whole ? 1 : 0;
  };
  return guardedAgainstMemory(file.GetFilePath(), 0, [&] { return readStep(file, m_rules, read); });
}

int CCtfReader2Res4::readChannelNames(CFile& file) {
  m_channelNames.SetSize(0);
  m_channelShortNames.SetSize(0);
  const auto keep = [&](const ctfmeg::ChannelName& channel) {
    const int index = m_channelNames.GetSize();
    m_channelNames.SetAtGrow(index, hostText(channel.name));
    m_channelShortNames.SetAtGrow(index, hostText(channel.shortName));
  };
  return readStep(file, m_rules, [&](Reader& reader) {
    return reader.readChannelNames(m_currentData->getMEGRecordInfozk()->numChannels, keep) ? 1 : 0;
  });
}

int CCtfReader2Res4::readSensorRecords(CFile& file) {
  releaseSensors();
  bool memoryLacked = false;
  const auto nameOf = [&](std::int32_t channel) { return toUtf8(m_channelNames.GetAt(channel)); };
  const auto keep = [&](ctfmeg::SensorRecord& record) {
    if (m_olderGeneration) record.stimPolarity = 0;
    auto sensor = toDataModel(record);
    memoryLacked = !sensor;
    if (memoryLacked) return false;
    m_sensors.SetAtGrow(m_sensors.GetSize(), sensor.get());
    sensor.release();  // NOLINT(bugprone-unused-return-value): the list owns it now
    return true;
  };
  return readStep(file, m_rules, [&](Reader& reader) {
    const std::uint64_t first = reader.position();
    const bool whole = reader.readSensors(m_currentData->getMEGRecordInfozk()->numChannels, nameOf, keep);
    if (memoryLacked) {
      reader.report(ctfmeg::Code::memory, "needs more memory than there is for its sensors",
                    first + static_cast<std::uint64_t>(m_sensors.GetSize()) * ctfmeg::kSensorRecordSize);
      AfxMessageBox(L"Is memory enough for making MEG sensors?!");
      return 0;
    }
    if (!whole) {
      releaseSensors();
      return 0;
    }
    sensorsMatchChannels();  // says so, but a mismatch does not end the reading
    return 1;
  });
}

bool CCtfReader2Res4::sensorsMatchChannels() const {
  if (m_sensors.GetSize() == m_currentData->getMEGRecordInfozk()->numChannels) return true;
  AfxMessageBox(L"Error in reading MEG sensor");
  return false;
}

int CCtfReader2Res4::readCoefficients(CFile& file) {
  CCoefficientManagerzk& manager = *m_currentData->getMEGRecordInfozk()->getSensorCoefficientzk();
  const auto read = [&](Reader& reader) {
    std::unique_ptr<CCoefficientDatazk[]> sets;
    std::size_t next = 0;
    const bool whole = reader.readCoefficients(manager.count, [&](const ctfmeg::CoefficientFields& fields) {
      if (!sets) sets = std::make_unique<CCoefficientDatazk[]>(static_cast<std::size_t>(manager.count));
      sets[next++] = toDataModel(fields);
    });
    if (whole && sets) manager.addCoefficientsData(manager.count, sets.release());
    return whole ? 1 : 0;
  };
  return guardedAgainstMemory(file.GetFilePath(), 0, [&] { return readStep(file, m_rules, read); });
}
