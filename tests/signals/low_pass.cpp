#include <cstdio>
#include <cstdlib>
#include <string>

#include <ctfmeg/low_pass.h>
#include <ctfmeg/recording.h>

// Writes doubles for low_pass_test.py: low_pass FACTOR the weights, low_pass FACTOR DATASET all filtered
// samples, low_pass FACTOR DATASET cut|fill those of a run.

int main(int argc, char** argv) try {
  const int factor = std::atoi(argv[1]);
  std::vector<double> values;
  if (argc == 2) {
    values = ctfmeg::lowPassWeights(factor);
  } else {
    ctfmeg::Selection selection{.partial = ctfmeg::Partial::fill};
    selection.continuous = argc > 3;
    if (argc > 3) selection.gaps = argv[3] == std::string("cut") ? ctfmeg::Gaps::cut : ctfmeg::Gaps::fill;
    const auto source = ctfmeg::lowPassed(ctfmeg::Recording::open(argv[2]).samples(selection), factor);
    const auto [trials, channels, samples] = source->shape();
    values.resize(static_cast<std::size_t>(trials * channels * samples));
    source->read({0, trials, 0, channels, 0, samples}, values);
  }
  return std::fwrite(values.data(), sizeof(double), values.size(), stdout) == values.size() ? 0 : 1;
} catch (const ctfmeg::Error& error) {
  std::fprintf(stderr, "%s: %s\n", nameOf(error.kind()), error.text().c_str());
  return 1;
}
