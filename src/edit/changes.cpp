#include "edit/changes.h"

#include <algorithm>

namespace ctfmeg {
namespace edit {

void Edited::note(Change::What what, const std::string& field, std::int64_t count) {
  if (count == 0) return;
  const auto noted = std::find_if(changes.begin(), changes.end(), [&](const Change& change) {
    return change.what == what && change.field == field;
  });
  if (noted != changes.end())
    noted->count += count;
  else
    changes.push_back({what, {}, field, count});
}

void append(std::vector<Change>& all, const std::string& file, std::vector<Change> changes) {
  for (Change& change : changes) {
    change.file = file;
    all.push_back(std::move(change));
  }
}

}  // namespace edit

inline namespace v1 {

const char* nameOf(Change::What what) {
  switch (what) {
    case Change::What::kept:
      return "kept";
    case Change::What::removed:
      return "removed";
    case Change::What::shifted:
      return "shifted";
    case Change::What::replaced:
      break;
  }
  return "replaced";
}

}  // namespace v1
}  // namespace ctfmeg
