#include "kivo_version.h"

const char* kivoVersion() noexcept { return KIVO_VERSION; }
