#pragma once

/// Marks what the shared library offers to hosts; everything else stays inside it.
#if defined(_WIN32)
#if defined(MEGREADER_BUILD)
#define MEGREADER_API __declspec(dllexport)
#elif defined(MEGREADER_LINKED_EITHER_WAY)
#define MEGREADER_API
#else
#define MEGREADER_API __declspec(dllimport)
#endif
#else
#define MEGREADER_API __attribute__((visibility("default")))
#endif
