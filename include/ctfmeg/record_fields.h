#pragma once

// Every member of the structs in record.h, once, for whoever shows or compares them. A visitor is called as
// v(name, member, identifying): `member` gives the member of any struct that has one of that name,
// `identifying` says that its content can name a person.

#define CTFMEG_FIELD(name, identifying) \
  v(                                    \
      #name, [](auto& record) -> auto& { return record.name; }, identifying)

namespace ctfmeg {

/// Scalars, texts and trigger codes of the record information; `filters` are listed by themselves.
template <class Visitor>
void forEachRecordField(Visitor&& v) {
  CTFMEG_FIELD(samplesPerTrial, false);
  CTFMEG_FIELD(samplesPerTrialAcq, false);
  CTFMEG_FIELD(preTrigSamples, false);
  CTFMEG_FIELD(preTrigSamplesAcq, false);
  CTFMEG_FIELD(sampleRate, false);
  CTFMEG_FIELD(sampleRateAcq, false);
  CTFMEG_FIELD(epochTime, false);
  CTFMEG_FIELD(numChannels, false);
  CTFMEG_FIELD(numTrials, false);
  CTFMEG_FIELD(numTrialsDone, false);
  CTFMEG_FIELD(numTrialsDisplay, false);
  CTFMEG_FIELD(saveTrials, false);
  CTFMEG_FIELD(numTrialsAvgd, false);
  CTFMEG_FIELD(triggerFormat, false);
  CTFMEG_FIELD(triggerCodes, false);
  CTFMEG_FIELD(acqSetting1, false);
  CTFMEG_FIELD(acqSetting2, false);
  CTFMEG_FIELD(acqSetting3, false);
  CTFMEG_FIELD(acqSetting4, false);
  // Texts are free: sites write names, dates and paths into any of them.
  CTFMEG_FIELD(appName, true);
  CTFMEG_FIELD(dataOrigin, true);
  CTFMEG_FIELD(dataDescription, true);
  CTFMEG_FIELD(dataTime, true);
  CTFMEG_FIELD(dataDate, true);
  CTFMEG_FIELD(runName, true);
  CTFMEG_FIELD(runTitle, true);
  CTFMEG_FIELD(instruments, true);
  CTFMEG_FIELD(collectDescriptor, true);
  CTFMEG_FIELD(subjectId, true);
  CTFMEG_FIELD(operatorName, true);
  CTFMEG_FIELD(sensorFileName, true);
  CTFMEG_FIELD(runDescription, true);
  CTFMEG_FIELD(runDescriptionLength, false);
}

template <class Visitor>
void forEachFilterField(Visitor&& v) {
  CTFMEG_FIELD(filterClass, false);
  CTFMEG_FIELD(filterType, false);
  CTFMEG_FIELD(frequency, false);
  CTFMEG_FIELD(numParams, false);
}

/// What a channel's sensor record says, coils aside.
template <class Visitor>
void forEachSensorField(Visitor&& v) {
  CTFMEG_FIELD(originalRun, false);
  CTFMEG_FIELD(coilShape, false);
  CTFMEG_FIELD(properGain, false);
  CTFMEG_FIELD(qGain, false);
  CTFMEG_FIELD(ioGain, false);
  CTFMEG_FIELD(ioOffset, false);
  CTFMEG_FIELD(numCoils, false);
  CTFMEG_FIELD(gradientOrder, false);
  CTFMEG_FIELD(stimPolarity, false);
}

}  // namespace ctfmeg

#undef CTFMEG_FIELD
