#include <megreader/datamodel/meg_datazk.h>

CMEGDatazk::~CMEGDatazk() = default;
