#include "edit/staged_copy.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <system_error>

#include "base/file.h"
#include "base/finding_codes.h"
#include "edit/dataset_name.h"
#include "edit/system_files.h"
#include "output/result_file.h"

#include <ctfmeg/path_text.h>

namespace ctfmeg::edit {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kPiece = 1 << 18;  // of both files at once in a processor's cache

fs::path besideOf(const fs::path& out) {
  std::random_device random;
  fs::path beside = out;
  beside += "." + std::to_string(random()) + ".part";
  return beside;
}

std::uint64_t sizeOf(const PlannedFile& file) {
  if (const auto* bytes = std::get_if<std::string>(&file.content)) return bytes->size();
  if (const auto* part = std::get_if<PartOfFile>(&file.content)) return part->bytes;
  return std::get<MadeFile>(file.content).bytes;
}

[[noreturn]] void failReading(const FileError& error) {
  const Finding finding = findingOf(error);
  throw Error(kindOf(finding), pathFromText(finding.file), finding.text, {finding});
}

/// Calls `use` with the first bytes of a file, piece by piece. Throws `Error` where it has fewer.
void readPieces(const PartOfFile& part, const std::function<void(std::span<const std::byte>)>& use) {
  try {
    const OpenFile file = openLocalFile(part.path);
    std::vector<std::byte> piece(kPiece);
    for (std::uint64_t at = 0; at < part.bytes;) {
      const auto wanted = std::span(piece).first(
          static_cast<std::size_t>(std::min<std::uint64_t>(part.bytes - at, piece.size())));
      if (file->readAt(at, wanted) != wanted.size())
        throw Error(ErrorKind::damaged, part.path, "became shorter while it was copied");
      use(wanted);
      at += wanted.size();
    }
  } catch (const FileError& error) {
    failReading(error);
  }
}

/// The work of one copy.
class Builder {
 public:
  Builder(const CopyPlan& plan, fs::path staging, const ProgressFunction& progress)
      : m_staging(std::move(staging)), m_progress(progress) {
    for (const PlannedFile& file : plan.files)
      m_all += 2.0 * static_cast<double>(sizeOf(file));  // written, and read back
  }

  void write(const PlannedFile& file) {
    const fs::path path = reachable(m_staging / pathFromText(file.name));
    const auto* part = std::get_if<PartOfFile>(&file.content);
    std::uint64_t shown = 0;
    const auto copied = [&](std::uint64_t done) {
      advance(static_cast<double>(done - shown));
      shown = done;
    };
    if (part != nullptr && copyWithinSystem(reachable(part->path), path, part->bytes, copied)) {
      copied(part->bytes);
      return;
    }
    advance(-static_cast<double>(shown));
    output::ResultFile result(path, textOf(path));
    const auto write = [&](std::span<const std::byte> bytes) {
      result.write(bytes);
      advance(static_cast<double>(bytes.size()));
    };
    if (part != nullptr)
      readPieces(*part, write);
    else if (const auto* bytes = std::get_if<std::string>(&file.content))
      write(std::as_bytes(std::span(*bytes)));
    else
      std::get<MadeFile>(file.content).make(write);
    result.commit();
  }

  /// Compares what is there with what was to be written.
  void compare(const PlannedFile& file) {
    const fs::path path = m_staging / pathFromText(file.name);
    const std::uint64_t size = sizeOf(file);
    try {
      const OpenFile copy = openLocalFile(reachable(path));
      std::uint64_t at = 0;
      std::vector<std::byte> there(kPiece);
      const auto same = [&](std::span<const std::byte> wanted) {
        for (std::size_t used = 0; used < wanted.size();) {
          const auto piece = wanted.subspan(used, std::min(kPiece, wanted.size() - used));
          if (copy->readAt(at, std::span(there).first(piece.size())) != piece.size() ||
              std::memcmp(there.data(), piece.data(), piece.size()) != 0)
            failDifferent(path);
          at += piece.size();
          used += piece.size();
          advance(static_cast<double>(piece.size()));
        }
      };
      if (copy->size() != size) failDifferent(path);
      if (const auto* part = std::get_if<PartOfFile>(&file.content))
        readPieces(*part, same);
      else if (const auto* bytes = std::get_if<std::string>(&file.content))
        same(std::as_bytes(std::span(*bytes)));
      else
        advance(static_cast<double>(size));  // its maker reads it back, as what it means
    } catch (const FileError& error) {
      failReading(error);
    }
  }

 private:
  [[noreturn]] static void failDifferent(const fs::path& path) {
    throw Error(
        ErrorKind::notWritten, path,
        "is not the same as what it was made from, which may have changed meanwhile: the copy is given up");
  }

