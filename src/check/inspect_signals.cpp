#include <ctfmeg/inspect.h>
namespace ctfmeg {}
