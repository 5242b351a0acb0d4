#pragma once

#include <ctfmeg/reading_rules.h>

using ctfmeg::ReadingRules;
