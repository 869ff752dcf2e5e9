#pragma once

#include <jni.h>

#include <memory>
#include <string>

#include "adbc.h"
#include "arrow/schema.h"
#include "java_object.h"
#include "session.h"

namespace kivo::adbc {

/// Makes a stream of a BatchReader's rows. It keeps the session, and takes turns with what else uses it. Throws.
void makeRowStream(JNIEnv* env, jobject reader, const std::shared_ptr<Session>& session, ArrowArrayStream& out);

/// Makes a stream of one batch, in the form of exportTree(). Throws.
void makeTreeStream(const ArrowField& root, const std::string& bytes, ArrowArrayStream& out);

/// Makes a stream without columns and without rows.
void makeEmptyStream(ArrowArrayStream& out);

/// Fills in the schema of a BatchReader, which is then closed. Throws.
void exportReaderSchema(JNIEnv* env, jobject reader, ArrowSchema& out);

/// The driver's function of this name.
const AdbcError* errorFromArrayStream(ArrowArrayStream* stream, AdbcStatusCode* status);

}  // namespace kivo::adbc
