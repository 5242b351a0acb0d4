#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "edit/changes.h"
#include "edit/dataset_name.h"
#include "edit/source.h"
#include "edit/staged_copy.h"

// The new name in the files of a copy, for every kind of copy.

namespace ctfmeg::edit {

/// The change of name of a dataset that is copied to `out`. Throws `Error` for a name that can't be had.
DatasetName nameChange(const Source& source, const std::filesystem::path& out);

/// A resource file with the new name in its texts. Throws `Error` about `file` where a field has no room for
/// it.
Edited renamedResource(std::string bytes, const DatasetName& name, const std::filesystem::path& file);

/// A file of the source under its new name, with the new name in it where a dataset's name is known to be.
/// What became of it is added to the report.
PlannedFile renamedFile(const SourceFile& file, const DatasetName& name, CopyReport& report);

/// Throws `Error` where two files of a plan have one name, which happens when a file has the new name
/// already.
void requireOwnNames(const CopyPlan& plan, const Source& source);

}  // namespace ctfmeg::edit
