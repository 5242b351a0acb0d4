#pragma once

#include <charconv>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

#include "internal/probe.h"

inline std::string shownAs(double value) {
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value).ptr};  // as many digits as tell it from others
}
template <std::integral T>
std::string shownAs(T value) {
  return std::to_string(value);
}
/// UTF-8, with control characters as escapes; of a long text its start and its length.
inline std::string shownAs(const CString& value) {
  constexpr int kLongest = 300;
  if (value.GetLength() > kLongest) return shownAs(value.Left(10)) + "... of " + shownAs(value.GetLength());
  std::string text;
  for (const char c : toUtf8(value)) {
    char escaped[8];
    std::snprintf(escaped, sizeof escaped, c == '\n' ? "\\n" : "\\x%02X", static_cast<unsigned char>(c));
    text += static_cast<unsigned char>(c) < 0x20 ? escaped : std::string(1, c);
  }
  return text;
}
inline std::string shownAs(const std::string& value) { return value; }
inline std::string shownAs(const char* value) { return value; }

/// Everything that a reader and its data objects hold, a line for each thing: "what: values".
class Dump {
 public:
  explicit Dump(Probe& reader) : Dump(reader.data, &reader) {}
  /// Without a reader, of the data object alone.
  explicit Dump(const CMEGDatazk& data, Probe* reader = nullptr) {
    record(*data.getMEGRecordInfozk());
    add("name", data.name);
    if (reader != nullptr) held(*reader);
    add("channels", data.channels().size());
    for (const ChannelInfo& c : data.channels())
      channel(c.name, c.shortName, c.sensor, c.good);
    head(data);
    markers("marker", *data.getTrigManager());
    markers("class", *data.getClassManager());
    sideFiles(data);
    trials("", data);
    add("open trial", data.currentTrial());
  }

  /// The trials of another data object, each line led by `name`.
  void trials(const std::string& name, const CMEGDatazk& data) {
    add(name + "stored", data.numStoredTrials(), "of", data.trialSlots(), "x", data.storedChannels(), "x",
        data.storedSamples());
    const CMEGRecordInfozkProzk& info = *data.getMEGRecordInfozk();
    if (!name.empty())
      add(name + "trials", info.numTrials, "averaged", info.numTrialsAvgd, "open", data.currentTrial(),
          "rate", info.sampleRate, "markers", data.getTrigManager()->getTotalMarkzk(), "channels",
          data.channels().size());
    for (int t = 0; t < data.trialSlots(); ++t) {
      const TrialOrigin origin = data.trialOrigin(t);
      const std::string from =
          shownAs(origin.fileTrial) + "+" + shownAs(origin.firstSample) + "/" + shownAs(origin.step);
      const std::int64_t count = data.storedChannels() * data.storedSamples();
      if (data.trialSamples(t)) add(name + "trial", t, from, "=" + first(data.trialSamples(t), count));
      if (data.trialSums(t)) add(name + "sums", t, "=" + first(data.trialSums(t), count));
    }
  }

  const std::vector<std::string>& lines() const { return m_lines; }

 private:
  template <class... Values>
  void add(const std::string& what, const Values&... values) {
    m_lines.push_back(what + ":");
    const auto append = [&](const std::string& text) { m_lines.back() += text.empty() ? "" : " " + text; };
    (append(shownAs(values)), ...);
  }

  template <class T>
  static std::string first(const T* values, std::int64_t count) {
    std::string text;
    for (std::int64_t i = 0; i < std::min<std::int64_t>(count, 16); ++i)
      text += " " + shownAs(values[i]);
    return count > 16 ? text + " ..." : text;
  }

  template <class Point>
  static std::string at(const Point& p) {
    return shownAs(p.x) + "," + shownAs(p.y) + "," + shownAs(p.z);
  }

  void record(const CMEGRecordInfozkProzk& r) {
    add("texts", r.appName + L"|" + r.dataOrigin + L"|" + r.dataDescription + L"|" + r.runName + L"|" +
                     r.runTitle + L"|" + r.instruments + L"|" + r.collectDescriptor + L"|" + r.operatorName +
                     L"|" + r.sensorFileName);
    add("subject", r.subjectId);
    add("date", r.dataDate, r.dataTime);
    add("samples", r.samplesPerTrial, r.samplesPerTrialAcq, "from", r.preTrigSamples, r.preTrigSamplesAcq);
    add("rate", r.sampleRate, r.sampleRateAcq, "epoch", r.epochTime);
    add("counts", r.numChannels, r.numTrials, r.numTrialsDone, r.numTrialsDisplay, r.saveTrials,
        r.numTrialsAvgd);
    add("settings", r.acqSetting1, r.acqSetting2, r.acqSetting3, r.acqSetting4);
    add("bytes", r.getRecordedDataSizeByte());
    add("trigger format", r.triggerFormat);
    add("trigger codes", first(r.triggerCodes.data(), 10));
    add("description", r.runDescriptionLength, r.runDescription);
    add("filters", r.filters.size());
    for (const auto& f : r.filters)
      add("filter", f->filterClass, f->filterType, f->frequency, f->numParams,
          "=" + (f->params ? first(f->params.get(), f->numParams) : ""));
    const CCoefficientManagerzk& coefficients = *r.getSensorCoefficientzk();
    add("coefficients", coefficients.numHeld());
    for (int i = 0; i < coefficients.numHeld(); ++i) {
      const CCoefficientDatazk& c = coefficients.coefficients(i);
      std::string references;
      for (std::size_t k = 0; k < c.values.size(); ++k)
        references += " " + shownAs(c.values[k]) + "*" + shownAs(c.referenceNames[k]);
      add("coefficient", c.sensorName, c.coefficientType, c.numReferences, "=" + references);
    }
    for (const TriggerInfo& trigger : r.triggers)
      add("trigger", trigger.name, trigger.occurrences);
    for (const InformationEntry& e : r.information.entries) {
      const std::string tag = "info " + shownAs(e.tag);
      if (const auto* text = std::get_if<CString>(&e.value)) add(tag, "'" + shownAs(*text) + "'");
      if (const auto* number = std::get_if<double>(&e.value)) add(tag, shownAs(*number) + "f");
      if (const auto* whole = std::get_if<std::int64_t>(&e.value)) add(tag, *whole);
    }
    add("info text", "[" + shownAs(r.information.text) + "]");
  }

