/// @file
/// The version of the library.
#pragma once

#include "kivo_export.h"

/// The version of these headers.
#define KIVO_VERSION "0.1.0"

/// The version of the library that was loaded, which may be another. The pointer stays valid; any thread.
KIVO_EXPORT const char* kivoVersion() noexcept;
