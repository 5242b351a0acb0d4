#include <gtest/gtest.h>

#include "internal/import_probe.h"

// What hosts rely on where a file is damaged or odd, down to the byte.

namespace {

using D = MinimalDataset;

TEST(Letter, ASampleFileNeedsTheZeroByteOfItsHeader) {
  D dataset;
  for (const std::string begins : {"MEG41CP", "MEG4", ""}) {
    dataset.sampleFiles = {begins};
    Import reading(dataset, 1, 1, 1);
    EXPECT_EQ(reading.whole(), 0) << begins;
    EXPECT_EQ(reading.user.transcript(), Lines{"message: Invalid CTF data file!"}) << begins;
    EXPECT_EQ(reading.codes(), "meg4.magic") << begins;
  }
}

TEST(Letter, AResourceFileNeedsTheZeroByteOfItsMagic) {
  for (const auto& rules : {ReadingRules::host(), ReadingRules::plain()})
    for (const char* magic : {"MEG42RS", "MEG41RS"}) {
      D dataset;
      dataset.res4 = Bytes().raw(magic);
      Probe reader(rules);
      EXPECT_EQ(reader.readRes4Of(dataset), 0) << magic;
      EXPECT_EQ(reader.user.transcript(), Lines{"message: Invalid (MEG42RS) CTF resource file"}) << magic;
    }
}

}  // namespace
