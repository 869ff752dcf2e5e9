#pragma once

#include "arrow/schema.h"

namespace kivo::adbc {

/// The columns of what a connection lists, as ADBC defines them.
extern const ArrowField kInfoFields;
extern const ArrowField kObjectFields;
extern const ArrowField kTableTypeFields;

}  // namespace kivo::adbc
