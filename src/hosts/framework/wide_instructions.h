#pragma once

// One loop, compiled twice: for every machine, and with 256-bit and fused instructions for those that have
// them. The caller asks which it is to be when the program runs, so that one build serves all.

#if defined(__x86_64__)
#define WIDE_INSTRUCTIONS __attribute__((target("avx2,fma")))
inline bool machineHasWideInstructions() {
  return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("fma") != 0;
}
#else
#define WIDE_INSTRUCTIONS
inline bool machineHasWideInstructions() { return false; }
#endif
