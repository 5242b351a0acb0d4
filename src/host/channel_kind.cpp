#include "host/channel_kind.h"

namespace ctfmeg {
inline namespace v1 {

const char* nameOf(ChannelKind kind) {
  switch (kind) {
    case ChannelKind::refMagnetometer:
      return "ref-magnetometer";
    case ChannelKind::refGradiometer:
      return "ref-gradiometer";
    case ChannelKind::magnetometer:
      return "magnetometer";
    case ChannelKind::gradiometer:
      return "gradiometer";
    case ChannelKind::reset:
      return "reset";
    case ChannelKind::eegRef:
      return "eeg-ref";
    case ChannelKind::eeg:
      return "eeg";
    case ChannelKind::adc:
      return "adc";
    case ChannelKind::dac:
      return "dac";
    case ChannelKind::stim:
      return "stim";
    case ChannelKind::clock:
      return "clock";
    case ChannelKind::position:
      return "position";
    case ChannelKind::other:
      return "other";
  }
  return "other";
}

}  // namespace v1

ChannelKind kindOf(int sensorType) {
  switch (sensorType) {
    case 10:
      return ChannelKind::refMagnetometer;
    case 11:
    case 12:
    case 13:
      return ChannelKind::refGradiometer;
    case 100:
      return ChannelKind::magnetometer;
    case 101:
    case 102:
    case 103:
      return ChannelKind::gradiometer;
    case 200:
      return ChannelKind::reset;
    case 300:
      return ChannelKind::eegRef;
    case 302:
    case 303:
    case 354:
      return ChannelKind::eeg;
    case 400:
    case 402:
      return ChannelKind::adc;
    case 401:
      return ChannelKind::dac;
    case 600:
    case 601:
    case 602:
      return ChannelKind::stim;
    case 700:
    case 701:
      return ChannelKind::clock;
    case 800:
      return ChannelKind::position;
    default:
      return ChannelKind::other;
  }
}

const char* unitOf(ChannelKind kind) {
  switch (kind) {
    case ChannelKind::refMagnetometer:
    case ChannelKind::refGradiometer:
    case ChannelKind::magnetometer:
    case ChannelKind::gradiometer:
      return "T";
    case ChannelKind::eegRef:
    case ChannelKind::eeg:
    case ChannelKind::adc:
    case ChannelKind::dac:
      return "V";
    case ChannelKind::clock:
      return "s";
    default:
      return kNoUnit;
  }
}

}  // namespace ctfmeg
