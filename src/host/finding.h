#pragma once

#include <ctfmeg/finding.h>