  void advance(double bytes) {
    m_done += bytes;
    if (m_progress && !m_progress({"Copying", m_all > 0 ? m_done / m_all : 1.0}))
      throw Error(ErrorKind::stopped, m_staging, "the copying was stopped");
  }

  fs::path m_staging;
  const ProgressFunction& m_progress;
  double m_all = 0.0, m_done = 0.0;
};

/// A path without a separator at its end, so that it has a last part.
fs::path withLastPart(const fs::path& path) { return path.has_filename() ? path : path.parent_path(); }

void makeDirectory(const fs::path& path) {
  std::error_code failed;
  if (!fs::create_directory(reachable(path), failed))
    failWriting(path, failed ? failed : std::make_error_code(std::errc::file_exists));
}

}  // namespace

void failWriting(const fs::path& path, const std::error_code& reason) {
  throw Error(ErrorKind::notWritten, path, "can't be written: " + reason.message());
}

void requireNew(const fs::path& out, const fs::path& directory) {
  const fs::path place = withLastPart(out);
  std::error_code unknown;
  if (fs::exists(fs::symlink_status(reachable(place), unknown)))
    throw Error(ErrorKind::refused, out, "is there already: a copy never replaces anything");
  const fs::path folder = place.parent_path().empty() ? fs::path(".") : place.parent_path();
  if (!fs::is_directory(reachable(folder), unknown))
    throw Error(ErrorKind::notFound, folder, "is no folder: the copy is to be made in it");
  const auto canonical = [](const fs::path& path) {
    std::error_code failed;
    fs::path found = fs::weakly_canonical(path, failed);
    if (failed) throw Error(ErrorKind::noPermission, path, "can't be found: " + failed.message());
    return found;
  };
  const fs::path within = canonical(folder);
  const fs::path source = canonical(directory);
  const auto differ = std::mismatch(source.begin(), source.end(), within.begin(), within.end());
  if (differ.first == source.end())
    throw Error(ErrorKind::refused, out, "is inside of the dataset that is copied");
}

StagedCopy::StagedCopy(const CopyPlan& plan, const fs::path& out, const ProgressFunction& progress)
    : m_out(withLastPart(out)), m_staging(besideOf(m_out)), m_name(nameFor(m_out)) {
  try {
    namingItsPlace([&] { build(plan, progress); });
  } catch (...) {
    discard();
    throw;
  }
}

/// Nobody knows the files by the names that they have meanwhile.
void StagedCopy::namingItsPlace(const std::function<void()>& work) const {
  try {
    work();
  } catch (const Error& error) {
    const fs::path within = error.path().lexically_relative(m_staging);
    if (within.empty() || *within.begin() == "..") throw;
    throw Error(error.kind(), within == "." ? m_out : m_out / within, error.text(), error.findings());
  }
}

void StagedCopy::build(const CopyPlan& plan, const ProgressFunction& progress) {
  makeDirectory(m_staging);
  for (const std::string& folder : plan.folders)
    makeDirectory(m_staging / pathFromText(folder));
  Builder builder(plan, m_staging, progress);
  try {
    for (const PlannedFile& file : plan.files)
      builder.write(file);
  } catch (const output::WriteError& error) {
    throw Error(ErrorKind::notWritten, pathFromText(error.name()), error.what());
  }
  for (const PlannedFile& file : plan.files)
    builder.compare(file);
  if (!plan.dated1970) return;
  for (const PlannedFile& file : plan.files)
    date1970(m_staging / pathFromText(file.name));
  for (auto folder = plan.folders.rbegin(); folder != plan.folders.rend(); ++folder)
    date1970(m_staging / pathFromText(*folder));
  date1970(m_staging);
}

StagedCopy::~StagedCopy() { discard(); }

void StagedCopy::discard() {
  std::error_code ignored;
  if (!m_staging.empty()) fs::remove_all(reachable(m_staging), ignored);
}

void StagedCopy::commit(const Source& source, const std::function<void(const Recording& copy)>& check) {
  namingItsPlace([&] {
    const Recording copy = Recording::open(m_staging / pathFromText(m_name + ".res4"));
    requireReadable(copy.warnings());
    check(copy);
  });
  requireUnchanged(source);
  const std::error_code failed = moveToNewName(m_staging, m_out);
  if (failed == std::errc::file_exists)
    throw Error(ErrorKind::refused, m_out, "is there already: a copy never replaces anything");
  if (failed) throw Error(ErrorKind::notWritten, m_out, "can't be put in place: " + failed.message());
  m_staging.clear();
}

}  // namespace ctfmeg::edit
