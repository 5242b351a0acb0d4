#include "simulate/res4_header.h"

#include <string>
#include <vector>

namespace ctfmeg::simulate {

namespace {

void putGeneral(BigEndianBuffer& out, const Options& options) {
  const double samples = static_cast<double>(options.samples);
  out.text("MEG42RS", 8);
  out.text("CTF dataset simulation", 256);                        // application
  out.text("simulated", 256);                                     // data origin
  out.text("Dipoles in a sphere seen by a whole-head MEG", 256);  // data description
  out.int16(0);                                                   // trials averaged
  out.text("12:00", 255);                                         // time
  out.text("01-Jan-2024", 255);                                   // date
  out.int32(static_cast<std::int32_t>(options.samples));
  out.int16(static_cast<std::int16_t>(options.channels));
  out.zeros(2);
  out.float64(options.rate);
  out.float64(samples * options.trials / options.rate);  // epoch time: of all trials together
  out.int16(static_cast<std::int16_t>(options.trials));
  out.zeros(2);
  out.int32(options.preTrigger);
  out.int16(static_cast<std::int16_t>(options.trials));  // trials done
  out.int16(static_cast<std::int16_t>(options.trials));  // trials displayed
  out.int32(1);                                          // trials are saved
}

void putTrigger(BigEndianBuffer& out) {
  out.byte(1);   // primary trigger
  out.zeros(8);  // secondary triggers
  out.byte(0);   // polarity mask
  out.zeros(2);
  out.int16(0);  // format of these: a byte for each trigger
  out.zeros(2);
}

void putAcquisitionSettings(BigEndianBuffer& out) {
  out.int32(0);
  out.int16(0);
  out.zeros(2);
  out.int32(0);
  out.int32(0);
}

void putRun(BigEndianBuffer& out) {
  out.text("simulated", 32);            // run name
  out.text("Auditory responses", 256);  // run title
  out.text("helmet gradiometers", 32);  // instruments
  out.text("simulated", 32);            // collection descriptor
  out.text("SIM0001", 32);              // subject
  out.text("simulate", 32);             // operator
  out.text("simulated.sens", 60);       // sensor file
}

void putDescription(BigEndianBuffer& out, std::uint64_t seed) {
  const std::string description =
      "Simulated recording, seed " + std::to_string(seed) +
      ". Responses of both auditory cortices to the trigger, occipital alpha rhythm and sensor noise.";
  const std::size_t length = description.size() + 1;  // with the zero byte that ends it
  out.int32(static_cast<std::int32_t>(length));
  out.int32(0);
  out.text(description, length);
}

struct Filter {
  double frequency;
  std::int32_t filterClass;
  std::int32_t type;
  std::vector<double> parameters;
};

void putFilters(BigEndianBuffer& out, double rate) {
  constexpr std::int32_t kButterworth = 1;
  constexpr std::int32_t kLowPass = 1;
  constexpr std::int32_t kHighPass = 2;
  const std::vector<Filter> filters{
      {rate / 4, kButterworth, kLowPass, {}},             // against aliasing
      {0.05, kButterworth, kHighPass, {4.0, 0.5, 0.01}},  // with order, damping and settling
  };
  out.int16(static_cast<std::int16_t>(filters.size()));
  for (const Filter& filter : filters) {
    out.float64(filter.frequency);
    out.int32(filter.filterClass);
    out.int32(filter.type);
    out.int16(static_cast<std::int16_t>(filter.parameters.size()));
    for (const double parameter : filter.parameters)
      out.float64(parameter);
  }
}

}  // namespace

BigEndianBuffer encodeRes4Header(const Options& options) {
  BigEndianBuffer out;
  putGeneral(out, options);
  putTrigger(out);
  putAcquisitionSettings(out);
  putRun(out);
  putDescription(out, options.seed);
  putFilters(out, options.rate);
  return out;
}

}  // namespace ctfmeg::simulate
