#pragma once

#include <span>
#include <variant>

#include <megreader/datamodel/dataset_information.h>

/// Where the text of a nested block goes.
struct InfoBlock {
  CString DatasetInformation::*text;
};

/// A tag of the information file with the member that takes its value. The member's type says how hosts get
/// it read, whatever type the file gives.
struct InfoField {
  const wchar_t* tag;
  std::variant<InfoBlock, CString DatasetInformation::*, std::int32_t DatasetInformation::*,
               double DatasetInformation::*, std::uint16_t DatasetInformation::*>
      member;
};

/// All of them, in the order in which hosts get them looked for.
std::span<const InfoField> infoFields();
