#include "hosts/framework/background_thread.h"

std::thread startBackgroundThread(const std::function<void()>& work) { return std::thread(work); }
