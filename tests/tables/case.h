#pragma once

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "support/minimal_dataset.h"

// The language of the cases in tests/tables/*.txt, which README.md beside them describes.

/// Words between blanks; "quotes" hold one with blanks, or an empty one.
class Words {
 public:
  explicit Words(const std::string& line) : m_in(line) { m_in >> std::ws; }
  bool end() { return (m_in >> std::ws).peek() == EOF; }
  std::string word();
  std::int64_t number() { return std::stoll(word()); }
  std::vector<std::int64_t> numbers() {
    std::vector<std::int64_t> all;
    while (!end())
      all.push_back(number());
    return all;
  }

 private:
  std::istringstream m_in;
};

/// What a case is about: the dataset with its other files, and what is done with it.
struct Case {
  MinimalDataset dataset;
  int channels = 2, samples = 3;
  std::map<std::string, std::string> files;
  std::string lastFile;
  bool ownSampleFiles = false;
  std::map<std::string, std::string> texts{{"path", "run.ds/run.res4"}};  // what follows "run", ...
  std::map<std::string, std::vector<std::vector<std::string>>> lists;     // words of each line of "copy", ...

  std::string text(const char* word) const { return texts.contains(word) ? texts.at(word) : ""; }
  std::vector<std::vector<std::string>> list(const char* word) const {
    return lists.contains(word) ? lists.at(word) : std::vector<std::vector<std::string>>();
  }
  std::vector<std::string> words(const char* word) const {
    return lists.contains(word) ? lists.at(word).back() : std::vector<std::string>();
  }

  /// Does what a line of a table says.
  void apply(const std::string& line);

 private:
  std::string trials(const std::string& list) const;
};
