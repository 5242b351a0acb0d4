#include "base/scan.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>
#include <type_traits>

namespace ctfmeg {
namespace {

bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Of a number that fits no floating-point type: it is too small, not too large.
bool isTiny(std::string_view number) {
  const std::size_t exponent = number.find_first_of("eE");
  if (exponent != std::string_view::npos) return number[exponent + 1] == '-';
  return number[number.find_first_not_of('0')] == '.';
}

/// What is left of a line.
class Rest {
 public:
  Rest(std::string_view text, AfterNumber after) : m_text(text), m_after(after) {}

  void skipSpace() {
    while (m_next < m_text.size() && isSpace(m_text[m_next]))
      ++m_next;
  }

  bool literal(char c) {
    if (m_next == m_text.size() || m_text[m_next] != c) return false;
    ++m_next;
    return true;
  }

  bool convert(std::int32_t& value, ScanPrecision /*precision*/) {
    const std::string text = asciiAhead();
    if (text.starts_with("+-")) return false;
    const char* first = text.data() + (text.starts_with('+') ? 1 : 0);
    const auto [end, error] = std::from_chars(first, text.data() + text.size(), value);
    if (error == std::errc::invalid_argument) return false;
    if (error == std::errc::result_out_of_range)
      value =
          *first == '-' ? std::numeric_limits<std::int32_t>::min() : std::numeric_limits<std::int32_t>::max();
    return take(text, end);
  }

  bool convert(double& value, ScanPrecision precision) {
    const std::string text = asciiAhead();
    return precision == ScanPrecision::single ? number<float>(text, value) : number<double>(text, value);
  }

  bool convert(std::string& word, ScanPrecision /*precision*/) {
    const std::size_t start = m_next;
    while (m_next < m_text.size() && !isSpace(m_text[m_next]))
      ++m_next;
    word = m_text.substr(start, m_next - start);
    return m_next > start;
  }

 private:
  /// The characters up to the next that no number can hold.
  std::string asciiAhead() const {
    std::string text;
    for (std::size_t i = m_next; i < m_text.size() && m_text[i] > ' ' && m_text[i] < 0x7F; ++i)
      text += m_text[i];
    return text;
  }

  template <class Float>
  bool number(const std::string& text, double& value) {
    Float parsed{};
    const bool negative = text.starts_with('-');
    const char* first = text.data() + (negative || text.starts_with('+') ? 1 : 0);
    if (!isDigit(*first) && !(*first == '.' && isDigit(first[1]))) return false;  // no words such as "inf"
    const auto [end, error] = std::from_chars(first, text.data() + text.size(), parsed);
    if (error == std::errc::invalid_argument) return false;
    if (error == std::errc::result_out_of_range) {
      const bool tooSmall = isTiny({first, end});
      // There is no such number; in single precision hosts rely on infinity.
      if (!tooSmall && std::is_same_v<Float, double>) return false;
      parsed = tooSmall ? Float{0} : std::numeric_limits<Float>::infinity();
    }
    value = static_cast<double>(negative ? -parsed : parsed);
    return take(text, end);
  }

  /// False where something else follows that may not.
  bool take(const std::string& text, const char* end) {
    m_next += static_cast<std::size_t>(end - text.data());
    return m_after == AfterNumber::anything || m_next == m_text.size() || isSpace(m_text[m_next]);
  }

  std::string_view m_text;
  AfterNumber m_after;
  std::size_t m_next = 0;
};

}  // namespace

int scan(std::string_view line, std::string_view format, std::initializer_list<ScanTarget> targets,
         ScanPrecision precision, AfterNumber after) {
  Rest rest(line, after);
  int converted = 0;
  for (const char* c = format.data(); c != format.data() + format.size(); ++c) {
    if (isSpace(*c)) {
      rest.skipSpace();
    } else if (*c != '%') {
      if (!rest.literal(*c)) return converted;
    } else {
      ++c;  // the letter is the target's type again
      rest.skipSpace();
      const ScanTarget target = *(targets.begin() + converted);
      if (!std::visit([&](auto* value) { return rest.convert(*value, precision); }, target)) return converted;
      ++converted;
    }
  }
  return converted;
}

}  // namespace ctfmeg
