#pragma once

#include <ctfmeg/record.h>

namespace ctfmeg {

inline constexpr const char* kNoUnit = "1";

/// The kind of channel that a sensor type code of the data model stands for.
ChannelKind kindOf(int sensorType);

/// Unit of a channel's physical values.
const char* unitOf(ChannelKind kind);

}  // namespace ctfmeg
