#include "simulate/damage.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <system_error>

#include "base/nearest.h"

#include "simulate/channels.h"
#include "simulate/files.h"
#include "simulate/output.h"

namespace ctfmeg::simulate {

namespace fs = std::filesystem;

namespace {

int sampleFiles(const Options& options) {
  const int each = trialsPerFile(options);
  return (options.trials + each - 1) / each;
}

fs::path sampleFile(const Written& dataset, int number) {
  return fs::path(dataset.stem) += number == 0 ? ".meg4" : "." + std::to_string(number) + "_meg4";
}

std::string bytesOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  if (!stream.eof() && !stream)
    throw fs::filesystem_error("cannot read", file, std::make_error_code(std::errc::io_error));
  return bytes;
}

void rewrite(const fs::path& file, std::string_view bytes) {
  OutputFile out(file, "");
  out.write(bytes);
  out.close();
}

/// Bytes put over those of a file that may be large.
void overwrite(const fs::path& file, std::uint64_t offset, std::string_view bytes) {
  errno = 0;
  std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
  stream.seekp(static_cast<std::streamoff>(offset));
  stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  stream.close();
  if (!stream)
    throw fs::filesystem_error("cannot write", file, {errno != 0 ? errno : EIO, std::generic_category()});
}

void shorten(const fs::path& file, std::int64_t bytes) {
  fs::resize_file(file, fs::file_size(file) - static_cast<std::uintmax_t>(bytes));
}

// Any file.

void empty(const Written& /*dataset*/, const fs::path& file) { fs::resize_file(file, 0); }

void remove(const Written& /*dataset*/, const fs::path& file) { fs::remove(file); }

void halve(const Written& /*dataset*/, const fs::path& file) {
  shorten(file, static_cast<std::int64_t>(fs::file_size(file) / 2));
}

void spoilMagic(const Written& /*dataset*/, const fs::path& file) { overwrite(file, 0, {"GARBAGE\0", 8}); }

void fillWithGarbage(const Written& dataset, const fs::path& file) {
  constexpr int kBytes = 300;
  Random random(dataset.options.seed);
  std::string bytes;
  for (int i = 0; i < kBytes; ++i)
    bytes += static_cast<char>(random.next() >> 56);
  rewrite(file, bytes);
}

void writeAsUtf16(const Written& /*dataset*/, const fs::path& file) {
  std::string wide = "\xFF\xFE";
  for (const char c : bytesOf(file))
    wide += {c, '\0'};
  rewrite(file, wide);
}

/// As when the disk was full: the last digit of the file and all that follows it.
void cutInNumber(const Written& /*dataset*/, const fs::path& file) {
  const std::string text = bytesOf(file);
  const std::size_t digit = text.find_last_of("0123456789");
  rewrite(file, text.substr(0, digit == std::string::npos ? 0 : digit));
}

template <const char* line>
void addLine(const Written& /*dataset*/, const fs::path& file) {
  rewrite(file, bytesOf(file) + line);
}

constexpr char kUnknownChannel[] = "MZZ99\n";
constexpr char kSegmentElsewhere[] = "32767\t\t0\t\t0.1\n";

// Sample files.

void cutLastTrial(const Written& dataset, const fs::path& /*file*/) {
  shorten(sampleFile(dataset, sampleFiles(dataset.options) - 1), trialBytes(dataset.options) / 2);
}

void cutFirstFile(const Written& dataset, const fs::path& file) {
  shorten(file, trialBytes(dataset.options) / 2);
}

void addBytes(const Written& dataset, const fs::path& /*file*/) {
  const fs::path last = sampleFile(dataset, sampleFiles(dataset.options) - 1);
  const auto bytes = static_cast<std::size_t>(std::min<std::int64_t>(trialBytes(dataset.options) / 2, 1000));
  overwrite(last, fs::file_size(last), std::string(bytes, '\0'));
}

void removeMiddleFile(const Written& dataset, const fs::path& /*file*/) {
  fs::remove(sampleFile(dataset, sampleFiles(dataset.options) / 2));
}

void removeSampleFiles(const Written& dataset, const fs::path& /*file*/) {
  for (int number = 0; number < sampleFiles(dataset.options); ++number)
    fs::remove(sampleFile(dataset, number));
}

void removeTrials(const Written& dataset, const fs::path& /*file*/) {
  for (int number = 0; number < sampleFiles(dataset.options); ++number)
    fs::resize_file(sampleFile(dataset, number), kMeg4HeaderBytes);
}

// The resource file.

/// A number of the header, or of a channel, in place of what is there.
void putNumber(const fs::path& file, std::uint64_t offset, double value) {
  BigEndianBuffer out;
  out.float64(value);
  overwrite(file, offset, {out.bytes().data(), out.bytes().size()});
}

std::uint64_t placeOfNames(const Written& dataset, const fs::path& file) {
  return bytesOf(file).find(makeChannels(dataset.options.channels).front().name + '\0');
}

void nameTwice(const Written& dataset, const fs::path& file) {
  const std::vector<Channel> channels = makeChannels(dataset.options.channels);
  const std::size_t last = channels.size() - 1;
  overwrite(file, placeOfNames(dataset, file) + kChannelNameBytes * last, channels[last - 1].name + '\0');
}

void zeroGain(const Written& dataset, const fs::path& file) {
  const auto channels = static_cast<std::uint64_t>(dataset.options.channels);
  constexpr std::uint64_t kPlaceOfGain = 16;  // of the converter, in a channel's record
  putNumber(file,
            placeOfNames(dataset, file) + channels * kChannelNameBytes + (channels - 1) * kSensorBytes +
                kPlaceOfGain,
            0);
}

void zeroRate(const Written& /*dataset*/, const fs::path& file) {
  constexpr std::uint64_t kPlaceOfRate = 1296;
  putNumber(file, kPlaceOfRate, 0);
}

/// As when only the folder was renamed.
void renameFiles(const Written& dataset, const fs::path& /*file*/) {
  const std::string before = dataset.stem.filename().string() + ".";
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::directory_iterator(dataset.directory))
    if (entry.path().filename().string().starts_with(before)) files.push_back(entry.path());
  for (const fs::path& file : files)
    fs::rename(file, dataset.directory / ("renamed." + file.filename().string().substr(before.size())));
}

