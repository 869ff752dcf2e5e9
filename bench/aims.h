#pragma once

#include "report.h"

namespace kivo::bench {

/// Prints each aim that the report has the measurements for, with what came out.
void printAims(const Report& report);

}  // namespace kivo::bench
