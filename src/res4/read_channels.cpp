#include <megreader/framework/user_interface.h>
#include "hosts/reader/ctf_dataset_reader.h"
#include "res4/decode.h"
#include "res4/name_budget.h"
#include "res4/record_pieces.h"
#include "res4/res4_findings.h"
#include "res4/res4_layout.h"
#include "util/file_bytes.h"

namespace {

int failWithoutChannels(const CFile& file) {
  reportRes4(file, "res4.counts", L"says that it has no channels", 1292);
  return 0;
}

}  // namespace

int CCtfReader2Res4::readChannelNames(CFile& file) {
  m_channelNames.SetSize(0);
  m_channelShortNames.SetSize(0);
  const std::int32_t channels = m_currentData->getMEGRecordInfozk()->numChannels;
  if (channels < 1) return failWithoutChannels(file);
  const auto block = readExactly(file, channels * static_cast<std::int64_t>(kChannelNameSize));
  if (!block) return failShort(file, L"its channel names");
  NameBudget budget;
  for (std::int32_t c = 0; c < channels; ++c) {
    const ChannelName channel = decodeChannelName(*block, static_cast<std::size_t>(c), m_rules);
    if (!budget.take(channel.name)) return failWithoutEnds(file, L"its channel names");
    m_channelNames.SetAtGrow(c, channel.name);
    m_channelShortNames.SetAtGrow(c, channel.shortName);
  }
  return 1;
}

int CCtfReader2Res4::readSensorRecords(CFile& file) {
  releaseSensors();
  const std::int32_t channels = m_currentData->getMEGRecordInfozk()->numChannels;
  if (channels < 1) return failWithoutChannels(file);
  RecordPieces records(file, channels, kSensorRecordSize);
  if (!records.allThere()) return failShort(file, L"its sensor records");
  for (std::int32_t c = 0; c < channels; ++c) {
    const auto record = records.next();
    if (record.empty()) {
      releaseSensors();
      return failShort(file, L"its sensor records");
    }
    auto sensor = decodeSensor(record.first(kSensorRecordSize), m_rules);
    if (!sensor) {
      reportRes4(file, "memory", L"needs more memory than there is for its sensors", records.offset());
      AfxMessageBox(L"Is memory enough for making MEG sensors?!");
      return 0;
    }
    if (m_olderGeneration) sensor->squid()->stimPolarity = 0;
    if (!sensor->gainIsUsable()) {
      CString text;
      text.Format(L"gives channel %s a gain that can't be used: its values stay raw",
                  m_channelNames.GetAt(c));
      reportRes4(file, "channel.gain", text.GetString(), records.offset(), Finding::Severity::warning);
    }
    m_sensors.SetAtGrow(c, sensor.get());
    sensor.release();  // NOLINT(bugprone-unused-return-value): the list owns it now
  }
  sensorsMatchChannels();  // says so, but a mismatch does not end the reading
  return 1;
}

bool CCtfReader2Res4::sensorsMatchChannels() const {
  if (m_sensors.GetSize() == m_currentData->getMEGRecordInfozk()->numChannels) return true;
  AfxMessageBox(L"Error in reading MEG sensor");
  return false;
}
