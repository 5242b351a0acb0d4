#pragma once

#include "support/scripted.h"
