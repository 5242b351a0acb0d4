#include <ctfmeg/edit.h>

// Until each of these is on this branch.

namespace ctfmeg {
inline namespace v1 {

namespace {
[[noreturn]] void fail(const std::filesystem::path& in) {
  throw Error(ErrorKind::refused, in, "is not copied yet");
}
}  // namespace

AnonymiseReport bidsCopy(const std::filesystem::path& in, const std::filesystem::path& /*study*/,
                         const BidsRecording& /*recording*/, const ProgressFunction& /*progress*/) {
  fail(in);
}

}  // namespace v1
}  // namespace ctfmeg