  void channel(const CString& name, const CString& shortName, const CMEGSensorzk& sensor, bool good) {
    const CMegSquidzk& s = *sensor.squid();
    add("channel", name + L"|" + shortName, sensor.sensorType, "gain", sensor.gain(),
        sensor.gainIsUsable() ? "=" : "of none", s.properGain, s.qGain, s.ioGain, s.ioOffset, "run",
        s.originalRun, "coils", s.numCoils, "shape", s.coilShape, "order", s.gradientOrder, "polarity",
        s.stimPolarity, good ? "good" : "bad");
    for (const auto* coils : {&s.dewarCoils, &s.headCoils})
      for (int i = 0; i < std::clamp<int>(s.numCoils, 0, CMegSquidzk::kCoilSlots); ++i) {
        const CMagCoil& c = (*coils)[static_cast<std::size_t>(i)];
        add(coils == &s.dewarCoils ? "dewar coil" : "head coil", first(c.position.data(), 4), "to",
            first(c.orientation.data(), 4), "turns", c.numTurns, "area", c.area, "shape", c.coilShape);
      }
  }

  /// What the reader holds until it hands it over.
  void held(Probe& reader) {
    add("info gathered", reader.m_infodsText);
    add("places", reader.m_runDescLength, reader.m_filterStart, reader.m_channelNameStart);
    add("lists", reader.m_channelNames.GetSize(), reader.m_sensors.GetSize());
    for (int i = 0; reader.data.channels().empty() && i < reader.m_channelNames.GetSize(); ++i)
      if (i < reader.m_sensors.GetSize())
        channel(reader.m_channelNames.GetAt(i), reader.m_channelShortNames.GetAt(i), reader.sensor(i), true);
    add("electrodes read", reader.m_electrodes.GetSize());
    for (int i = 0; i < reader.m_electrodes.GetSize(); ++i) {
      const auto& e = *static_cast<CEEGelectrodezk*>(reader.m_electrodes.GetAt(i));
      add("electrode", e.number, e.name, at(e));
    }
  }

  /// "kind, number: points in millimetres".
  void fiducials(const char* what, const CFiducialzk& set) {
    std::string text;
    for (const FiducialPoint& p : set.points)
      text += p.valid ? " " + at(p) : " -";
    add(what, set.positionKind, set.numPoints, "=" + text);
  }

  void head(const CMEGDatazk& data) {
    add("fiducials", data.fiducialSource, data.fiducialSetCount);
    fiducials("standard in dewar", *data.getFidDewarStd());
    fiducials("measured in dewar", *data.getFidDewarMsr());
    fiducials("measured in head", *data.getFidHeadMsr());
    fiducials("working set", *data.getFidWork());
    for (const auto& set : data.getHeadLocationDataset()->fiducials())
      fiducials("localization", *set);
    if (const auto& frame = data.getHeadLocationDataset()->dewarToHead())
      for (const auto& row : *frame)
        add("frame", row[0] + 0.0, row[1] + 0.0, row[2] + 0.0, row[3] + 0.0);  // without a sign of 0
  }

  /// "name/display name 'comment' colour editable class group count: trial@ms=sample ..."
  void markers(const char* what, const CMarkerManagerzk& manager) {
    for (int i = 0; i < manager.getTotalMarkzk(); ++i) {
      const CMarkerDatazk& m = *manager.getMarker(i, false);
      std::string samples;
      for (const MarkerSample& s : std::span(m.samples).first(std::min(m.samples.size(), std::size_t{16})))
        samples += " " + shownAs(s.trial) + "@" + shownAs(s.timeMs) + "=" + shownAs(s.sample);
      if (m.samples.size() > 16) samples += " ... of " + shownAs(m.samples.size());
      add(what, m.name + L"/" + m.displayName + L" '" + m.comment + L"'",
          m.colorKnown ? shownAs(m.color) : "?", m.editable ? "e" : "-", m.classId, m.classGroupId,
          shownAs(m.numSamples) + ":" + samples);
    }
  }

  void sideFiles(const CMEGDatazk& data) {
    add("electrodes", data.electrodes().size());
    for (const auto& e : data.electrodes())
      add("electrode imported", e.number, e.name, at(e));
    for (const DigitisedPoint& p : data.digitisedPoints())
      add("digitised", p.number, at(p));
    for (const DigitisedFiducial& f : data.digitisedFiducials)
      add("digitised", f.label, at(f));
    for (const VirtualChannel& channel : data.virtualChannels) {
      std::string references;
      for (const auto& reference : channel.references)
        references += " " + shownAs(reference.weight) + "*" + shownAs(reference.channel);
      add("virtual", channel.name + L"[" + channel.unit + L"] =" + fromUtf8(references));
    }
    for (const CString& bad : data.badChannelNames())
      add("bad", "'" + shownAs(bad) + "'");
    for (const BadSegment& s : data.badSegments())
      add("bad segment", s.trial, shownAs(s.startMs) + "-" + shownAs(s.endMs));
  }

  std::vector<std::string> m_lines;
};
