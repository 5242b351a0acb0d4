#pragma once

#include <memory>

#include "framework/user_interface.h"

/// A title and a bar. Its messages, and no others, are handled at every step: it keeps painting, and the host
/// is not entered again while it waits.
std::unique_ptr<ProgressWindow> openWin32Progress(const CString& title);
