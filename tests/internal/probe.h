#pragma once

#include <memory>
#include <string>
#include <vector>

#include <megreader/framework/encoding.h>
#include <megreader/framework/native_path.h>
#include "hosts/reader/ctf_dataset_reader.h"
#include "support/minimal_dataset.h"
#include "support/scripted.h"
#include "support/temporary_directory.h"

/// The reader object with its members in reach, and a scripted user: of several, the one made last hears
/// everything.
struct Probe : CCtfDatasetReader {
  explicit Probe(const ReadingRules& rules = ReadingRules::host())
      : CCtfDatasetReader(rules), installed(&user) {
    m_currentData = &data;
  }

  /// Writes the dataset and reads its resource file into `data`.
  int readRes4Of(const MinimalDataset& dataset) { return readRes4(getFilePathBasic(writeDataset(dataset))); }

  /// The path that readers take.
  CString writeDataset(const MinimalDataset& dataset) {
    return toWindowsPath(dataset.write(directory.path()).string());
  }

  CMEGRecordInfozkProzk& info() { return *data.getMEGRecordInfozk(); }
  const CMEGSensorzk& sensor(int index) const { return *static_cast<CMEGSensorzk*>(m_sensors.GetAt(index)); }
  CMEGDatazk& current() { return *m_currentData; }

  using CCtfDatasetReader::m_channelNames;
  using CCtfDatasetReader::m_channelNameStart;
  using CCtfDatasetReader::m_channelShortNames;
  using CCtfDatasetReader::m_electrodes;
  using CCtfDatasetReader::m_filterStart;
  using CCtfDatasetReader::m_infodsText;
  using CCtfDatasetReader::m_runDescLength;
  using CCtfDatasetReader::m_sensors;

  TemporaryDirectory directory;
  ScriptedInterface user;
  ThreadUserInterface installed;
  CMEGDatazk data;
};

using Lines = std::vector<std::string>;

/// Host rules with one decision taken the other way.
inline ReadingRules hostBut(bool ReadingRules::*decision) {
  ReadingRules rules = ReadingRules::host();
  rules.*decision = true;
  return rules;
}
