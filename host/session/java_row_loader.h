#pragma once

#include <jni.h>

#include <optional>
#include <string>
#include <vector>

#include "session/session.h"

namespace kivosql {

/// The companion jar's RowLoader: what WritingSession does with rows. One thread, that of @p env. After a failure
/// error() says why, in JNI's text.
class JavaRowLoader {
 public:
  JavaRowLoader() = default;
  ~JavaRowLoader();
  JavaRowLoader(const JavaRowLoader&) = delete;
  JavaRowLoader& operator=(const JavaRowLoader&) = delete;

  /// @param utilities the connected jdbcUtilities
  bool prepare(JNIEnv* env, jobject utilities, const std::string& table, const std::vector<std::string>& columns);
  bool undoes() { return call("undoes"); }
  bool store(PackedRows& rows);
  std::optional<std::size_t> failedRow(PackedRows& rows);
  bool sync() { return call("sync"); }

  const std::string& error() const { return error_; }

 private:
  /// Makes the Java object. @return false, with an exception pending or without, on failure.
  bool make(jobject utilities, const std::string& table, const std::vector<std::string>& columns);

  /// Calls a method that answers whether it worked.
  bool call(const char* method);

  /// Calls a method with the rows as direct buffers. @return nothing when it was not reached.
  template <typename Result>
  std::optional<Result> callWith(PackedRows& rows, const char* method, const char* signature,
                                 Result (JNIEnv::*caller)(jobject, jmethodID, ...));

  /// Fetches the error from Java, or the exception that escaped it.
  void takeError();

  JNIEnv* env_ = nullptr;
  jobject loader_ = nullptr;
  std::string error_;
};

/// Calls a method without parameters that answers whether it worked. @return that, with @p why not from Java
bool callUtilities(JNIEnv* env, jobject utilities, const char* method, std::string& why);

}  // namespace kivosql
