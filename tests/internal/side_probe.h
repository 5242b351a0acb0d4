#pragma once

#include <cstdio>
#include <span>

#include "internal/probe.h"

/// A reader of a dataset that has one more file, its resource file read, at 1200 Hz with 240 samples before
/// the trigger.
struct WithFile : Probe {
  WithFile(const std::string& name, const std::string& content, const ReadingRules& rules) : Probe(rules) {
    path = writeDataset({});
    writeFile(directory.path() / "run.ds" / name, content);
    readRes4(getFilePathBasic(path));
    CPtrArray electrodes;
    data.importTrialChannels(1, 2, &m_sensors, &electrodes, &m_channelNames, &m_channelShortNames, nullptr);
    info().sampleRate = 1200.0;
    info().preTrigSamples = 240;
  }
  CString base() const { return getFilePathBasic(path); }

  CString path;
};

/// What a file holds and what comes of it by either rule, as a reading shows it.
struct SideCase {
  const char* what;
  std::string content;
  std::string host;
  std::string plain;
};

/// `read` runs a reader and shows its result and what it stored.
inline void expectByRule(const char* file, std::span<const SideCase> cases,
                         std::string (*read)(WithFile& reader)) {
  for (const SideCase& c : cases) {
    WithFile host(file, c.content, ReadingRules::host());
    EXPECT_EQ(read(host), c.host) << c.what << ", host rules";
    WithFile plain(file, c.content, ReadingRules::plain());
    EXPECT_EQ(read(plain), c.plain) << c.what << ", plain rules";
  }
}

/// The same content with only `decision` taken the plain way.
inline std::string readFlipped(bool ReadingRules::*decision, const char* file, const std::string& content,
                               std::string (*read)(WithFile& reader)) {
  WithFile reader(file, content, hostBut(decision));
  return read(reader);
}

/// A number with six digits, as short as it can be.
inline std::string shown(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", value);
  return text;
}
