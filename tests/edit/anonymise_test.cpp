#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <set>

#include "ctf/information_file.h"
#include "edit/information_tree.h"
#include "edit/removed_values.h"
#include "edit/resource_fields.h"
#include "edit/shifted_dates.h"
#include "simulate/dataset.h"
#include "support/bytes.h"
#include "support/temporary_directory.h"

#include <ctfmeg/edit.h>
#include <ctfmeg/inspect.h>
#include <ctfmeg/path_text.h>

namespace {

using namespace ctfmeg;
using namespace ctfmeg::edit;
namespace fs = std::filesystem;
using Kind = LayoutField::Kind;

constexpr std::string_view kSalt = "Salzkorn";

/// Different each time, so that no two fields hold the same.
std::string salt() {
  static int number = 0;
  return std::string(kSalt) + std::to_string(++number);
}

std::string salted(std::size_t width) {
  std::string text = salt();
  text += '\0';
  while (text.size() < width)
    text += salt();
  return text.substr(0, width);
}

std::string wide(std::string_view text) {
  std::string bytes;
  for (const char c : text)
    bytes.append(1, c).append(1, '\0');
  return bytes;
}

/// A small dataset "Salzbergwerk" with all kinds of files, and a place for its copy.
class Anonymise : public testing::Test {
 protected:
  void SetUp() override {
    simulate::Options options;
    options.channels = 24;
    options.trials = 3;
    options.samples = 30;
    simulate::writeDataset(m_in, options);
  }

  fs::path file(const std::string& name) const { return m_in / name; }
  std::string copied(const std::string& name) const { return readFile(m_out / name); }

  void change(const std::string& name, const std::function<std::string(std::string)>& to) const {
    writeFile(file(name), to(readFile(file(name))));
  }
  void replace(const std::string& name, const std::string& from, const std::string& to) const {
    change(name, [&](std::string bytes) {
      EXPECT_NE(bytes.find(from), std::string::npos) << from;
      return bytes.replace(bytes.find(from), from.size(), to);
    });
  }

  /// The sentence with which it fails; nothing of the copy is then there.
  std::string failure(const Anonymising& how) const {
    try {
      anonymiseDataset(m_in, m_out, how);
    } catch (const Error& error) {
      EXPECT_FALSE(fs::exists(m_out));
      EXPECT_EQ(error.text().find(kSalt), std::string::npos) << error.text();
      return error.text();
    }
    return {};
  }

