#pragma once

#include <megreader/framework/user_interface.h>

/// What is used where no interface is installed: real windows on Windows, nothing (null) elsewhere.
UserInterface* defaultUserInterface();
