#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "adbc.h"
#include "bound.h"
#include "java_object.h"
#include "session.h"

namespace kivo::adbc {

/// What the handles of ADBC point to. Options are text here; other types are converted at the functions. All throw
/// Fault; an option's value may be null, which resets it.
class Database {
 public:
  static constexpr const char* kKind = "database";

  void setOption(const char* name, const char* value);
  std::string option(const char* name);
  void init();

  /// @return a connection of the jar
  LocalRef<jobject> connect(JNIEnv* env);

  /// Connections live on.
  void close() {}

 private:
  std::map<std::string, std::string> options_;
  JavaObject java_;
};

class Connection {
 public:
  static constexpr const char* kKind = "connection";

  void setOption(const char* name, const char* value);
  std::string option(const char* name);
  void init(Database& database);
  void close();
  const std::shared_ptr<Session>& session() const;

 private:
  std::map<std::string, std::string> options_;  ///< until init()
  std::shared_ptr<Session> session_;
};

class Statement {
 public:
  static constexpr const char* kKind = "statement";

  void make(const std::shared_ptr<Session>& session);
  void setOption(const char* name, const char* value);
  std::string option(const char* name);
  void close();
  void setSql(const char* sql);
  void prepare();
  void bind(Bound rows);
  void parameterSchema(ArrowSchema& out);
  void executeSchema(ArrowSchema& out);

  /// @param out may be null. @return how many rows changed, or -1
  std::int64_t execute(ArrowArrayStream* out);

  void cancel();

 private:
  Session& session() const;
  std::int64_t executeOnce(Bound& rows, ArrowArrayStream* out);
  bool returnsRows();
  std::int64_t runOverRows(Bound& rows);
  void bindBatch(JNIEnv* env, const Bound& rows, const PlainBatch& batch);
  void endRows(JNIEnv* env, bool worked);

  std::shared_ptr<Session> session_;
  JavaObject java_;
  Bound rows_;
  bool ingests_ = false;
};

}  // namespace kivo::adbc