constexpr Damage kDamages[] = {
    {"cut", ".meg4", "the last sample file ends inside the last trial", cutLastTrial},
    {"cut-inside", ".meg4", "the first sample file of several ends inside a trial", cutFirstFile, 2},
    {"gap", ".meg4", "a sample file in the middle of three or more is missing", removeMiddleFile, 3},
    {"extra", ".meg4", "bytes follow the last trial", addBytes},
    {"empty-samples", ".meg4", "the first sample file is empty", empty},
    {"no-trials", ".meg4", "the sample files end before their first trial", removeTrials},
    {"no-samples", ".meg4", "there is no sample file", removeSampleFiles},
    {"wrong-magic", ".meg4", "the first sample file does not begin as one", spoilMagic},
    {"short-res4", ".res4", "half of the resource file is missing", halve},
    {"empty-res4", ".res4", "the resource file is empty", empty},
    {"no-res4", ".res4", "there is no resource file", remove},
    {"garbage-res4", ".res4", "the resource file does not begin as one", spoilMagic},
    {"twice-named", ".res4", "the last two channels have one name", nameTwice},
    {"no-gain", ".res4", "the gain of the last channel is 0", zeroGain},
    {"no-rate", ".res4", "the sample rate is 0", zeroRate},
    {"empty-markers", "MarkerFile.mrk", "the marker file is empty", empty},
    {"garbage-markers", "MarkerFile.mrk", "the marker file holds random bytes", fillWithGarbage},
    {"utf16-markers", "MarkerFile.mrk", "the marker file is UTF-16", writeAsUtf16},
    {"cut-markers", "MarkerFile.mrk", "the marker file ends inside its last number", cutInNumber},
    {"empty-classes", "ClassFile.cls", "the class file is empty", empty},
    {"garbage-classes", "ClassFile.cls", "the class file holds random bytes", fillWithGarbage},
    {"cut-classes", "ClassFile.cls", "the class file ends inside its last number", cutInNumber},
    {"garbage-coils", ".hc", "the file of head coils holds random bytes", fillWithGarbage},
    {"cut-coils", ".hc", "the file of head coils ends inside its last number", cutInNumber},
    {"cut-infods", ".infods", "half of the information file is missing", halve},
    {"garbage-infods", ".infods", "the information file holds random bytes", fillWithGarbage},
    {"garbage-eeg", ".eeg", "the electrode file holds random bytes", fillWithGarbage},
    {"cut-pos", ".pos", "the file of digitised points ends inside its last number", cutInNumber},
    {"unknown-bad", "BadChannels", "BadChannels names a channel that is not there", addLine<kUnknownChannel>},
    {"segment-outside", "bad.segments", "a bad segment is in a trial that is not there",
     addLine<kSegmentElsewhere>},
    {"wrong-stem", "", "the files are named otherwise than their folder", renameFiles},
};

const Damage& damageOf(const std::string& name) {
  const auto known = std::ranges::find(kDamages, name, &Damage::name);
  if (known != std::end(kDamages)) return *known;
  std::vector<std::string> names;
  for (const Damage& damage : kDamages)
    names.emplace_back(damage.name);
  throw std::invalid_argument("--damage takes " + listText(names) + ", not \"" + name + "\"" +
                              nearestText(name, names));
}

}  // namespace

std::span<const Damage> damages() { return kDamages; }

void validateDamage(const Options& options) {
  std::map<std::string_view, std::string_view> damaged;
  for (const std::string& name : options.damage) {
    const Damage& damage = damageOf(name);
    const auto [earlier, isFirst] = damaged.emplace(damage.file, damage.name);
    if (!isFirst)
      throw std::invalid_argument("--damage: " + std::string(earlier->second) + " and " + name +
                                  " are of one file: choose one");
    if (sampleFiles(options) < damage.leastSampleFiles)
      throw std::invalid_argument("--damage: " + name + " needs " + std::to_string(damage.leastSampleFiles) +
                                  " sample files or more: --split-after makes several");
    if (name == "twice-named" && options.channels < 2)
      throw std::invalid_argument("--damage: " + name + " needs 2 channels or more");
  }
}

void applyDamage(const Written& dataset) {
  for (const Damage& damage : kDamages) {
    if (!std::ranges::count(dataset.options.damage, damage.name)) continue;
    const bool isExtension = damage.file.starts_with('.');
    damage.apply(dataset,
                 isExtension ? fs::path(dataset.stem) += damage.file : dataset.directory / damage.file);
  }
}

}  // namespace ctfmeg::simulate
