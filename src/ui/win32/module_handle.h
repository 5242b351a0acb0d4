#pragma once

#include <windows.h>

/// The library or program that this code is part of: its resources are there.
HINSTANCE moduleHandle();