  TemporaryDirectory m_directory;
  fs::path m_in = m_directory.path() / "Salzbergwerk.ds", m_out = m_directory.path() / "out.ds";
};

/// Salt in every text, filler and slot that does not count, and after each name.
std::string saltedResource(std::string bytes) {
  const ResourcePlaces places = placesOf(bytes, "run.res4");
  const auto put = [&](std::size_t offset, std::size_t width) {
    bytes.replace(offset, width, salted(width));
  };
  const auto putAfter = [&](std::size_t offset, std::size_t width) {
    const std::size_t name = std::min(bytes.find('\0', offset) - offset + 1, width);
    put(offset + name, width - name);
  };
  const auto putRecord = [&](const std::vector<LayoutField>& fields, std::size_t start,
                             std::size_t references) {
    for (const LayoutField& field : fields)
      for (std::size_t i = 0; i < field.slots; ++i) {
        const std::size_t offset = start + field.offset + i * field.width;
        if (field.kind == Kind::text || field.kind == Kind::filler || (field.slots == 50 && i >= references))
          put(offset, field.width);
        else if (field.kind == Kind::name)
          putAfter(offset, field.width);
      }
  };
  putRecord(generalHeaderFields(), 0, 0);
  put(places.description, places.descriptionLength);
  for (std::size_t i = 0; i < places.channels; ++i) {
    putAfter(places.names + i * kChannelNameSize, kChannelNameSize);
    const std::size_t sensor = places.sensors + i * kSensorRecordSize;
    putRecord(sensorFields(), sensor, 0);
    put(sensor + 48 + 7 * 80, 80);  // the last coil, which no channel has
    put(sensor + 48 + 15 * 80, 80);
  }
  for (std::size_t i = 0; i < places.coefficientRecords; ++i) {
    const std::size_t record = places.coefficients + i * kCoefficientRecordSize;
    putRecord(coefficientFields(), record, static_cast<unsigned char>(bytes[record + 41]));
  }
  return bytes + salt();
}

std::string infoText(std::string_view tag, std::string_view text, int type = 10) {
  Bytes bytes;
  bytes.i32(static_cast<int>(tag.size())).raw(tag).i32(type);
  if (type == 11) bytes.i32(1);
  return bytes.i32(static_cast<int>(text.size())).raw(text).str();
}

std::string infoBlock(std::string_view tag, const std::string& entries) {
  return Bytes().i32(static_cast<int>(tag.size())).raw(tag).i32(2).raw("WS1_").raw(entries).str() +
         Bytes().i32(24).raw("EndOfParameters" + std::string(kSalt) + "1").str();
}

/// Every tag there is, each with salt for its value, where it belongs and at the top.
std::string saltedInformation() {
  std::string all;
  for (const InfoTag& tag : infoTags())
    all += infoText(tag.name, salt()) + infoText(tag.name, salt(), 11) +
           infoText(std::string(tag.name) + '\0' + salt(), salt(), 3);
  all += infoText(salt(), salt()) + infoBlock("_OTHER", infoText("_PATIENT_ID", salt()));
  all += Bytes().i32(16).raw("_DATASET_VERSION").i32(5).i32(2).str();
  std::string file = "WS1_" + all;
  for (const char* block : {"_PATIENT_INFO", "_PROCEDURE_INFO", "_DATASET_INFO"})
    file += infoBlock(block, all);
  return file + Bytes().i32(15).raw("EndOfParameters").str() + salt();
}

/// Salt after each line but names, and in lines of its own.
std::string saltedLines(const std::string& text, bool appending = true) {
  std::string salty, before;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = text.find('\n', start);
    const std::string line = text.substr(start, end - start);
    const bool isName = before == "NAME:" || line.find("Name:") != std::string::npos ||
                        line.find("Unit:") != std::string::npos;
    salty += line + (line.empty() || isName || !appending ? "" : "\t" + salt()) + "\n";
    before = line;
    start = end + 1;
  }
  return salty + salt() + "\n";
}

TEST_F(Anonymise, LeavesNoSalt) {
  anonymiseDataset(m_in, m_out);
  std::map<std::string, std::string> plain;  // what anonymising makes of the dataset without salt
  for (const auto& entry : fs::directory_iterator(m_out))
    plain[textOf(entry.path().filename())] = readFile(entry.path());
  fs::remove_all(m_out);

  const std::string name = "Salzbergwerk";
  const std::string source = readFile(file(name + ".res4"));
  change(name + ".res4", saltedResource);
  change(name + ".infods", [](const std::string&) { return saltedInformation(); });
  for (const std::string text : {"MarkerFile.mrk", "ClassFile.cls", "bad.segments", "VirtualChannels"})
    change(text, [](const std::string& lines) { return saltedLines(lines); });
  for (const std::string extension : {".hc", ".eeg", ".pos"})
    change(name + extension, [](const std::string& lines) { return saltedLines(lines); });
  change("BadChannels", [](const std::string& lines) { return saltedLines(lines, false); });
  change(name + ".meg4", [](const std::string& samples) { return samples + salt(); });
  fs::create_directories(file("hz.ds"));
  for (const char* stray : {"hist", "Salzbergwerk.acq", "Salzbergwerk.newds", "processing.cfg", "params.dsc",
                            "hz.ds/hz.res4", "Salzkorn1_report.pdf", "Salzbergwerk.1_meg4"})
    writeFile(file(stray), salt() + wide(salt()));

  const AnonymiseReport report = anonymiseDataset(m_in, m_out);
  std::set<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(m_out)) {
    const std::string bytes = readFile(entry.path()), file = textOf(entry.path().filename());
    names.insert(file);
    for (const std::string_view found : {"Salz", "salz"}) {
      EXPECT_EQ(bytes.find(found), std::string::npos) << file;
      EXPECT_EQ(bytes.find(wide(found)), std::string::npos) << file;
    }
    // Colours have salt, so they go; tags of the information file too.
    const bool differs = file == "MarkerFile.mrk" || file == "ClassFile.cls" || file.ends_with(".infods");
    EXPECT_TRUE(differs || bytes == plain[file]) << file;
  }
  EXPECT_EQ(names.size(), plain.size());
  for (const Change& change : report.changes)
    EXPECT_EQ((change.file + change.field).find("Salz"), std::string::npos) << change.file << change.field;
  for (const Finding& warning : report.warnings)
    EXPECT_EQ((warning.file + warning.text).find("Salz"), std::string::npos) << warning.text;
  EXPECT_EQ(report.markers, (std::vector<std::string>{"tone", "button"}));
  EXPECT_EQ(report.classes, std::vector<std::string>{"BAD"});
  EXPECT_EQ(report.channels.back(), "difference");

  // Numbers are as they were.
  const std::string copy = copied("out.res4");
  ASSERT_EQ(copy.size(), source.size());
  const ResourcePlaces places = placesOf(copy, "out.res4");
  EXPECT_EQ(copy.substr(places.filters, places.names - places.filters),
            source.substr(places.filters, places.names - places.filters));
  for (const LayoutField& field : generalHeaderFields())
    EXPECT_TRUE(field.kind != Kind::number ||
                copy.substr(field.offset, field.width) == source.substr(field.offset, field.width));
  const std::size_t sensors = places.coefficientCount - places.sensors;
  EXPECT_TRUE(copy.substr(places.sensors, sensors) == source.substr(places.sensors, sensors));

  const Recording recording = Recording::open(m_out);
  EXPECT_TRUE(recording.warnings().empty() && inspect(recording).empty());
  EXPECT_EQ(recording.sampleFiles().status, SampleStatus::ok);
  const Recording byHosts = Recording::open(m_out, {.rules = Rules::host});
  EXPECT_EQ(byHosts.channels().size(), 24U);
  EXPECT_EQ(fs::last_write_time(m_out / "out.res4"), fs::last_write_time(m_out));
}

