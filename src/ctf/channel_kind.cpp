#include "ctf/channel_kind.h"

#include <algorithm>
#include <array>

namespace ctfmeg {
namespace {

struct Kind {
  ChannelKind kind;
  const char* name;
  const char* unit;
};

constexpr std::array kKinds{
    Kind{ChannelKind::refMagnetometer, "ref-magnetometer", "T"},
    Kind{ChannelKind::refGradiometer, "ref-gradiometer", "T"},
    Kind{ChannelKind::magnetometer, "magnetometer", "T"},
    Kind{ChannelKind::gradiometer, "gradiometer", "T"},
    Kind{ChannelKind::reset, "reset", kNoUnit},
    Kind{ChannelKind::eegRef, "eeg-ref", "V"},
    Kind{ChannelKind::eeg, "eeg", "V"},
    Kind{ChannelKind::adc, "adc", "V"},
    Kind{ChannelKind::dac, "dac", "V"},
    Kind{ChannelKind::stim, "stim", kNoUnit},
    Kind{ChannelKind::clock, "clock", "s"},
    Kind{ChannelKind::position, "position", "m"},
    Kind{ChannelKind::other, "other", kNoUnit},
};

struct CodeRange {
  int first, last;
  ChannelKind kind;
};

constexpr std::array kCodes{
    CodeRange{10, 10, ChannelKind::refMagnetometer}, CodeRange{11, 13, ChannelKind::refGradiometer},
    CodeRange{100, 100, ChannelKind::magnetometer},  CodeRange{101, 103, ChannelKind::gradiometer},
    CodeRange{200, 200, ChannelKind::reset},         CodeRange{300, 300, ChannelKind::eegRef},
    CodeRange{302, 303, ChannelKind::eeg},           CodeRange{354, 354, ChannelKind::eeg},
    CodeRange{400, 400, ChannelKind::adc},           CodeRange{401, 401, ChannelKind::dac},
    CodeRange{402, 402, ChannelKind::adc},           CodeRange{600, 602, ChannelKind::stim},
    CodeRange{700, 701, ChannelKind::clock},         CodeRange{800, 800, ChannelKind::position},
};

const Kind& entryOf(ChannelKind kind) {
  const auto* found =
      std::find_if(kKinds.begin(), kKinds.end(), [kind](const Kind& k) { return k.kind == kind; });
  return found != kKinds.end() ? *found : kKinds.back();
}

}  // namespace

inline namespace v1 {

const char* nameOf(ChannelKind kind) { return entryOf(kind).name; }

}  // namespace v1

ChannelKind kindOf(int sensorType) {
  for (const CodeRange& codes : kCodes)
    if (sensorType >= codes.first && sensorType <= codes.last) return codes.kind;
  return ChannelKind::other;
}

const char* unitOf(ChannelKind kind) { return entryOf(kind).unit; }

}  // namespace ctfmeg
