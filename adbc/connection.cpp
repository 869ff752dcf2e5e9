#include <string>

#include "objects.h"

namespace kivo::adbc {

namespace {

constexpr JavaMethod kSetOption{"setOption", "(Ljava/lang/String;Ljava/lang/String;)Z"};
constexpr JavaMethod kGetOption{"getOption", "(Ljava/lang/String;)Ljava/lang/String;"};
constexpr JavaMethod kClose{"close", "()Z"};

constexpr const char* kAutoCommit = "adbc.connection.autocommit";

void setOn(JNIEnv* env, const Session& session, const char* name, const char* value) {
  const LocalRef<jstring> key = javaText(env, name);
  const LocalRef<jstring> text = javaText(env, value);
  session.connection.run(env, kSetOption, key.get(), text.get());
}

/// The failure before is the one to report.
void closeAfterFailure(JNIEnv* env, const Session& session) {
  try {
    session.connection.run(env, kClose);
  } catch (const Fault&) {
    return;
  }
}

}  // namespace

void Connection::setOption(const char* name, const char* value) {
  if (!session_) {
    options_.erase(name);
    if (value != nullptr) options_.emplace(name, value);
    return;
  }
  const Turn turn(*session_);
  setOn(turn.env, *session_, name, value);
}

std::string Connection::option(const char* name) {
  if (!session_) {
    const auto found = options_.find(name);
    if (found == options_.end()) throw Fault(ADBC_STATUS_NOT_FOUND, std::string(name) + " is not set");
    return found->second;
  }
  const Turn turn(*session_);
  const LocalRef<jstring> key = javaText(turn.env, name);
  const LocalRef<jobject> value = session_->connection.ask(turn.env, kGetOption, key.get());
  if (!value) throw Fault(ADBC_STATUS_NOT_FOUND, std::string(name) + " is not set");
  return textOf(turn.env, value.get());
}

void Connection::init(Database& database) {
  if (session_) throw Fault(ADBC_STATUS_INVALID_STATE, "the connection is already initialized");
  JNIEnv* env = environment();
  const PendingAside aside(env);
  const LocalRef<jobject> connected = database.connect(env);
  if (!connected) throw Fault(ADBC_STATUS_INTERNAL, "out of memory");
  const auto session = std::make_shared<Session>();
  session->connection.keep(env, connected.get());
  try {
    // Many databases take no other setting once a transaction is open.
    for (const auto& [name, value] : options_) {
      if (name != kAutoCommit) setOn(env, *session, name.c_str(), value.c_str());
    }
    const auto autoCommit = options_.find(kAutoCommit);
    if (autoCommit != options_.end()) setOn(env, *session, kAutoCommit, autoCommit->second.c_str());
  } catch (const Fault&) {
    closeAfterFailure(env, *session);
    throw;
  }
  session_ = session;
}

void Connection::close() {
  const std::shared_ptr<Session> session = std::move(session_);
  if (!session || isForked()) return;
  const Turn turn(*session);
  session->connection.run(turn.env, kClose);
}

const std::shared_ptr<Session>& Connection::session() const {
  if (!session_) throw Fault(ADBC_STATUS_INVALID_STATE, "the connection is not initialized");
  return session_;
}

}  // namespace kivo::adbc
