#pragma once

#include <jni.h>

#include <string>

#include "session/session.h"

namespace kivosql {

/// The companion jar's RowLoader. One thread, that of @p env.
class JavaRowLoader {
 public:
  JavaRowLoader() = default;
  ~JavaRowLoader();
  JavaRowLoader(const JavaRowLoader&) = delete;
  JavaRowLoader& operator=(const JavaRowLoader&) = delete;

  /// @param utilities the connected jdbcUtilities. @param insert for Java. @return false where rows cannot go this way.
  bool open(JNIEnv* env, jobject utilities, const std::string& insert, int columns);

  /// @return whether the rows are stored; @p why not is from Java.
  bool store(PackedRows& rows, std::string& why);

 private:
  JNIEnv* env_ = nullptr;
  jobject loader_ = nullptr;
};

/// The companion jar's FailedStatement. @param statements as they are on this side.
/// @return false when it is unknown.
bool findFailedStatement(JNIEnv* env, jobject utilities, const std::vector<std::string>& statements,
                         std::size_t& number, std::string& why);

/// Calls a method without parameters that answers whether it worked. @return that, with @p why not from Java
bool callUtilities(JNIEnv* env, jobject utilities, const char* method, std::string& why);

}  // namespace kivosql
