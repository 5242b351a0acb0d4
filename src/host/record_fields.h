#pragma once

#include "ctf/record_fields.h"
