#pragma once

#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string>

namespace ctfmeg::output {

/// Keys stay in the order in which they were set.
using Json = nlohmann::ordered_json;

/// JSON on one line, in UTF-8: bytes that are no UTF-8 are replaced, characters that would confuse a terminal
/// are escaped, and numbers that JSON can't hold are null.
std::string dump(const Json& json);

/// Writes an object or a list piece by piece, each piece on its own line: a recording may have a great many
/// of everything.
class JsonPieces {
 public:
  /// `open` and `close` are the brackets; `depth` is how deep the object or list is nested.
  JsonPieces(std::ostream& out, char open, char close, int depth);
  JsonPieces(const JsonPieces&) = delete;
  JsonPieces& operator=(const JsonPieces&) = delete;

  /// Begins the next element of a list.
  std::ostream& next();
  /// Begins the next member of an object.
  std::ostream& next(const std::string& key);

  void end();

 private:
  std::ostream& m_out;
  char m_close;
  std::string m_indent;
  bool m_empty = true;
};

/// Writes a list, each element as `convert` makes JSON of it.
template <class List, class Convert>
void writeJsonList(std::ostream& out, const List& list, int depth, Convert convert) {
  JsonPieces elements(out, '[', ']', depth);
  for (const auto& item : list)
    elements.next() << dump(convert(item));
  elements.end();
}

}  // namespace ctfmeg::output
