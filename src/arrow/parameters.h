#pragma once

#include <jni.h>

#include <string>

#include "KivoArrow.h"

namespace kivo {

/// Hands the rows of a record batch over to the jar's PreparedQuery, as values of its parameters. The memory is not
/// copied: Java reads it whenever the statement runs, so it must live until the next call or the query's end.
/// @param query a PreparedQuery of the jar.
/// @param schema of the batch, a struct with a field for each parameter.
/// @param faultOut replaced by an error text on failure.
/// @return false for a type that cannot be bound, when the query refuses the values, and without memory; no exception
///         is pending then. Only std::bad_alloc can escape.
bool bindParameters(JNIEnv* env, jobject query, const ArrowSchema& schema, const ArrowArray& batch,
                    std::string& faultOut);

}  // namespace kivo
