#include "output/json.h"

#include <nlohmann/json.hpp>

#include "output/visible_text.h"

namespace ctfmeg::output {

std::string dump(const Json& json) {
  return harmlessJson(json.dump(-1, ' ', false, Json::error_handler_t::replace));
}

JsonPieces::JsonPieces(std::ostream& out, char open, char close, int depth)
    : m_out(out), m_close(close), m_indent(static_cast<std::size_t>(depth) * 2, ' ') {
  m_out << open;
}

std::ostream& JsonPieces::next() {
  m_out << (m_empty ? "\n" : ",\n") << m_indent << "  ";
  m_empty = false;
  return m_out;
}

std::ostream& JsonPieces::next(const std::string& key) { return next() << dump(key) << ": "; }

void JsonPieces::end() { m_out << (m_empty ? "" : "\n" + m_indent) << m_close; }

}  // namespace ctfmeg::output
