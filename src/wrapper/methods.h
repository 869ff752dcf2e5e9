#pragma once

#include "wrapper/calls.h"

namespace kivo::wrapper {

/// Looks all methods of the Java object up into their fields; a missing one leaves null and no exception.
void findMethods(jdbcWrapper& wrapper, jclass utilitiesClass);

/// Records the first missing method, in the order of the table, as the error.
void checkMethods(jdbcWrapper& wrapper);

/// The name under which a missing method is reported.
const char* reportedName(MethodField field);

}  // namespace kivo::wrapper
