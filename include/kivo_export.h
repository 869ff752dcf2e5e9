#pragma once

/// Marks what the shared library exports; everything else stays hidden.
#define KIVO_EXPORT __attribute__((visibility("default")))
