#pragma once

#include <string>
#include <vector>

#include "KivoArrow.h"
#include "arrow/schema.h"

namespace kivo::adbc {

/// Makes an array of nested columns out of the bytes in which the jar hands them over. Numbers in them are big-endian.
///
/// They begin with the number of rows as four bytes; then come the rows, value by value:
/// - utf8: its length, -1 for null, as four bytes, then its UTF-8;
/// - a list or a map: the number of its items, -1 for null, as four bytes, then the items, of a map each key and value;
/// - a struct: 1 and its children, or 0 for null;
/// - a number or a bool: 1 and the value in its own size, a bool's being a byte, or 0 for null;
/// - a union: the number of the chosen child, and its value.
///
/// @param root a struct. @param array is untouched on failure, which is thrown.
void exportTree(const ArrowField& root, const std::string& bytes, ArrowArray& array);

}  // namespace kivo::adbc
