#pragma once

#include <functional>
#include <optional>

#include <megreader/framework/export.h>
#include <megreader/framework/user_interface.h>

/// A modal dialog for interfaces without windows: `enter(value)` is called with what the edit field shows at
/// first, and returns what the user makes of it and confirms, or nothing when the user cancels. It is called
/// again as long as that is refused. True when it was accepted.
MEGREADER_API bool runTextDialog(DialogOwner& owner,
                                 const std::function<std::optional<CString>(const CString& value)>& enter);
