#include <gtest/gtest.h>

#include <cstdlib>
#include <optional>
#include <set>

#include "support/allocations.h"
#include "tables/case_run.h"

// Runs the cases in tests/tables/*.txt, each as a test of its own; README.md beside them describes the
// format. With WRITE_TABLES set in the environment, what came out is written into the tables.

namespace {

namespace fs = std::filesystem;

const std::map<std::string, bool ReadingRules::*> kDecisions = [] {
  std::map<std::string, bool ReadingRules::*> members;
  for (const ReadingRules::Decision& decision : ReadingRules::decisions())
    members[decision.name] = decision.member;
  return members;
}();

bool isCommand(const std::string& section) { return section.starts_with("$ "); }

/// Host rules, plain rules, or host rules with the decision of that name taken the other way.
ReadingRules rulesNamed(const std::string& name) {
  if (name == "host") return ReadingRules::host();
  return name == "plain" ? ReadingRules::plain() : hostBut(kDecisions.at(name));
}

/// What comes of a case, as lines: outcomes, what is held that was not before, what was shown, findings.
std::string resultOf(const Case& c, const std::string& rules) {
  if (isCommand(rules)) return printedBy(CaseRun(c, ReadingRules::host()), rules.substr(2));
  for (const std::string& name : c.words("damage"))
    return damageTo(name, c.files.at(name), rulesNamed(rules));
  CaseRun run(c, rulesNamed(rules));
  run.perform(c.text("before"));
  Dump base = run.dump();
  if (!c.text("against").empty()) {
    CaseRun other(Case{}, ReadingRules::host());
    other.perform(c.text("against"));
    base = other.dump();
  }
  std::optional<FailingNew> failing;
  for (const std::string& bytes : c.words("noMemory"))
    failing.emplace(static_cast<std::size_t>(std::stoull(bytes)));
  std::string text = run.perform(c.text("run")) + "\n";
  failing.reset();
  const std::multiset<std::string> known(base.lines().begin(), base.lines().end());
  const Dump after = run.dump();
  for (const std::string& line : after.lines())
    if (!known.contains(line)) text += line + "\n";
  const auto shows = [&](const char* what) { return c.text("show").find(what) != std::string::npos; };
  std::string calls, progress;
  for (const std::string& call : run.trace.calls)
    calls += " " + call.substr(call.starts_with("import") ? 6 : 0);
  if (shows("calls")) text += "calls:" + calls + "\n";
  const std::string folder = toUtf8(toWindowsPath((run.directory.path() / "run.ds").string()));
  for (std::string line : run.user.transcript()) {
    for (std::size_t at = 0; (at = line.find(folder)) != std::string::npos;)
      line.replace(at, folder.size() + 1, "DATASET ");
    replaceAll(line, toUtf8(toWindowsPath(run.directory.path().string())), "HERE");
    const std::string kind = line.substr(0, line.find_first_of(": "));
    if (kind == "progress" || kind == "range" || kind == "position" || kind == "closed")
      progress += (progress.empty() ? "" : ", ") + line;
    else
      text += shownAs(fromUtf8(line)) + "\n";
  }
  if (shows("progress")) text += (progress.empty() ? "no progress" : progress) + "\n";
  for (const Finding& f : run.user.findings()) {
    const std::string file = toUtf8(f.file);
    text += std::array{"remark: ", "warning: ", "error: "}.at(static_cast<std::size_t>(f.severity)) + f.code +
            " " + file.substr(file.find_last_of('\\') + 1) + (f.line ? " line " + shownAs(*f.line) : "") +
            (f.offset ? " byte " + shownAs(*f.offset) : "") + "\n";
  }
  return text;
}

/// The rules that "both" means, or those alone.
std::vector<std::string> rulesIn(const std::string& section) {
  return section == "both" ? std::vector<std::string>{"host", "plain"} : std::vector{section};
}

/// A case as its table has it.
struct Written {
  std::string table, name;
  std::vector<std::string> lines;                             // the table's first lines, then its own
  std::vector<std::pair<std::string, std::string>> expected;  // by the name of the rules

  std::string testName() const {
    std::string test = name;
    std::replace_if(
        test.begin(), test.end(), [](unsigned char c) { return !std::isalnum(c); }, '_');
    return test;
  }

