#include <gtest/gtest.h>

#include "internal/side_probe.h"

namespace {

std::string point(double x, double y, double z) { return shown(x) + "," + shown(y) + "," + shown(z); }

struct WithElectrodes : WithFile {
  using CCtfDatasetReader::m_electrodes;
};

std::string electrodes(WithFile& reader) {
  std::string text = std::to_string(reader.readEegFile(reader.base() + L"eeg"));
  const CPtrArray& list = static_cast<WithElectrodes&>(reader).m_electrodes;
  for (int i = 0; i < list.GetSize(); ++i) {
    const auto& e = *static_cast<CEEGelectrodezk*>(list.GetAt(i));
    text += " " + std::to_string(e.number) + toUtf8(e.name) + ":" + point(e.x, e.y, e.z);
  }
  return text;
}

std::string positions(WithFile& reader) {
  std::string text = std::to_string(reader.readPosFile(reader.base() + L"pos"));
  for (const DigitisedPoint& p : reader.data.digitisedPoints())
    text += " " + std::to_string(p.number) + ":" + point(p.x, p.y, p.z);
  for (const DigitisedFiducial& f : reader.data.digitisedFiducials)
    text += " " + toUtf8(f.label) + ":" + point(f.x, f.y, f.z);
  return text;
}

std::string virtualChannels(WithFile& reader) {
  std::string text = std::to_string(reader.readVirtualChannels(reader.base()));
  for (const VirtualChannel& channel : reader.data.virtualChannels) {
    text += " " + toUtf8(channel.name) + "[" + toUtf8(channel.unit) + "]";
    for (const auto& reference : channel.references)
      text += " " + shown(reference.weight) + "*" + toUtf8(reference.channel);
  }
  return text;
}

TEST(Positions, ElectrodesByRule) {
  const std::string line = "3 Cz 0.0 0.0 9.5\n";
  const SideCase cases[] = {
      {"a line", line, "1 3Cz:0,0,9.5", "1 3Cz:0,0,9.5"},
      {"lines in one block", line + "Cz 0 0 9.5\n4\tOz 1 2 3 4\r\n", "1 3Cz:0,0,9.5",
       "1 3Cz:0,0,9.5 4Oz:1,2,3"},
      {"no number, no last line end", "Cz 0.0 0.0 9.5\n" + line.substr(0, line.size() - 1), "1",
       "1 3Cz:0,0,9.5"},
      {"lines in the last block", line + std::string(4096, '\n') + line + line, "1 3Cz:0,0,9.5 3Cz:0,0,9.5",
       "1 3Cz:0,0,9.5 3Cz:0,0,9.5 3Cz:0,0,9.5"},
      {"empty", "", "1", "1"},
  };
  expectByRule("run.eeg", cases, electrodes);
  WithFile reader("run.eeg", "1 a 0.1 0 0\nno\n", ReadingRules::plain());
  electrodes(reader);
  EXPECT_EQ(electrodes(reader), "1 1a:0.1,0,0") << "in the place of what was read before";
  EXPECT_EQ(reader.user.findings().back().line, 2);
}

TEST(Positions, DigitisedByRule) {
  const std::string fiducials = "nasion 1 2 3\nleft 4 5 6\nright 7 8 9\n";
  const std::string kept = " nasion:1,2,3 left:4,5,6 right:7,8,9";
  const SideCase cases[] = {
      {"as it should be", "2\n1 0.5 1 2\n2 3 4 5\n" + fiducials, "1 1:0.5,1,2 2:3,4,5",
       "1 1:0.5,1,2 2:3,4,5" + kept},
      {"no points", "0\n" + fiducials, "1", "1" + kept},
      {"no last line end", "0\n" + fiducials.substr(0, fiducials.size() - 1), "0", "1" + kept},
      {"a bad point", "2\n1 1 1 1\nwhat\n" + fiducials, "0 1:1,1,1", "1 1:1,1,1" + kept},
      {"fewer points than it says", "9\n1 1 1 1\n" + fiducials, "0 1:1,1,1", "1 1:1,1,1" + kept},
      {"count that is none", "many\n1 1 1 1\n" + fiducials, "0", "1 1:1,1,1" + kept},
      {"more points than it says", "1\n1 1 1 1\n2 2 2 2\n" + fiducials, "1 1:1,1,1",
       "1 1:1,1,1 2:2,2,2" + kept},
      {"a point in the place of the count", "1 1 1 1\n" + fiducials, "0", "1 1:1,1,1" + kept},
      {"a fourth fiducial", "0\n" + fiducials + "more 0 0 1\n", "1", "1" + kept + " more:0,0,1"},
      {"no fiducials", "1\n1 1 1 1\n", "0 1:1,1,1", "0 1:1,1,1"},
      {"empty", "", "0", "0"},
  };
  expectByRule("run.pos", cases, positions);
  EXPECT_EQ(readFlipped(&ReadingRules::extrasKept, "run.pos", "0\n" + fiducials, positions), "1" + kept);
}

TEST(Positions, VirtualChannelsByRule) {
  const std::string text =
      "// Virtual channel configuration\r\n\r\nVirtualChannel\r\n{\r\n\tName:\tA b \r\n\tUnit:\tfT\r\n"
      "\tRef:\tMLC11, 0.5\r\n\tRef:\t(MLC12),-1\r\n}\r\nVirtualChannel\n{\nName: B\nRef: STIM, x\nodd\n}";
  const SideCase cases[] = {
      {"two", text, "0", "0 A b[fT] 0.5*MLC11 B[]"},
      {"none", "//VIRTUAL CHANNEL CONFIGURATION\n{\n}\n", "0", "0"},
      {"only separators, and a comment with the word", "// VirtualChannels\nVirtualChannel\nRef: ,,)\n", "0",
       "0"},
  };
  expectByRule("VirtualChannels", cases, virtualChannels);
  EXPECT_EQ(readFlipped(&ReadingRules::extrasKept, "VirtualChannels",
                        "\nVirtualChannel\n" + std::string(4096, '\n') + "Name: A\n", virtualChannels),
            "0 A[]");
}

}  // namespace
