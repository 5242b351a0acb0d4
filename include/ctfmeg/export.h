#pragma once

/// Marks what the shared library `ctfmeg` offers; everything else stays inside it.
#if !defined(_WIN32)
#define CTFMEG_API __attribute__((visibility("default")))
#elif defined(CTFMEG_BUILD)
#define CTFMEG_API __declspec(dllexport)
#elif defined(CTFMEG_SHARED)
#define CTFMEG_API __declspec(dllimport)
#else
#define CTFMEG_API
#endif
