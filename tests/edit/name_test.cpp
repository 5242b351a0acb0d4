#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "edit/dataset_name.h"
#include "edit/rename.h"
#include "simulate/dataset.h"
#include "support/temporary_directory.h"

#include <ctfmeg/edit.h>

namespace ctfmeg::edit {
namespace {

namespace fs = std::filesystem;

std::string bytesIn(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

TEST(DatasetName, ChangesWhereItIsAPartOfAPathAndNowhereElse) {
  const DatasetName name({"run", "r\xC3\xBCn 1.2"}, "n\xC3\xA4w");
  const std::string now = "n\xE4w";  // in the letters of the texts
  const struct {
    const char* before;
    std::string asValue, asOwnPath, asText;
  } cases[] = {
      {"run", now, now, "run"},
      {"run.ds", now + ".ds", now + ".ds", now + ".ds"},
      {"/a/run.ds/run.res4", "/a/" + now + ".ds/" + now + ".res4", "/a/" + now + ".ds/" + now,
       "/a/" + now + ".ds/" + now + ".res4"},
      {"C:\\run\\other.ds\\", "C:\\" + now + "\\other.ds\\", "C:\\" + now + "\\" + now + ".ds\\",
       "C:\\" + now + "\\other.ds\\"},
      {"rerun.ds", "rerun.ds", now + ".ds", "rerun.ds"},
      {"a run of rune.ds", "a run of rune.ds", now + ".ds", "a run of rune.ds"},
      {"copy of \"run.1_meg4\", run", "copy of \"" + now + ".1_meg4\", run", now,
       "copy of \"" + now + ".1_meg4\", run"},
      {"/a/r\xFCn 1.2.ds", "/a/" + now + ".ds", "/a/" + now + ".ds", "/a/" + now + ".ds"},
      {"/a/r\xC3\xBCn 1.2.ds", "/a/n\xC3\xA4w.ds", "/a/" + now + ".ds", "/a/n\xC3\xA4w.ds"},
      {"", "", "", ""},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(name.inValue(each.before), each.asValue) << each.before;
    EXPECT_EQ(name.inOwnPath(each.before), each.asOwnPath) << each.before;
    EXPECT_EQ(name.inText(each.before), each.asText) << each.before;
  }
  EXPECT_EQ(name.ofFile("hz.ds/run.mrk.bak"), "hz.ds/n\xC3\xA4w.mrk.bak");
  EXPECT_EQ(name.ofFile("runs.res4"), "runs.res4");
}

TEST(Rename, LetsTheRunDescriptionGrowAndRefusesAFieldWithoutRoom) {
  TemporaryDirectory directory;
  const fs::path in = directory.path() / "a.ds", out = directory.path() / "longer name.ds";
  simulate::Options options;
  options.channels = 4;
  options.samples = 10;
  simulate::writeDataset(in, options);
  std::string resource = bytesIn(in / "a.res4");
  const std::string before = "Simulated recording", after = "see /d/a.ds, field ";
  ASSERT_EQ(before.size(), after.size());
  resource.replace(resource.find(before), before.size(), after);
  std::ofstream(in / "a.res4", std::ios::binary) << resource;

  renameDataset(in, out);
  const Recording renamed = Recording::open(out);
  EXPECT_TRUE(renamed.record().runDescription.starts_with("see /d/longer name.ds, field "));
  renameDataset(out, directory.path() / "x.ds");
  fs::rename(in, directory.path() / "first.ds");
  renameDataset(directory.path() / "x.ds", in);
  EXPECT_EQ(bytesIn(in / "a.res4"), resource);

  resource.replace(resource.find("simulated"), 10, std::string("a\0", 2) + "imulated");
  const DatasetName name({"a"}, std::string(256, 'n'));
  try {
    renamedResource(resource, name, "a.res4");
    FAIL();
  } catch (const Error& error) {
    EXPECT_EQ(error.kind(), ErrorKind::refused);
    EXPECT_EQ(error.text(),
              "has no room for the new name in its field dataOrigin, which holds 255 characters");
  }
}

}  // namespace
}  // namespace ctfmeg::edit
