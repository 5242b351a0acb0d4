#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "datamodel/sensors/sensor_type.h"
#include "framework/encoding.h"
#include "res4/decode.h"

namespace {

TEST(DataModel, NamesTheTypesThatTheFileCounts) {
  const std::vector<std::string> expected{"ref-magnetometer",
                                          "ref-gradiometer",
                                          "ref-gradiometer",
                                          "ref-gradiometer",
                                          "magnetometer",
                                          "gradiometer",
                                          "gradiometer",
                                          "gradiometer",
                                          "eeg-ref",
                                          "eeg",
                                          "adc",
                                          "stim",
                                          "clock",
                                          "position",
                                          "dac",
                                          "other",
                                          "other",
                                          "clock",
                                          "adc",
                                          "stim",
                                          "stim",
                                          "eeg",
                                          "eeg",
                                          "reset",
                                          "other",
                                          "other",
                                          "other",
                                          "other",
                                          "other",
                                          "other",
                                          "other"};
  for (std::size_t index = 0; index < expected.size(); ++index)
    EXPECT_EQ(toUtf8(sensorTypeName(mapSensorType(static_cast<std::int16_t>(index)))), expected[index])
        << index;
  EXPECT_EQ(toUtf8(sensorTypeName(-1)), "other");
}

}  // namespace
