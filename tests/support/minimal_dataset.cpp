#include "support/minimal_dataset.h"

#include "support/temporary_directory.h"

namespace {

Bytes generalHeader() {
  Bytes b;
  b.raw(std::string_view("MEG42RS\0", 8)).zeros(1836);
  b.put(8, Bytes().raw("app"));
  b.put(776, Bytes().i16(-3));
  b.put(778, Bytes().raw("09:36"));
  b.put(1033, Bytes().raw("29-Apr-2013"));
  b.put(1288, Bytes().i32(3).i16(2));                // samples, channels
  b.put(1296, Bytes().f64(600.0).f64(0.01).i16(2));  // rate, epoch time, trials
  b.put(1316, Bytes().i32(1));                       // pre-trigger samples
  b.put(1712, Bytes().raw("subject"));
  b.put(1836, Bytes().i32(3));  // run description
  return b;
}

Bytes coil(double x, double y, double z, int turns, double area) {
  return Bytes().f64(x).f64(y).f64(z).f64(9.0).f64(0.0).f64(0.6).f64(0.8).f64(0.0).i16(turns).zeros(6).f64(
      area);
}

Bytes gradiometer() {
  Bytes b;
  b.i16(5).i16(7).i32(1).f64(-2.0e9).f64(1048576.0).f64(1.0).f64(0.25).i16(2).i16(3).i32(4);
  b.raw(coil(1.0, 2.0, 3.0, 2, 2.5).str()).raw(coil(1.0, 2.0, 8.0, -2, 2.5).str()).zeros(6 * 80);
  b.raw(coil(4.0, 5.0, 6.0, 0, 0.0).str()).raw(coil(4.0, 5.0, 11.0, 1, 1.5).str()).zeros(6 * 80);
  return b;
}

Bytes stimulus() { return Bytes().i16(11).zeros(6).f64(1.0).f64(1.0).f64(1.0).zeros(1288 + 8); }

Bytes coefficientRecord() {
  Bytes b;
  b.text("MLC11-2805", 32).raw("G1BR").zeros(4).i16(2);
  b.text("BG1-2805", 31).text(std::string_view("BG2-2805\0rubbish", 16), 31).zeros(48 * 31);
  b.f64(0.5).f64(-0.25).zeros(48 * 8);
  return b;
}

}  // namespace

MinimalDataset::MinimalDataset() {
  res4 = generalHeader();
  res4.text("hi", 3);
  res4.i16(2);
  res4.f64(150.0).i32(1).i32(1).i16(0);
  res4.f64(0.5).i32(1).i32(2).i16(2).f64(4.0).f64(0.25);
  res4.text(std::string_view("MLC11-2805\0rubbish", 18), 32).text("STIM", 32);
  res4.raw(gradiometer().str()).raw(stimulus().str());
  res4.i16(1).raw(coefficientRecord().str());
  sampleFiles = {sampleFile({trial(0, 2, 3), trial(1, 2, 3)})};
}

void MinimalDataset::resize(int trials, int channels, int samples) {
  const std::string coefficients = res4.str().substr(kCoefficientCount);
  Bytes resized;
  resized.raw(res4.str().substr(0, kNames));
  resized.put(1288, Bytes().i32(samples).i16(channels)).put(1312, Bytes().i16(trials));
  for (int c = 0; c < channels; ++c)
    resized.text("MLC" + std::to_string(11 + c) + "-2805", 32);
  for (int c = 0; c < channels; ++c)
    resized.raw(gradiometer().str());
  res4 = resized.raw(coefficients);
  std::vector<std::string> all;
  for (int t = 0; t < trials; ++t)
    all.push_back(trial(t, channels, samples));
  sampleFiles = {sampleFile(all)};
}

std::string MinimalDataset::trial(int trial, int channels, int samples) {
  Bytes b;
  for (int c = 0; c < channels; ++c)
    for (int s = 0; s < samples; ++s)
      b.i32(value(trial, c, s));
  return b.str();
}

std::string MinimalDataset::sampleFile(const std::vector<std::string>& trials) {
  std::string file("MEG41CP\0", 8);
  for (const std::string& t : trials)
    file += t;
  return file;
}

std::filesystem::path MinimalDataset::write(const std::filesystem::path& parent) const {
  const std::filesystem::path directory = parent / "run.ds";
  std::filesystem::create_directory(directory);
  writeFile(directory / "run.res4", res4.str());
  for (std::size_t i = 0; i < sampleFiles.size(); ++i)
    if (i == 0 || !sampleFiles[i].empty())
      writeFile(directory / (i == 0 ? "run.meg4" : "run." + std::to_string(i) + "_meg4"), sampleFiles[i]);
  return directory / "run.res4";
}
