#pragma once

#include <functional>
#include <thread>

/// A thread that works for its caller and that no signal of the process is delivered to: those are the
/// host's. Throws std::system_error when the system has none to give.
std::thread startBackgroundThread(const std::function<void()>& work);
