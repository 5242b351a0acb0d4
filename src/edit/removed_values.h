#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/dates.h"

namespace ctfmeg::edit {

/// Values that were removed from a dataset, to find them wherever else they are: as whole words, in any case,
/// in text of 8 bits (Windows-1252 or UTF-8) and of 16 bits a character. Values of less than four characters
/// are not looked for: they are in every file. Texts are bytes of files, in Windows-1252 or UTF-8.
class RemovedValues {
 public:
  /// A text, and each line of one that has several.
  void add(std::string_view text);
  void add(const RemovedValues& others);
  /// A name of a person: also each word of it and each two of them joined, for names are put together in
  /// many ways. Such names also end at digits and where a capital letter begins, as in "xSmith2Left".
  void addName(std::string_view name);
  /// A dataset's name, which ends likewise.
  void addDatasetName(std::string_view name);
  /// A path: also the name with which it ends.
  void addPath(std::string_view path);
  /// A date in all usual forms; in those that other numbers may have only as a whole word.
  void addDate(const Date& date);

  /// Whether a value is this text as a whole.
  bool has(std::string_view text) const;
  /// Takes out values that are in this text: they were put there on purpose.
  void allow(std::string_view text);
  void allowDate(const Date& date);

  /// The first byte of a value in a file; nothing where there is none.
  std::optional<std::size_t> placeIn(std::string_view bytes) const;
  bool isIn(std::string_view text) const { return placeIn(text).has_value(); }

  /// A UTF-8 text with an ellipsis in the place of each value.
  std::string masked(std::string_view text) const;

  /// Those that are not in this text; without those that are numbers.
  RemovedValues textsNotIn(std::string_view text) const;

 private:
  enum class Kind { text, name, date, shortDate };
  struct Value {
    std::wstring text;  // in lower case
    Kind kind = Kind::text;
    bool operator==(const Value&) const = default;
  };
  struct Match {
    std::size_t start = 0, length = 0;
  };

  void addValue(std::wstring text, Kind kind = Kind::text);
  void addWide(const std::wstring& text);
  std::optional<Match> firstIn(const std::wstring& text, std::size_t from) const;
  bool isWhole(const Value& value, const std::wstring& text, std::size_t start) const;

  std::vector<Value> m_values;
};

}  // namespace ctfmeg::edit
