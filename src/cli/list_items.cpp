#include "cli/list_items.h"

namespace ctfmeg::cli {

std::vector<std::string> itemsOf(const std::string& list) {
  std::vector<std::string> items{""};
  for (const char c : list)
    if (c == ',')
      items.emplace_back();
    else
      items.back() += c;
  return items;
}

}  // namespace ctfmeg::cli
