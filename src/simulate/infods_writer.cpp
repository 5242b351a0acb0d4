#include "simulate/infods_writer.h"

#include <string_view>

#include "simulate/big_endian.h"
#include "simulate/output_file.h"

namespace ctfmeg::simulate {

namespace {

// Tags and values, one after another, between the marks of blocks.
class InfodsBuffer {
 public:
  InfodsBuffer() { out_.characters(kMark); }

  void beginBlock(std::string_view tag) {
    put(tag, 2);
    out_.characters(kMark);
  }
  void end() { name("EndOfParameters"); }
  void text(std::string_view tag, std::string_view value) {
    put(tag, 10);
    name(value);
  }
  void integer(std::string_view tag, std::int32_t value) {
    put(tag, 5);
    out_.int32(value);
  }
  void number(std::string_view tag, double value) {
    put(tag, 4);
    out_.float64(value);
  }
  void short16(std::string_view tag, std::int16_t value) {
    put(tag, 7);
    out_.int16(value);
  }

  std::span<const char> bytes() const { return out_.bytes(); }

 private:
  static constexpr std::string_view kMark = "WS1_";

  void name(std::string_view text) {
    out_.int32(static_cast<std::int32_t>(text.size()));
    out_.characters(text);
  }
  void put(std::string_view tag, std::int32_t type) {
    name(tag);
    out_.int32(type);
  }

  BigEndianBuffer out_;
};

void putPatient(InfodsBuffer& out) {
  out.beginBlock("_PATIENT_INFO");
  out.text("_PATIENT_UID", "2.25.1");
  out.text("_PATIENT_NAME_FIRST", "Simulated");
  out.text("_PATIENT_NAME_MIDDLE", "");
  out.text("_PATIENT_NAME_LAST", "Subject");
  out.text("_PATIENT_ID", "SIM0001");
  out.text("_PATIENT_BIRTHDATE", "20000101000000");
  out.integer("_PATIENT_SEX", 2);
  out.end();
}

void putProcedure(InfodsBuffer& out) {
  out.beginBlock("_PROCEDURE_INFO");
  out.integer("_PROCEDURE_VERSION", 1);
  out.text("_PROCEDURE_UID", "2.25.2");
  out.text("_PROCEDURE_TITLE", "Auditory responses");
  out.integer("_PROCEDURE_STATUS", 1);
  out.text("_PROCEDURE_STARTEDDATETIME", "20240101120000");
  out.end();
}

void putDataset(InfodsBuffer& out, const Options& options) {
  out.beginBlock("_DATASET_INFO");
  out.integer("_DATASET_VERSION", 2);
  out.text("_DATASET_UID", "2.25.3");
  out.text("_DATASET_STATUS", "Not reviewed");
  out.text("_DATASET_COLLECTIONDATETIME", "20240101120000");
  out.text("_DATASET_COLLECTIONSOFTWARE", "CTF dataset simulation");
  out.text("_DATASET_SYSTEM", "simulated");
  out.text("_DATASET_SYSTEMTYPE", "cmeg");
  out.number("_DATASET_LOWERBANDWIDTH", 0.05);
  out.number("_DATASET_UPPERBANDWIDTH", options.rate / 4);
  out.integer("_DATASET_HZ_MODE", 5);
  out.number("_DATASET_MAXHEADMOTION", 0.00125);
  out.short16("_DATASET_MAXHEADMOTIONTRIAL", 1);
  out.text("_DATASET_MAXHEADMOTIONCOIL", "Na");
  out.end();
}

}  // namespace

void writeInfods(const std::filesystem::path& path, const Options& options) {
  InfodsBuffer out;
  putPatient(out);
  putProcedure(out);
  putDataset(out, options);
  out.end();
  OutputFile file(path);
  file.write(out.bytes());
  file.close();
}

}  // namespace ctfmeg::simulate
