#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "base/file.h"
#include "base/notices.h"

namespace ctfmeg {

/// A dataset's name by its folder: the name that the folder is given by, also with a trailing slash, without
/// its extension; its own when it is given as nothing, "." or "..".
std::filesystem::path stemOfFolder(const std::filesystem::path& folder);

/// The resource file among the names of a directory's files where none is called as the directory, `own`: the
/// only one. Throws `Error` where there is none, or several.
std::string resourceFileAmong(std::vector<std::string> names, const std::string& own,
                              const std::filesystem::path& directory);

/// Reports a resource file that is called otherwise than the `.ds` folder that it is in: a folder was renamed
/// or a file put there.
void reportOtherName(const std::filesystem::path& resourceFile, Notices& notices);

/// "run" for run.meg4, run.1_meg4 and so on; empty for other files, and for hidden ones, which systems put
/// beside files of theirs.
std::string stemOfSamples(const std::string& name);

/// Reports sample files that are not read: those that are called otherwise than the dataset's, and those of
/// its own whose number is above `last`. Returns how many these are.
int reportOtherSamples(const Store& store, const std::string& stem, int last, Notices& notices);

}  // namespace ctfmeg