TEST_F(Anonymise, KeepsFilesThatHoldNoRemovedValue) {
  const std::string subject = "SIM0001";  // of every simulated dataset
  writeFile(file("Salzbergwerk.acq"), "amplifiers");
  writeFile(file("text8"), "of sim0001.");
  writeFile(file("text16"), "\x01" + wide("of SIM0001"));
  writeFile(file("date"), "born 2000-01-01T10:00");
  writeFile(file("name"), "was salzbergwerk.ds");
  writeFile(file("SIM0001.txt"), "");
  Anonymising how;
  how.keep = {"Salzbergwerk.acq"};
  anonymiseDataset(m_in, m_out, how);
  EXPECT_EQ(copied("out.acq"), "amplifiers");
  fs::remove_all(m_out);
  how.keep = {"none"};
  EXPECT_EQ(failure(how).find("SIM0001"), std::string::npos) << failure(how);
  for (const auto& [kept, said] : {std::pair{"text8", "at byte 3"},
                                   {"text16", "at byte"},
                                   {"date", "at byte 5"},
                                   {"name", "at byte 4"},
                                   {"SIM0001.txt", "has a name that holds"},
                                   {"none", "there are BadChannels, ClassFile.cls"}}) {
    how.keep = {kept};
    EXPECT_NE(failure(how).find(said), std::string::npos) << kept << ": " << failure(how);
  }
}

TEST_F(Anonymise, MovesDatesTogether) {
  Anonymising how;
  how.dates = Dates::shift;
  how.shiftDays = -31;
  how.subject = "S 1";
  anonymiseDataset(m_in, m_out, how);
  const Recording moved = Recording::open(m_out);
  EXPECT_EQ(moved.record().dataDate, "01-Dec-2023");
  EXPECT_EQ(moved.record().dataTime, "12:00");
  EXPECT_EQ(moved.record().subjectId, "S 1");
  const std::string information = copied("out.infods");
  EXPECT_NE(information.find("20231201120000"), std::string::npos);
  EXPECT_EQ(information.find("BIRTHDATE"), std::string::npos);
  fs::remove_all(m_out);

  how.dates = Dates::keep;
  replace("Salzbergwerk.infods", "20240101120000", "01-01-24 12:00");
  const auto warnings = anonymiseDataset(m_in, m_out, how).warnings;
  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_NE(warnings[0].text.find("in _PROCEDURE_STARTEDDATETIME that is not of the form"), std::string::npos)
      << warnings[0].text;
  fs::remove_all(m_out);
  replace("Salzbergwerk.infods", "01-01-24 12:00", "20240101120000");
  replace("Salzbergwerk.res4", "12:00", "noon!");
  anonymiseDataset(m_in, m_out, how);
  const Recording kept = Recording::open(m_out);
  EXPECT_EQ(kept.record().dataDate, "01-Jan-2024");
  EXPECT_EQ(kept.record().dataTime, "");
  EXPECT_NE(copied("out.infods").find("20240101120000"), std::string::npos);
}

