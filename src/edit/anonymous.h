#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/finding_codes.h"
#include "edit/changes.h"
#include "edit/removed_values.h"

namespace ctfmeg::edit {

/// A name that stays: of a channel, an electrode, a marker or a class.
struct KeptName {
  std::string list;        ///< such as "channels"
  std::size_t number = 0;  ///< in that list of the file, from 1
  std::string name;        ///< its bytes
  std::string file{};
};

/// What the files of one dataset are anonymised with, and what comes to light meanwhile.
struct Anonymous {
  const Anonymising& how;
  std::string subject;                  ///< its label in Windows-1252
  std::string name;                     ///< of the copy's directory, such as "new.ds", in Windows-1252
  std::vector<std::string> channels{};  ///< full and short names of the dataset's channels, sorted

  std::string file{};  ///< that is looked at, named as in the copy
  RemovedValues removed{};
  RemovedValues persons{};      ///< of them, names of persons
  std::string patient{};        ///< the parts of the patient's name that files hold one by one
  std::vector<Date> written{};  ///< shifted dates that are in the copy
  std::vector<KeptName> names{};
  std::vector<Finding> warnings{};

  void keep(KeptName name);
  void removeName(std::string_view ofPerson);
  void warn(Code code, const std::string& text);
};

// Files of a known kind without what can name a person. Of text, lines that are not understood go.

/// A resource file. Throws `Error` about `path` where its blocks can't be told apart.
Edited anonymousResource(std::string bytes, const std::filesystem::path& path, Anonymous& anonymous);

/// One of the files beside it; nothing where it is not of its kind, so that all of it goes.
using AnonymousFile = std::optional<Edited>(std::string_view bytes, Anonymous& anonymous);

AnonymousFile anonymousInformation, anonymousMarkers, anonymousClasses, anonymousHeadCoils,
    anonymousElectrodes, anonymousPositions, anonymousBadChannels, anonymousBadSegments,
    anonymousVirtualChannels;

/// What is in these files whatever was removed: tags, keywords, headings, colours. A removed value that is
/// such a word is not looked for in them.
std::string anonymousVocabulary();

}  // namespace ctfmeg::edit
