#include <ctfmeg/epochs.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "signal/wrapped.h"

namespace ctfmeg {
inline namespace v1 {
namespace {

class Average : public WrappedSource {
 public:
  Average(std::shared_ptr<const SampleSource> trials, std::function<bool()> stops)
      : WrappedSource(std::move(trials)), m_stops(std::move(stops)) {
    if (source().shape().trials < 1) throw std::invalid_argument("there is no trial to average");
  }

  Shape shape() const override {
    const Shape trials = source().shape();
    return {2, trials.channels, trials.samples};
  }
  Origin origin(std::int64_t /*trial*/) const override { return {-1, 0, source().origin(0).step}; }
  std::vector<Piece> pieces(std::int64_t /*trial*/) const override { return {}; }
  std::vector<Gap> gaps() const override { return {}; }
  double time(std::int64_t /*trial*/, std::int64_t sample) const override { return source().time(0, sample); }
  bool hasMissing() const override { return true; }  // the standard error of one trial

 protected:
  void readInto(const Window& window, const Target& target) const override {
    if (target.values != Values::physical)
      throw std::invalid_argument("averages are physical: there are no raw ones");
    const auto size = static_cast<std::size_t>(window.channels * window.samples);
    std::vector<double> mean(size), squares(size), now(size);
    // Mean and sum of squared deviations after each trial (Welford 1962), which loses no digits where the
    // mean is large beside the deviations.
    const std::int64_t trials = source().shape().trials;
    Window of = window;
    of.trials = 1;
    for (of.trial = 0; of.trial < trials; ++of.trial) {
      if (m_stops && m_stops()) throw Error(ErrorKind::stopped, {}, "the averaging was stopped");
      source().read(of, std::span(now));
      const double share = 1.0 / static_cast<double>(of.trial + 1);
      for (std::size_t i = 0; i < size; ++i) {
        const double before = now[i] - mean[i];
        mean[i] += before * share;
        squares[i] += before * (now[i] - mean[i]);
      }
    }
    const auto n = static_cast<double>(trials);
    for (double& each : squares)
      each = trials > 1 ? std::sqrt(each / (n - 1.0) / n) : std::numeric_limits<double>::quiet_NaN();
    std::visit(
        [&](auto* out) {
          using Value = std::remove_pointer_t<decltype(out)>;
          const auto narrowed = [](double value) { return static_cast<Value>(value); };
          for (std::int64_t trial = window.trial; trial < window.trial + window.trials; ++trial)
            if constexpr (std::is_floating_point_v<Value>)
              out = std::ranges::transform(trial == 0 ? mean : squares, out, narrowed).out;
        },
        target.out);
  }

 private:
  std::function<bool()> m_stops;
};

}  // namespace

std::shared_ptr<const SampleSource> averaged(std::shared_ptr<const SampleSource> trials,
                                             std::function<bool()> stops) {
  return std::make_shared<Average>(std::move(trials), std::move(stops));
}

}  // namespace v1
}  // namespace ctfmeg
