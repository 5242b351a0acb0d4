#pragma once

struct HINSTANCE__;  // what HINSTANCE points to

/// The library or program that this code is part of: its resources are there.
HINSTANCE__* moduleHandle();
