#pragma once

#include <ctfmeg/information.h>
