#include "capi/json_members.h"

#include <algorithm>

#include "capi/failure.h"

namespace ctfmeg::capi {

void refuse(const std::string& name, const char* must) { throw Misuse("\"" + name + "\" must be " + must); }

Json parsed(const char* text, const std::string& what) {
  if (text == nullptr) return Json::object();
  Json json = Json::parse(text, nullptr, false);
  if (json.is_discarded()) throw Misuse(what + " is no JSON");
  return json;
}

std::optional<double> secondsOrNone(const Json& json, const std::string& name, const char* must) {
  if (json.is_null()) return std::nullopt;
  if (!json.is_number()) refuse(name, must);
  return json.get<double>();
}

Members::Members(const Json& object, const std::string& what) : m_object(object), m_what(what) {
  if (!object.is_object()) throw Misuse(what + " is no JSON object");
}

const Json* Members::find(const std::string& name) {
  m_known.insert(name);
  const auto place = m_object.find(name);
  return place == m_object.end() || place->is_null() ? nullptr : &*place;
}

std::vector<Json> Members::list(const std::string& name, const char* must) {
  const Json* json = find(name);
  if (json == nullptr) return {};
  if (!json->is_array()) refuse(name, must);
  return {json->begin(), json->end()};
}

bool Members::flag(const std::string& name) {
  const Json* json = find(name);
  if (json != nullptr && !json->is_boolean()) refuse(name, "true or false");
  return json != nullptr && json->get<bool>();
}

std::optional<int> Members::number(const std::string& name, int least) {
  const Json* json = find(name);
  if (json == nullptr) return std::nullopt;
  return wholeNumber(*json, name, least, least == 0 ? "a whole number from 0" : "a whole number from 1");
}

std::optional<double> Members::seconds(const std::string& name) {
  const Json* json = find(name);
  return json == nullptr ? std::nullopt : secondsOrNone(*json, name, "a number of seconds");
}

std::optional<std::string> Members::text(const std::string& name) {
  const Json* json = find(name);
  if (json == nullptr) return std::nullopt;
  if (!json->is_string()) refuse(name, "a text");
  return json->get<std::string>();
}

std::optional<std::vector<std::string>> Members::names(const std::string& name) {
  if (find(name) == nullptr) return std::nullopt;
  std::vector<std::string> names;
  for (const Json& one : list(name, "a list of names")) {
    if (!one.is_string()) refuse(name, "a list of names");
    names.push_back(one.get<std::string>());
  }
  return names;
}

void Members::end() const {
  const auto members = m_object.items();
  const auto unknown = std::find_if(members.begin(), members.end(),
                                    [this](const auto& member) { return !m_known.contains(member.key()); });
  if (unknown != members.end())
    throw Misuse(m_what + " has no member \"" + unknown.key() + "\"; there are " +
                 listText({m_known.begin(), m_known.end()}));
}

}  // namespace ctfmeg::capi
