#pragma once

#include <ctfmeg/head.h>
