#pragma once

#include <optional>
#include <variant>

#include <megreader/datamodel/dataset_information.h>
#include <megreader/framework/cfile.h>
#include "sidefiles/info_fields.h"
#include <megreader/reader/reading_rules.h>

// The information file: "WS1_", then entries up to one named "EndOfParameters". An entry is a name, a type
// code and a value; a value may be a block of entries, again from "WS1_" on. Numbers are big-endian; names
// and texts have their length in 32 bits before them.

/// Type codes of values.
enum class InfoType : std::int32_t {
  text = 1,  ///< 3 and 10, too
  block = 2,
  path = 3,
  float64 = 4,
  int32 = 5,
  int16 = 6,
  uint16 = 7,
  character = 8,
  text32 = 9,  ///< 32 bytes
  longText = 10,
  textList = 11,    ///< a 32-bit count before them; likewise below
  text32List = 12,  ///< 32 bytes each
  int32List = 13,
  signed32 = 14,
  unsigned32 = 15,
  alsoUnsigned32 = 16,
  alsoSigned32 = 17,
};

/// Reads an information file. What is read before a failure stays.
class InfoDsParser {
 public:
  /// Reads `file`, which stands behind "WS1_", into `information`. Both must outlive this.
  InfoDsParser(CFile& file, const ReadingRules& rules, DatasetInformation& information)
      : m_file(file), m_byType(rules.infoByType), m_information(information), m_text(information.text) {}

  /// Reads up to "EndOfParameters". False, with a finding, when the file ends before, or at something that is
  /// none of the above.
  bool parseInfoEntries() { return readEntries(0); }

  /// Whether a top-level block emptied the text that was gathered before it.
  bool beganAnew() const { return m_beganAnew; }

 private:
  using Value = decltype(InformationEntry::value);

  bool readEntries(int depth);
  bool readInfoBlock(int depth);
  bool readInfoTag(const CString& name, InfoType type, int depth);
  bool readTyped(const CString& name, InfoType type, int depth);
  std::optional<Value> readInfoValue(InfoType type, int depth);
  std::optional<Value> readList(InfoType type);
  void store(const CString& name, const InfoField* field, Value value);

  std::optional<CString> readText(std::int64_t length);
  std::optional<CString> readSizedText();
  template <class Number>
  std::optional<Number> readNumber();
  CString decode(std::span<const std::byte> bytes) const;
  bool readMember(InfoBlock block, const wchar_t* tag, int depth);
  bool readMember(CString DatasetInformation::*member, const wchar_t* tag, int depth);
  template <class Number>
  bool readMember(Number DatasetInformation::*member, const wchar_t* tag, int depth);
  Value rendered(const wchar_t* format, std::int64_t number);
  void beginAnew();
  bool fail(const wchar_t* text) const;

  CFile& m_file;
  bool m_byType;
  DatasetInformation& m_information;
  CString& m_text;  // grows by every value as it is rendered, but for those that go to a member
  bool m_beganAnew = false;
};
