#include "framework/default_interface.h"
#include "ui/win32/win32_interface.h"

UserInterface* defaultUserInterface() {
  static Win32Interface windows;
  return &windows;
}