  Case prepared() const {
    Case c;
    for (const std::string& line : lines)
      c.apply(line);
    return c;
  }
};

class TableCase : public testing::Test {
 public:
  explicit TableCase(const Written& written) : m_written(written) {}
  void TestBody() override {
    const Case c = m_written.prepared();
#ifdef _WIN32
    if (c.lists.contains("posix")) GTEST_SKIP();
#endif
    if (c.lists.contains("real") && !fs::exists(REAL_RECORDING))
      GTEST_SKIP() << "the real recording is not here";
    if (c.lists.contains("unreadable") && !someFilesAreUnreadable())
      GTEST_SKIP() << "no file here that opens but can't be read";
    for (const auto& [rules, expected] : m_written.expected)
      for (const std::string& each : rulesIn(rules))
        EXPECT_EQ(resultOf(c, each), expected) << each << " rules";
  }

 private:
  const Written& m_written;
};

/// The cases of a table; `rewritten` is the table with what comes out today, where that is wanted.
std::vector<Written> read(const fs::path& file, std::string* rewritten) {
  std::vector<Written> cases;
  std::vector<std::string> start;
  std::vector<std::string> rules;  // sections to write anew at the end of a case
  const auto finish = [&] {
    std::vector<std::pair<std::string, std::string>> results;
    for (const std::string& each : rewritten ? rules : std::vector<std::string>())
      for (const std::string& name : rulesIn(each))
        results.emplace_back(name, resultOf(cases.back().prepared(), name));
    if (results.size() == 2 && results[1].first == "plain" && results[0].second == results[1].second)
      results = {{"both", results[0].second}};
    for (const auto& [name, text] : results) {
      *rewritten += name + (isCommand(name) ? "\n" : ":\n");
      std::istringstream in(text);
      for (std::string line; std::getline(in, line);)
        *rewritten += "  " + line + "\n";
    }
    if (rewritten && !rules.empty()) *rewritten += "\n";
    rules.clear();
  };
  std::istringstream in(readFile(file));
  for (std::string line; std::getline(in, line);) {
    const bool section = isCommand(line) || (line.ends_with(':') && line.find(' ') == std::string::npos &&
                                             line[0] != '|' && line[0] != ':');
    if (line.starts_with("== ")) {
      finish();
      cases.push_back({file.stem().string(), line.substr(3), start, {}});
    } else if (section) {
      rules.push_back(isCommand(line) ? line : line.substr(0, line.size() - 1));
      cases.back().expected.emplace_back(rules.back(), "");
    } else if (line.starts_with("  ")) {
      cases.back().expected.back().second += line.substr(2) + "\n";
    } else if (!line.empty() && line[0] != '#') {
      (cases.empty() ? start : cases.back().lines).push_back(line);
    }
    if (rewritten && !section && !line.starts_with("  ") && (rules.empty() || !line.empty()))
      *rewritten += line + "\n";
  }
  finish();
  return cases;
}

const std::vector<Written>& allCases() {
  static const std::vector<Written> all = [] {
    std::vector<Written> cases;
    for (const auto& entry : fs::directory_iterator(TABLES)) {
      if (entry.path().extension() != ".txt") continue;
      std::string rewritten;
      const bool write = std::getenv("WRITE_TABLES") != nullptr;
      for (Written& each : read(entry.path(), write ? &rewritten : nullptr))
        cases.push_back(std::move(each));
      if (write) writeFile(entry.path(), rewritten);
    }
    return cases;
  }();
  return all;
}

TEST(Tables, EachDecisionAloneChangesACase) {
  std::set<std::string> seen;
  for (const Written& c : allCases())
    for (const auto& [rules, expected] : c.expected)
      if (kDecisions.contains(rules) && resultOf(c.prepared(), "host") != expected) seen.insert(rules);
  seen.insert("wideCounts");  // shows only in files too large to be read here (reader_test.cpp)
  for (const auto& [name, member] : kDecisions)
    EXPECT_TRUE(seen.contains(name)) << name;
}

const bool kRegistered = [] {
  for (const Written& each : allCases())
    testing::RegisterTest(each.table.c_str(), each.testName().c_str(), nullptr, nullptr, __FILE__, __LINE__,
                          [&each]() -> testing::Test* { return new TableCase(each); });
  return true;
}();

}  // namespace
