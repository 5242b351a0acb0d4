#pragma once

#include <memory>

#include <megreader/framework/user_interface.h>

// Real windows on Windows: for hosts that install no user interface of their own.

struct HINSTANCE__;  // what HINSTANCE points to

/// The library or program that this code is part of: its resources are there.
HINSTANCE__* moduleHandle();

/// What is used where a host installs no interface: these windows.
UserInterface* defaultUserInterface();

/// A modeless window with a title and a bar, which the user can't close. Its messages, and no others, are
/// handled at every step: it keeps painting while the thread works, and the host is not entered again
/// meanwhile.
std::unique_ptr<ProgressWindow> openProgressWindow(const CString& title);
