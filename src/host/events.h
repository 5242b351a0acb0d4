#pragma once

#include <ctfmeg/events.h>
