#pragma once

#include <megreader/framework/cfile.h>
#include "sidefiles/info_fields.h"

/// Stores a value in the member of its tag, converted to the member's type; `value` is then the converted
/// one. False, with nothing changed, when it can't be converted.
bool convertInto(DatasetInformation& information, const InfoField& field,
                 decltype(InformationEntry::value)& value);

/// Whether the next four bytes are those with which the file and each block begin. Reads them.
bool startsInfoBlock(CFile& file);
