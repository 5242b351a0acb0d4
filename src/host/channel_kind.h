#pragma once

#include "ctf/channel_kind.h"
