#pragma once

#include <ctfmeg/path_text.h>
