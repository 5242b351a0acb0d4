#pragma once

#include <ctfmeg/record.h>
