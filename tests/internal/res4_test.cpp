#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "internal/probe.h"
#include "res4/decode.h"
#include "support/allocations.h"
#include "util/fixed_text.h"

namespace {

using D = MinimalDataset;

TEST(Res4, ReadsHandMadeBytes) {
  Probe reader;
  ASSERT_EQ(reader.readRes4Of({}), 1);
  EXPECT_TRUE(reader.user.transcript().empty());

  const auto& info = reader.info();
  EXPECT_EQ(toUtf8(info.appName), "app");
  EXPECT_EQ(toUtf8(info.dataDate + L" " + info.dataTime), "29-Apr-2013 09:36");
  EXPECT_EQ(toUtf8(info.subjectId), "subject");
  EXPECT_EQ(info.numTrialsAvgd, -3);
  EXPECT_EQ(info.samplesPerTrial, 3);
  EXPECT_EQ(info.samplesPerTrialAcq, 3);
  EXPECT_EQ(info.numChannels, 2);
  EXPECT_EQ(info.numTrials, 2);
  EXPECT_EQ(info.sampleRateAcq, 600.0);
  EXPECT_EQ(info.epochTime, 0.01);
  EXPECT_EQ(info.preTrigSamplesAcq, 1);
  EXPECT_EQ(info.runDescriptionLength, 3);
  EXPECT_EQ(toUtf8(info.runDescription), "hi");
  EXPECT_EQ(info.getRecordedDataSizeByte(), 2 * 2 * 3 * 4);

  ASSERT_EQ(info.filters.size(), 2u);
  EXPECT_EQ(info.filters[0]->frequency, 150.0);
  EXPECT_EQ(info.filters[0]->params, nullptr);
  EXPECT_EQ(info.filters[1]->filterType, 2u);
  EXPECT_EQ(info.filters[1]->numParams, 2);
  EXPECT_EQ(reader.m_runDescLength, 3);
  EXPECT_EQ(reader.m_filterStart, static_cast<int>(D::kFilterCount) + 2);
  EXPECT_EQ(reader.m_channelNameStart, static_cast<int>(D::kNames));

  EXPECT_EQ(toUtf8(reader.m_channelNames.GetAt(0)), "MLC11-2805");
  EXPECT_EQ(toUtf8(reader.m_channelShortNames.GetAt(0)), "MLC11");
  EXPECT_EQ(toUtf8(reader.m_channelShortNames.GetAt(1)), "STIM");

  const CMEGSensorzk& sensor = reader.sensor(0);
  const CMegSquidzk& squid = *sensor.squid();
  EXPECT_EQ(sensor.sensorType, 101);
  EXPECT_EQ(reader.sensor(1).sensorType, 600);
  EXPECT_EQ(sensor.gain(), -2.0e9 * 1048576.0);
  EXPECT_EQ(squid.originalRun, 7);
  EXPECT_EQ(squid.ioOffset, 0.25);
  EXPECT_EQ(squid.numCoils, 2);
  EXPECT_EQ(squid.gradientOrder, 3);
  EXPECT_EQ(squid.stimPolarity, 4);
  EXPECT_EQ(squid.dewarCoils[0].coilShape, 1);
  EXPECT_EQ(squid.dewarCoils[1].numTurns, -2);
  EXPECT_EQ(squid.dewarCoils[0].orientation, (std::array{-0.6, 0.0, 0.8, 0.0}));
  // A head coil without turns or area takes the dewar coil's of its slot, each by itself.
  EXPECT_EQ(squid.headCoils[0].numTurns, 2);
  EXPECT_EQ(squid.headCoils[0].area, 2.5);
  EXPECT_EQ(squid.headCoils[1].numTurns, 1);
  EXPECT_EQ(squid.headCoils[1].area, 1.5);

  const CCoefficientDatazk& coefficients = reader.coefficients(0);
  EXPECT_EQ(toUtf8(coefficients.sensorName), "MLC11-2805");
  EXPECT_EQ(coefficients.coefficientType, 0x47314252u);
  EXPECT_EQ(coefficients.numReferences, 2);
  EXPECT_EQ(toUtf8(coefficients.referenceNames[0]), "BG1-2805");
  EXPECT_EQ(coefficients.values[1], -0.25);
  EXPECT_EQ(coefficients.values.size(), 2U);
}

TEST(Res4, KeepsExtremeNumbers) {
  D dataset;
  dataset.res4.put(776, Bytes().i16(-32768)).put(1316, Bytes().i32(-2147483648));
  dataset.res4.put(1296, Bytes().f64(-0.0).f64(std::numeric_limits<double>::denorm_min()));
  dataset.res4.put(1320, Bytes().i16(32767).i16(-1).i32(2147483647));
  dataset.res4.put(1344, Bytes().i32(-1).i16(-2).i16(99).i32(-3).i32(4));
  dataset.res4.put(D::kSensors + 8, Bytes().f64(std::nan("")));
  dataset.res4.put(D::kSensors + 42, Bytes().i16(-1).i32(-5));
  dataset.res4.put(D::kCoefficients + 32, Bytes().raw("\xFF\x00\x00\x01"));
  Probe reader;
  ASSERT_EQ(reader.readRes4Of(dataset), 1);
  const auto& info = reader.info();
  EXPECT_EQ(info.numTrialsAvgd, -32768);
  EXPECT_EQ(info.preTrigSamples, -2147483648);
  EXPECT_TRUE(std::signbit(info.sampleRate));
  EXPECT_EQ(info.epochTime, std::numeric_limits<double>::denorm_min());
  EXPECT_EQ(info.numTrialsDone, 32767);
  EXPECT_EQ(info.numTrialsDisplay, -1);
  EXPECT_EQ(info.saveTrials, 2147483647);
  EXPECT_EQ((std::array{info.acqSetting1, info.acqSetting2, info.acqSetting3, info.acqSetting4}),
            (std::array{-1, -2, -3, 4}));
  EXPECT_TRUE(std::isnan(reader.sensor(0).squid()->properGain));
  EXPECT_EQ(reader.sensor(0).gain(), 1.0) << "a gain that is not finite counts as 1";
  EXPECT_FALSE(reader.sensor(0).gainIsUsable());
  EXPECT_EQ(reader.codes(), "channel.gain");
  EXPECT_EQ(reader.sensor(0).squid()->gradientOrder, -1);
  EXPECT_EQ(reader.sensor(0).squid()->stimPolarity, -5);
}

TEST(Res4, StoresTriggersByTheirFormat) {
  const auto codesOf = [](int format, Lines& transcript) {
    D dataset;
    dataset.res4.put(1328, Bytes().raw("\x81\x01\x02\x03\x04\x05\x06\x07\x08\x09"))
        .put(1340, Bytes().i16(format));
    Probe reader;
    reader.info().triggerCodes.fill(77);
    EXPECT_EQ(reader.readRes4Of(dataset), 1);
    transcript = reader.user.transcript();
    return reader.info().triggerCodes;
  };
  using Codes = std::array<std::uint32_t, 10>;
  Lines shown;
  EXPECT_EQ(codesOf(0, shown), (Codes{0x81, 9, 1, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_EQ(codesOf(1, shown), (Codes{0x81010203, 0x04050607, 77, 77, 77, 77, 77, 77, 77, 77}));
  EXPECT_EQ(shown, Lines{});
  EXPECT_EQ(codesOf(2, shown), (Codes{77, 77, 77, 77, 77, 77, 77, 77, 77, 77}));
  EXPECT_EQ(shown, Lines{"message: Trigger format error!"});
}

struct TextCase {
  const char* bytes;
  std::size_t size;
  const wchar_t* host;
  const wchar_t* plain;
};

TEST(Res4, DecodesFixedText) {
  const TextCase cases[] = {
      {"AB\0CD", 5, L"ABCD", L"AB"},
      {"  a b \t\0\0", 9, L"a b", L"a b"},
      {"\0\0\0", 3, L"", L""},
      {"\0 x", 3, L"x", L""},
      {"M\xFCller", 6, L"M\xFFFCller", L"M\u00FCller"},
      {"\x80", 1, L"\xFF80", L"\u20AC"},
  };
  for (const TextCase& c : cases) {
    const auto field = std::as_bytes(std::span(c.bytes, c.size));
    EXPECT_EQ(fixedTextToString(field, ReadingRules::host()), c.host) << c.bytes;
    EXPECT_EQ(fixedTextToString(field, hostBut(&ReadingRules::textEndsAtZero)), c.plain) << c.bytes;
  }
}

TEST(Res4, EndsNamesByRule) {
  D dataset;
  dataset.res4.put(D::kNames, Bytes().raw("-ABCDEFGHIJKLMNOPQRSTUVWXYZ12345"));
  dataset.res4.put(D::kNames + 32, Bytes().text(" X-1 ", 32));
  Probe host;
  Probe plain(hostBut(&ReadingRules::nameEndsAtField));
  ASSERT_EQ(host.readRes4Of(dataset), 1);
  ASSERT_EQ(plain.readRes4Of(dataset), 1);
  EXPECT_EQ(toUtf8(host.m_channelNames.GetAt(0)), "-ABCDEFGHIJKLMNOPQRSTUVWXYZ12345 X-1");
  EXPECT_EQ(toUtf8(plain.m_channelNames.GetAt(0)), "-ABCDEFGHIJKLMNOPQRSTUVWXYZ12345");
  // A dash in front leaves nothing for a short name: the whole name it is.
  EXPECT_EQ(plain.m_channelShortNames.GetAt(0), plain.m_channelNames.GetAt(0));
  EXPECT_EQ(toUtf8(plain.m_channelNames.GetAt(1) + L"|" + plain.m_channelShortNames.GetAt(1)), "X-1|X");

  // The last name runs to the end of the buffer and not beyond.
  dataset.res4.put(D::kNames + 32, Bytes().raw(std::string(32, 'z')));
  Probe last;
  ASSERT_EQ(last.readRes4Of(dataset), 1);
  EXPECT_EQ(toUtf8(last.m_channelNames.GetAt(1)), std::string(32, 'z'));
}

TEST(Res4, DecidesByRule) {
  Probe host, text(hostBut(&ReadingRules::textEndsAtZero)),
      coils(hostBut(&ReadingRules::coilsAreCentimetres)),
      filters(hostBut(&ReadingRules::filterParametersSwapped));
  for (Probe* reader : {&host, &text, &coils, &filters})
    ASSERT_EQ(reader->readRes4Of({}), 1);
  EXPECT_EQ(toUtf8(host.coefficients(0).referenceNames[1]), "BG2-2805rubbish");
  EXPECT_EQ(toUtf8(text.coefficients(0).referenceNames[1]), "BG2-2805");
  EXPECT_EQ(host.sensor(0).squid()->dewarCoils[1].position, (std::array{-200.0, 100.0, 800.0, 9.0}));
  EXPECT_EQ(coils.sensor(0).squid()->dewarCoils[1].position, (std::array{-2.0, 1.0, 8.0, 9.0}));
  EXPECT_EQ(coils.sensor(0).squid()->headCoils[0].position, (std::array{-5.0, 4.0, 6.0, 9.0}));
  EXPECT_EQ(std::bit_cast<std::uint64_t>(host.info().filters[1]->params[0]), 0x1040u)
      << "4.0 in the file's order";
  EXPECT_EQ(filters.info().filters[1]->params[0], 4.0);
}

TEST(Res4, ReadsTheOlderGenerationByRule) {
  D dataset;
  dataset.res4.put(0, Bytes().raw("MEG41RS"));
  Probe plain(hostBut(&ReadingRules::olderGeneration));
  Probe host;
  EXPECT_EQ(host.readRes4Of(dataset), 0);
  EXPECT_EQ(host.user.transcript(), Lines{"message: Invalid (MEG42RS) CTF resource file"});
  ASSERT_EQ(plain.readRes4Of(dataset), 1);
  EXPECT_EQ(plain.sensor(0).squid()->stimPolarity, 0);
}

TEST(Res4, MapsSensorTypes) {
  EXPECT_EQ(mapSensorType(0), 10);
  EXPECT_EQ(mapSensorType(5), 101);
  EXPECT_EQ(mapSensorType(9), 302);
  EXPECT_EQ(mapSensorType(10), 400);
  EXPECT_EQ(mapSensorType(18), 402);
  EXPECT_EQ(mapSensorType(20), 602);
  EXPECT_EQ(mapSensorType(24), 5001);
  EXPECT_EQ(mapSensorType(29), 4000);
  for (const int outside : {-32768, -1, 30, 32767})
    EXPECT_EQ(mapSensorType(static_cast<std::int16_t>(outside)), -1);
}

TEST(Res4, HandlesEmptyParts) {
  D dataset;
  std::string bytes = dataset.res4.str();
  bytes.erase(D::kCoefficients).replace(D::kCoefficientCount, 2, 2, '\0');  // no coefficient records
  bytes.erase(D::kFilterCount + 2, D::kNames - D::kFilterCount - 2).replace(D::kFilterCount, 2, 2, '\0');
  bytes.erase(1844, 3).replace(1836, 4, 4, '\0');  // no run description
  dataset.res4 = Bytes().raw(bytes);
  Probe reader;
  reader.info().runDescription = L"as it was";
  ASSERT_EQ(reader.readRes4Of(dataset), 1);
  EXPECT_EQ(reader.info().runDescription, L"as it was");
  EXPECT_EQ(reader.info().runDescriptionLength, 0);
  EXPECT_TRUE(reader.info().filters.empty());
  EXPECT_EQ(reader.m_channelNameStart, 1846);
  EXPECT_EQ(reader.info().getSensorCoefficientzk()->numHeld(), 0);
  EXPECT_EQ(toUtf8(reader.m_channelNames.GetAt(1)), "STIM");
}

TEST(Res4, FailsSilentlyWithAFinding) {
  struct Case {
    const char* what;
    std::size_t offset;
    Bytes patch;
    const char* code;
  };
  const Case cases[] = {
      {"negative run description", 1836, Bytes().i32(-1), "res4.length"},
      {"run description beyond the file", 1836, Bytes().i32(0x7FFFFFFF), "res4.short"},
      {"no channels", 1292, Bytes().i16(0), "res4.counts"},
      {"negative channels", 1292, Bytes().i16(-2), "res4.counts"},
      {"more channels than names", 1292, Bytes().i16(32767), "res4.short"},
      {"more parameters than there are", D::kFilterCount + 2 + 16, Bytes().i16(32767), "res4.short"},
      {"more coefficient records than there are", D::kCoefficientCount, Bytes().i16(2), "res4.short"},
      {"more than 50 references", D::kCoefficients + 40, Bytes().i16(51), "res4.references"},
  };
  for (const Case& c : cases) {
    D dataset;
    dataset.res4.put(c.offset, c.patch);
    Probe reader(ReadingRules::plain());
    EXPECT_EQ(reader.readRes4Of(dataset), 0) << c.what;
    EXPECT_EQ(reader.codes(), c.code) << c.what;
    EXPECT_EQ(reader.user.transcript(), Lines{}) << c.what;
  }
}

TEST(Res4, EveryCutFailsAndKeepsWhatStoodBefore) {
  const D whole;
  for (std::size_t size = 0; size < whole.res4.size(); size += size < 1900 ? 13 : 61) {
    D cut;
    cut.res4 = Bytes().raw(whole.res4.str().substr(0, size));
    Probe reader;
    EXPECT_EQ(reader.readRes4Of(cut), 0) << size;
    EXPECT_EQ(reader.info().samplesPerTrial, size >= 1292 ? 3 : 0) << size;
    EXPECT_EQ(reader.info().numTrials, size >= 1314 ? 2 : 0) << size;
    EXPECT_EQ(reader.info().subjectId, size >= 1744 ? L"subject" : L"") << size;
    EXPECT_EQ(reader.codes(), size < 7 ? "res4.magic" : "res4.short") << size;
  }
}

TEST(Res4, SaysWhenSensorsDoNotFitIntoMemory) {
  Probe reader;
  const CString path = reader.writeDataset({});
  const FailingNew noSquids(sizeof(CMegSquidzk));
  CFile file;
  ASSERT_TRUE(file.Open(path, CFile::modeRead));
  reader.info().numChannels = 1;
  file.Seek(static_cast<std::int64_t>(D::kSensors), CFile::begin);
  EXPECT_EQ(reader.readSensorRecords(file), 0);
  EXPECT_EQ(reader.user.transcript(), Lines{"message: Is memory enough for making MEG sensors?!"});
}

}  // namespace
