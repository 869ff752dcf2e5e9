#pragma once

#include <string>
#include <vector>

#include "KivoArrow.h"

namespace kivo {

/// A column, the element of a list, or the root, whose children are the columns.
struct ArrowField {
  std::string format;  ///< in Arrow's notation
  std::string name;
  std::string typeName;  ///< the database's own; empty for the root
  std::vector<ArrowField> children;
  bool nullable = true;
};

/// @param description the columns as the jar's BatchReader describes them. @return the root.
ArrowField readFields(const std::string& description);

/// @return how many fields there are below this one.
std::size_t fieldsBelow(const ArrowField& field);

/// Fills in a schema of its own memory. std::bad_alloc can escape; @p schema is untouched then.
void exportSchema(const ArrowField& field, ArrowSchema& schema);

}  // namespace kivo
