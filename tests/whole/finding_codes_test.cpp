#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "base/finding_codes.h"

#include <ctfmeg/reading_rules.h>

namespace {

using namespace ctfmeg;

TEST(FindingCodes, AreDocumentedAndDifferFromEachOther) {
  std::ifstream page(DOCS "/findings.md");
  std::set<std::string> documented;
  for (std::string line; std::getline(page, line);)
    if (line.starts_with("| `")) documented.insert(line);
  std::set<std::string> lines, words;
  for (const CodeInfo& info : findingCodes()) {
    lines.insert(std::string("| `") + info.word + "` | " + info.meaning + " | " + nameOf(info.kind) + " | " +
                 (info.mayNamePerson ? "yes" : "") + " |");
    words.insert(info.word);
    EXPECT_EQ(findCode(info.word), &info);
  }
  EXPECT_EQ(documented, lines);
  EXPECT_EQ(words.size(), findingCodes().size());
  EXPECT_EQ(findCode("no.such"), nullptr);
}

TEST(ReadingRules, AreDocumented) {
  std::ifstream page(DOCS "/reading-rules.md");
  const std::string text{std::istreambuf_iterator<char>(page), {}};
  for (const auto& decision : ReadingRules::decisions())
    EXPECT_NE(text.find(std::string("\n| `") + decision.name + "` |"), std::string::npos) << decision.name;
}

}  // namespace
