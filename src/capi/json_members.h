#pragma once

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/nearest.h"

// Objects that callers of C pass as JSON. What makes no sense in one is Misuse.

namespace ctfmeg::capi {

using Json = nlohmann::json;

[[noreturn]] void refuse(const std::string& name, const char* must);

/// What a text says; null is an empty object. `what` is its name in errors, such as "a selection".
Json parsed(const char* text, const std::string& what);

template <class Number>
Number wholeNumber(const Json& json, const std::string& name, Number least, const char* must) {
  if (!json.is_number_integer()) refuse(name, must);
  if (json.is_number_unsigned()) {
    const auto number = json.get<std::uint64_t>();
    if (number > static_cast<std::uint64_t>(std::numeric_limits<Number>::max())) refuse(name, must);
    if (static_cast<Number>(number) < least) refuse(name, must);
    return static_cast<Number>(number);
  }
  const auto number = json.get<std::int64_t>();
  if (number < static_cast<std::int64_t>(least)) refuse(name, must);
  return static_cast<Number>(number);
}

std::optional<double> secondsOrNone(const Json& json, const std::string& name, const char* must);

/// The members of an object, each looked at once; what nobody looked at has no meaning.
class Members {
 public:
  Members(const Json& object, const std::string& what);

  /// Null where there is no such member, or it is null.
  const Json* find(const std::string& name);
  /// The elements of a list; none where there is no such member.
  std::vector<Json> list(const std::string& name, const char* must);

  bool flag(const std::string& name);
  std::optional<int> number(const std::string& name, int least);
  std::optional<double> seconds(const std::string& name);
  std::optional<std::string> text(const std::string& name);
  std::optional<std::vector<std::string>> names(const std::string& name);

  /// The word of a member, by a list of those that there are; nothing where there is no such member.
  template <class Value>
  std::optional<Value> word(const std::string& name,
                            const std::vector<std::pair<const char*, Value>>& known) {
    const Json* json = find(name);
    if (json == nullptr) return std::nullopt;
    std::vector<std::string> all;
    for (const auto& [text, value] : known) {
      if (*json == text) return value;
      all.push_back(std::string("\"").append(text) + "\"");
    }
    refuse(name, listText(all, "or").c_str());
  }

  /// Throws Misuse for a member that nobody looked at.
  void end() const;

 private:
  const Json& m_object;
  std::string m_what;
  std::set<std::string> m_known;
};

}  // namespace ctfmeg::capi
