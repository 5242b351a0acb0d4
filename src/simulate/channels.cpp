#include "simulate/channels.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <string>

#include "simulate/options.h"

namespace ctfmeg::simulate {

namespace {

constexpr int kElectrodes = 8;
constexpr int kAdcs = 4;
constexpr int kFullHelmet = 275;
static_assert(2 + kReferences + kFullHelmet + kElectrodes + kAdcs == kFullSystemChannels);

/// Of each kind that is not a helmet gradiometer, how many a system has.
struct Auxiliaries {
  int stimuli = 0;
  int clocks = 0;
  int references = 0;
  int electrodes = 0;
  int adcs = 0;

  int total() const { return stimuli + clocks + references + electrodes + adcs; }
};

Auxiliaries chooseAuxiliaries(int available) {
  const auto take = [&available](int wanted) {
    const int taken = std::min(wanted, available);
    available -= taken;
    return taken;
  };
  Auxiliaries chosen;
  chosen.stimuli = take(1);
  chosen.clocks = take(1);
  chosen.adcs = take(1);
  chosen.electrodes = take(1);
  chosen.references = take(kReferences);
  chosen.electrodes += take(kElectrodes - 1);
  chosen.adcs += take(kAdcs - 1);
  return chosen;
}

Channel makeStimulus() {
  Channel channel;
  channel.name = "UPPT001";
  channel.type = SensorType::stimulus;
  return channel;
}

Channel makeClock() {
  Channel channel;
  channel.name = "SCLK01-177";
  channel.type = SensorType::systemClock;
  channel.qGain = kClockTicksPerSecond;
  return channel;
}

Channel makeAdc(int index) {
  constexpr double kCountsPerVolt = 107374182.4;  // 20 volt are 2^31 counts
  Channel channel;
  channel.name = ("UADC00" + std::to_string(index + 1)).append(kSerial);
  channel.type = SensorType::adc;
  channel.qGain = kCountsPerVolt;
  return channel;
}

Channel makeElectrode(int index, Random& random) {
  // Directions from the middle of the head: midline from front to back, then both sides.
  constexpr std::array<Vector3, kElectrodes> kDirections{{{0.7, 0, 0.7},
                                                          {0, 0, 1},
                                                          {-0.7, 0, 0.7},
                                                          {-1, 0, 0.1},
                                                          {0, 0.7, 0.7},
                                                          {0, -0.7, 0.7},
                                                          {-0.7, 0.7, 0.1},
                                                          {-0.7, -0.7, 0.1}}};
  constexpr int kFirstNumber = 57;
  constexpr double kCountsPerVolt = 2128136966.752699;
  constexpr double kAmplifierSpread = 0.008;
  const Vector3 direction = unit(kDirections[static_cast<std::size_t>(index)]);
  Channel channel;
  channel.name = "EEG0" + std::to_string(kFirstNumber + index);
  channel.type = SensorType::eeg;
  channel.qGain = kCountsPerVolt;
  channel.ioGain = 1 + kAmplifierSpread * random.uniform();
  // Electrodes are measured on the head, and files hold that position for the dewar too.
  channel.headCoils = {{kConductorCentreCm + kConductorRadiusCm * direction, {0, 0, 1}}};
  channel.dewarCoils = channel.headCoils;
  channel.turns = 1;
  channel.coilAreaCm2 = 0.196349540849362;  // 5 mm across
  return channel;
}

}  // namespace

std::vector<Channel> makeChannels(int count) {
  constexpr std::uint64_t kSystemSeed = 2901;
  Random random(kSystemSeed);
  const Auxiliaries chosen = chooseAuxiliaries(count / 2);
  std::vector<Channel> references = makeReferences(random);
  references.resize(static_cast<std::size_t>(chosen.references));
  std::vector<Channel> helmet = makeHelmet(count - chosen.total(), random);

  std::vector<Channel> channels;
  channels.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < chosen.stimuli; ++i)
    channels.push_back(makeStimulus());
  for (int i = 0; i < chosen.clocks; ++i)
    channels.push_back(makeClock());
  std::move(references.begin(), references.end(), std::back_inserter(channels));
  std::move(helmet.begin(), helmet.end(), std::back_inserter(channels));
  for (int i = 0; i < chosen.electrodes; ++i)
    channels.push_back(makeElectrode(i, random));
  for (int i = 0; i < chosen.adcs; ++i)
    channels.push_back(makeAdc(i));
  return channels;
}

}  // namespace ctfmeg::simulate
