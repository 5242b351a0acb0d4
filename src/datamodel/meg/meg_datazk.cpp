#include "datamodel/meg/meg_datazk.h"

CMEGDatazk::~CMEGDatazk() = default;
