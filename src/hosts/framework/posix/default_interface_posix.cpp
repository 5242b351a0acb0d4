#include "hosts/framework/default_interface.h"

UserInterface* defaultUserInterface() { return nullptr; }
