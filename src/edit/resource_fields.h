#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "ctf/resource_layout.h"

// Where everything is in a resource file, from the lists by which it is read, so that a copy changes bytes in
// place and forgets none.

namespace ctfmeg::edit {

/// A field of a layout.
struct LayoutField {
  enum class Kind {
    text,    ///< free text
    name,    ///< of a channel or sensor
    number,  ///< one or several
    filler,  ///< bytes that mean nothing to a reader of the layout
  };
  Kind kind = Kind::filler;
  std::size_t offset = 0;    ///< from where the layout counts
  std::size_t width = 0;     ///< of each
  std::size_t slots = 1;     ///< one after another
  std::string member;        ///< of the general header: the record's member, such as "subjectId"; else empty
  bool identifying = false;  ///< its content can name a person
};

/// Of the general header, offsets from the start of the file. The trigger codes, and the length of the run
/// description, are numbers here.
const std::vector<LayoutField>& generalHeaderFields();
/// Of one record each, offsets from its start.
const std::vector<LayoutField>& sensorFields();
const std::vector<LayoutField>& coefficientFields();

/// Where the blocks of a resource file begin, in bytes from its start.
struct ResourcePlaces {
  std::size_t description = kRunDescriptionStart;
  std::size_t descriptionLength = 0;
  std::size_t filters = 0;  ///< their number, then the records
  std::size_t names = 0;
  std::size_t sensors = 0;
  std::size_t coefficientCount = 0;
  std::size_t coefficients = 0;
  std::size_t end = 0;  ///< after the last coefficient record; bytes after it are not read
  std::size_t channels = 0;
  std::size_t coefficientRecords = 0;
};

/// Throws `Error` about `path` where a block does not follow the one before it, or is not whole.
ResourcePlaces placesOf(std::string_view resource, const std::filesystem::path& path);

}  // namespace ctfmeg::edit