TEST_F(Anonymise, AsksForNamesThatHoldARemovedValue) {
  replace("MarkerFile.mrk", "button", "sim0001_x");
  EXPECT_NE(failure({}).find("of markers in MarkerFile.mrk, number 2"), std::string::npos) << failure({});
  replace("MarkerFile.mrk", "sim0001_x", "leeAnn");
  fs::create_directory(file("hz.ds"));
  const std::string names = infoText("_PATIENT_NAME_FIRST", "Ann") + infoText("_PATIENT_NAME_LAST", "Lee");
  writeFile(file("hz.ds/hz.infods"), infoBlock("", infoBlock("_PATIENT_INFO", names)).substr(8));
  writeFile(file("hz.ds/hz.res4"), readFile(file("Salzbergwerk.res4")).substr(0, 2000));
  EXPECT_NE(failure({}).find("of markers in MarkerFile.mrk, number 2"), std::string::npos) << failure({});
  replace("MarkerFile.mrk", "leeAnn", "sim0001_x");
  Anonymising how;
  how.keepNames = true;
  EXPECT_EQ(anonymiseDataset(m_in, m_out, how).markers.back(), "sim0001_x");
  fs::remove_all(m_out);
  for (const std::string label : {"more than thirty-one characters.", "\xCE\xA9", "a\nb"}) {
    how.subject = label;
    EXPECT_NE(failure(how).find("label of a subject"), std::string::npos) << label;
  }
}

TEST_F(Anonymise, TakesDamagedLines) {
  replace("MarkerFile.mrk", "COLOR:\n", "COLOR:\nblue" + std::string("\0Q\n", 3));
  replace("VirtualChannels", "Ref:", "junk Ref:");
  replace("MarkerFile.mrk", "CLASSID:\n+1", "CLASSID:\n1+1=junk");
  replace("ClassFile.cls", "CLASSID:\n+", "CLASSID:\n+" + std::string(40, '0'));
  replace("Salzbergwerk.hc", "\tx = ", "junkx = ");
  replace("Salzbergwerk.eeg", "1\tEEG", "99999999999999999991\tEEG");
  anonymiseDataset(m_in, m_out);
  EXPECT_NE(copied("MarkerFile.mrk").find("COLOR:\nblue\n"), std::string::npos);
  for (const char* text : {"MarkerFile.mrk", "VirtualChannels", "out.hc"})
    EXPECT_EQ(copied(text).find("junk"), std::string::npos) << text;
  EXPECT_NE(copied("out.eeg").find("2147483647\tEEG"), std::string::npos);
}

TEST_F(Anonymise, LooksAtItsOwnName) {
  m_out = m_directory.path() / "x_sim0001.ds";
  EXPECT_NE(failure({}).find("would have a name"), std::string::npos) << failure({});
  Anonymising how;
  how.subject = "sim0001";
  m_out = m_directory.path() / "out.ds";
  EXPECT_NE(failure(how).find("label of a subject"), std::string::npos) << failure(how);
  m_out = m_directory.path() / "Salzbergwerk2.ds";
  const auto warnings = anonymiseDataset(m_in, m_out).warnings;
  ASSERT_EQ(warnings.size(), 1U);
  EXPECT_EQ(warnings[0].code, "copy.name");
  change("Salzbergwerk.infods", [](const std::string&) {
    return infoBlock("", infoBlock("_PATIENT_INFO", infoText("_PATIENT_NAME_LAST", "Salzbergwerk")))
        .substr(8);
  });
  fs::create_directory(m_directory.path() / "new");
  m_out = m_directory.path() / "new/Salzbergwerk.ds";
  EXPECT_NE(failure({}).find("would have a name"), std::string::npos) << failure({});
}

