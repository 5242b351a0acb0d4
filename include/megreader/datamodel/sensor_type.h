#pragma once

#include <megreader/framework/export.h>

/// Name of the channel type that a sensor type code (`CMEGSensor::sensorType`) means, such as "gradiometer";
/// "other" for a code that no channel of its own kind has, and for -1. A constant, never null.
MEGREADER_API const wchar_t* sensorTypeName(int sensorType);
