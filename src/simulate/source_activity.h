#pragma once

#include "simulate/lead_field.h"
#include "simulate/random.h"

namespace ctfmeg::simulate {

// Moments of all sources over time: in the auditory cortices a response to the trigger, in the occipital
// cortex an alpha rhythm that waxes and wanes, outside slowly turning machines.
class SourceActivity {
 public:
  explicit SourceActivity(Random& random);

  // Responses differ a little from trial to trial.
  void beginTrial(Random& random);

  PerSource at(double secondsAfterTrigger, double secondsInRecording) const;

 private:
  PerSource phases_{};  // turns
  double responseStrength_ = 1;
};

}  // namespace ctfmeg::simulate