TEST(RemovedValues, AreWholeWordsInAnyCaseAndEncoding) {
  RemovedValues values;
  values.add("M\xFCller");
  values.addName("Smith^Jo");
  values.addName("Ann Lee");
  values.add("1234");
  values.addDate({2013, 4, 29});
  const std::vector<std::pair<std::string, bool>> cases{{"m\xDCLLER", true},
                                                        {"M\xC3\xBCller", true},
                                                        {"Mueller", false},
                                                        {"a_SMITH_b", true},
                                                        {"Smithson", false},
                                                        {"\xC3\xA9smith", false},
                                                        {"\xE2\x80\x9CSmith\xE2\x80\x9D", true},
                                                        {"Jo", false},
                                                        {"xSmith2", true},
                                                        {"JoSmithButton", true},
                                                        {"SMITHButton", true},
                                                        {"SMITHSON", false},
                                                        {"LeeAnn", true},
                                                        {"ann-lee", true},
                                                        {"Ann", false},
                                                        {"xM\xFCller", false},
                                                        {"x 1234;", true},
                                                        {"5.1234", false},
                                                        {"1234.5", false},
                                                        {"1234.", true},
                                                        {"29-APR-2013", true},
                                                        {"4/29/2013", true},
                                                        {"20130429093618", true},
                                                        {"201304290936", false},
                                                        {"1.20130429093618.7", true},
                                                        {"2013-04-29T09", true},
                                                        {"120130429", false},
                                                        {"29 April 2013", true},
                                                        {"2013_04_29", true},
                                                        {"29apr2013", true},
                                                        {"29-Apr-13", true},
                                                        {"x_29042013", true},
                                                        {"0.29042013", false},
                                                        {"4/29/13", true},
                                                        {"29-04-13_a", true},
                                                        {"1-29-04-13", false},
                                                        {"130429", true},
                                                        {"1304291", false},
                                                        {"x130429", false}};
  for (const auto& [text, is] : cases) {
    EXPECT_EQ(values.isIn(text), is) << text;
    const bool isAscii = std::all_of(text.begin(), text.end(), [](char c) { return c > 0; });
    EXPECT_EQ(isAscii && values.isIn("a" + wide("\n" + text + "\n")), isAscii && is) << text;
  }
  EXPECT_FALSE(values.textsNotIn("").isIn("130429 29042013"));
  EXPECT_EQ(values.masked("Report of Smith 1234.pdf"), "Report of \xE2\x80\xA6 \xE2\x80\xA6.pdf");
}

TEST(ShiftedDates, KeepTheirForm) {
  const std::vector<std::array<std::string, 2>> cases{{"29-Apr-2013", "06-May-2013"},
                                                      {"9 april 2013", "16 april 2013"},
                                                      {"APR 29, 2013", "MAY 06, 2013"},
                                                      {"29/04/2013", "06/05/2013"},
                                                      {"04/29/2013", "05/06/2013"},
                                                      {"2013-04-29", "2013-05-06"},
                                                      {"20130429", "20130506"},
                                                      {"28-Dec-99", "04-Jan-00"},
                                                      {"03/04/2013", ""},
                                                      {"30-Dec-69", ""},
                                                      {"spring", ""}};
  for (const auto& [text, moved] : cases)
    EXPECT_EQ(shiftedDate(text, 7).value_or(""), moved) << text;
  EXPECT_EQ(shiftedTimestamp("20130429093618", 7), "20130506093618");
  EXPECT_EQ(shiftedTimestamp("20130429093618.25", 7), "20130506093618");
  EXPECT_EQ(shiftedTimestamp("2013-04-29 09:36:18", 7), "2013-05-06 09:36:18");
  for (const char* none : {"20130429096618", "2013-04-29 09.36.18", "20130429093618.x", "20130429.5"})
    EXPECT_FALSE(dateOfTimestamp(none)) << none;
  EXPECT_FALSE(shiftedTimestamp("19000100000000", 7) || shiftedTimestamp("19000105000000", -7));
  EXPECT_EQ(possibleDates("03/04/2013").size(), 2U);
}

TEST(InformationTree, KeepsBytesOfWhatIsDamaged) {
  const std::string whole = saltedInformation();
  const std::size_t end = whole.rfind(kInfoEnd) + kInfoEnd.size();
  for (std::size_t length = 0; length < whole.size(); length += 7) {
    const InfoTree tree = readInfoTree(whole.substr(0, length));
    EXPECT_EQ(tree.damage.empty(), length >= end) << length;
    EXPECT_EQ(bytesOf(tree), whole.substr(0, length));
  }
  std::string nested = "WS1_";
  for (int i = 0; i < 40; ++i)
    nested += Bytes().i32(1).raw("b").i32(2).raw("WS1_").str();
  EXPECT_NE(readInfoTree(nested).damage.find("deeper than 32"), std::string::npos);
  EXPECT_EQ(bytesOf(readInfoTree(nested)), nested);
}

}  // namespace
