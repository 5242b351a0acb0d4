#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <vector>

#include "simulate/channels.h"
#include "simulate/dataset.h"
#include "simulate/options.h"

// The files of a dataset. `stem` is their path without the dot and the extension. A failure is thrown as
// std::filesystem::filesystem_error with the path and the system's reason.

namespace ctfmeg::simulate {

inline constexpr std::size_t kChannelNameBytes = 32;
inline constexpr std::size_t kSensorBytes = 1328;

/// <stem>.res4, the resource file: general header, run description, filters, channel names, sensor records
/// and compensation coefficients.
void writeRes4(const std::filesystem::path& stem, const Options& options,
               const std::vector<Channel>& channels);

inline constexpr std::int64_t kMeg4HeaderBytes = 8;

/// <stem>.meg4, <stem>.1_meg4, <stem>.2_meg4 and so on: the samples. Throws Stopped when `progress` returned
/// false.
void writeMeg4(const std::filesystem::path& stem, const Options& options,
               const std::vector<Channel>& channels, const Progress& progress);

/// The small files that accompany the samples. In centimetres, the head:
/// - <stem>.hc: nasion and ears as the system assumes them in the dewar, and as measured in the dewar and in
///   the head frame that they define;
/// - <stem>.eeg and <stem>.pos: the electrodes, in the latter followed by the fiducials.
///
/// What happened, and which channels to use:
/// - MarkerFile.mrk: the tone at the trigger of each trial and, some time later, a button press, each only
///   where it is within the trial;
/// - ClassFile.cls: the class "BAD", which holds the last of several trials;
/// - bad.segments: a span of that trial;
/// - BadChannels: the last of several gradiometers;
/// - VirtualChannels: the difference of the first two.
///
/// And <stem>.infods: patient, procedure and dataset. Nobody real is in it.
void writeSideFiles(const std::filesystem::path& stem, const Options& options,
                    const std::vector<Channel>& channels);

}  // namespace ctfmeg::simulate
