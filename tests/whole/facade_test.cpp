#include <gtest/gtest.h>

#include <memory>

#include <megreader/framework/encoding.h>
#include <megreader/reader/meg_reader_face.h>
#include "support/minimal_dataset.h"
#include "support/scripted.h"
#include "support/temporary_directory.h"

// How facades share a reader, and what no file can cause; what files cause is in tables/facade.txt.

namespace {

using D = MinimalDataset;

/// A host: an array that owns its data objects, and a user.
struct Host {
  ~Host() {
    for (int i = 0; i < array.GetSize(); ++i)
      delete at(i);
  }

  CMEGDatazk* at(int index) { return static_cast<CMEGDatazk*>(array.GetAt(index)); }
  CString write(const D& dataset) { return fromUtf8(dataset.write(directory.path()).string()); }
  int read(const CString& path) { return facade.readCTFMEGData2HdPa(path, &array, nullptr, nullptr); }
  int info(CString path) { return facade.readCTFMEGDataInfo(path, &data); }

  TemporaryDirectory directory;
  CPtrArray array;
  CMEGDatazk data;
  CMEGReaderFacezk facade;
  ScriptedInterface user;
  ThreadUserInterface installed{&user};
};

TEST(Facade, RefusesWhatItCannotFillAndPassesOverEmptyPlaces) {
  Host host;
  CString path = host.write({});
  EXPECT_EQ(host.facade.checkCTFMEGData(path, nullptr), 0);
  EXPECT_EQ(host.facade.readCTFMEGDataInfo(path, nullptr), 0);
  EXPECT_EQ(host.facade.readCTFMEGData2HdPa(path, nullptr, nullptr, nullptr), 0);
  host.array.SetAtGrow(0, nullptr);
  ASSERT_EQ(host.read(path), 1);
  ASSERT_EQ(host.read(path), 1);
  EXPECT_EQ(host.at(1)->currentTrial(), 0);
  EXPECT_EQ(host.at(2)->trialSamples(1)[5], D::value(1, 1, 2));
}

TEST(Facade, CopiesShareAReaderThatOutlivesThem) {
  Host host;
  const CString path = host.write({});
  auto first = std::make_unique<CMEGReaderFacezk>();
  CString p = path;
  ASSERT_EQ(first->readCTFMEGDataInfo(p, &host.data), 1);
  CMEGReaderFacezk second(*first);
  host.facade = second;
  first.reset();
  EXPECT_EQ(second.readCTFMEGDataInfo(p, &host.data), 1);
  EXPECT_EQ(host.facade.readCTFMEGData2HdPa(L"missing.res4", &host.array, nullptr, nullptr), 0);
  EXPECT_EQ(second.readCTFMEGDataInfo(p, &host.data), 1)
      << "a failure releases the failing facade's share only";
  EXPECT_EQ(host.info(path), 1) << "and that one makes itself a new one";

  const auto firstCoil = [&](CMEGReaderFacezk& facade) {
    CMEGDatazk data;
    EXPECT_EQ(facade.readCTFMEGDataInfo(p, &data), 1);
    return data.channels().at(0).sensor.squid()->dewarCoils[0].position[2];
  };
  CMEGReaderFacezk fresh, third(second);
  CMEGReaderFacezk unrelated(fresh);
  third.setReadingRules(ReadingRules::plain());
  fresh.setReadingRules(ReadingRules::plain());
  EXPECT_EQ(firstCoil(second), 3.0) << "rules belong to the reader that is shared";
  EXPECT_EQ(firstCoil(unrelated), 300.0) << "there was no reader yet to share";
}

}  // namespace
