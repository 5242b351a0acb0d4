#pragma once

#include <memory>
#include <string>
#include <vector>

#include <megreader/reader/meg_reader_face.h>
#include "tables/case.h"
#include "tables/dump.h"

/// The dataset of a case on disk, and a reader of it.
struct CaseRun : Probe {
  CaseRun(const Case& c, const ReadingRules& rules);
  ~CaseRun();

  /// Does "a; b 1 2", and says what came of each.
  std::string perform(const std::string& operations);
  /// What the reader and all data objects hold.
  Dump dump();

  CString path;
  CMEGDatazk destination;
  CPtrArray array;
  ImportTrace trace;
  CMEGReaderFacezk facade;

 private:
  using Numbers = std::vector<std::int64_t>;
  int operation(const std::string& name, const Numbers& n);

  std::vector<std::shared_ptr<void>> m_unreadable;
};

/// What commands print that run on the dataset, "$ ctfmeg info HERE/run.ds; ls": the exit code other than 0,
/// output, and errors after "! ".
std::string printedBy(const CaseRun& run, const std::string& commands);

/// What is read and reported of the side file harmed in many ways and cut at each length, a line for each.
std::string damageTo(const std::string& name, const std::string& whole, const ReadingRules& rules);

void replaceAll(std::string& text, const std::string& old, const std::string& replacement);

/// Whether a file can be made here that opens but can't be read, as cases want it with "unreadable".
bool someFilesAreUnreadable();
