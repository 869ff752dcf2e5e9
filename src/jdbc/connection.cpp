#include "JdbcUtils.h"
#include "jdbc/properties.h"
#include "jdbc/vendors.h"
#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/pending.h"

using namespace kivo;
using namespace kivo::jdbc;

namespace {

constexpr JavaMethod kGetConnection{"getConnection", "()Ljava/sql/Connection;"};
constexpr JavaMethod kSetAutoCommit{"setAutoCommit", "(Z)V"};
constexpr JavaMethod kCommit{"commit", "()V"};

constexpr const char* kUnknownVendor = "getConnection() failed -- Unknown vendor.";
constexpr const char* kNoUrl = "getConnection() -- could not construct URL.";
constexpr const char* kNoSupport = "getConnection() -- could not get correct java support methods.";
constexpr const char* kNoGetConnection = "getConnection() -- could not get the java method getConnection().";
constexpr const char* kNotConnected = "getConnection() -- the getConnection() failed.";
constexpr const char* kNoSetAutoCommit = "getConnection() -- ciould not obtain the setAutoCommit() method.";  // sic
constexpr const char* kNoCommit = "getConnection() -- could not obtain the commit() method.";

/// Keeps the connection and looks up the two methods that transactions need. @return the text of the failure, or null.
const char* keepConnection(JdbcUtils& utils, jobject opened, LocalRef<jclass>& connectionClass) {
  // Methods of an earlier connection must not outlive it when a lookup below fails.
  utils.setAutoCommitMethod = nullptr;
  utils.commitMethod = nullptr;
  if (!keepGlobal(utils.env, utils.connection, opened)) return kNoSetAutoCommit;
  utils.setAutoCommitMethod = findMethodOf(utils.env, utils.connection, connectionClass, kSetAutoCommit);
  if (utils.setAutoCommitMethod == nullptr) return kNoSetAutoCommit;
  utils.commitMethod = findMethod(utils.env, connectionClass.get(), kCommit);
  return utils.commitMethod == nullptr ? kNoCommit : nullptr;
}

}  // namespace

bool JdbcUtils::getConnection(std::string& user, std::string& password, std::string& errorText) {
  if (connection != nullptr) return true;
  const Vendor& known = vendorOfKey(vendor);
  const auto fail = [&errorText](const char* text) {
    errorText = text;
    return false;
  };
  if (known.dataSource == nullptr) return fail(kUnknownVendor);
  if (env == nullptr) return false;
  describeLeftover(env);

  LocalRef<jobject> opened(env);
  LocalRef<jobject> dataSource(env);
  LocalRef<jclass> connectionClass(env);
  LocalRef<jclass> dataSourceClass(env);
  PendingCheck check(env);
  if (!dataSourceClass.reset(env->FindClass(known.dataSource))) return false;
  dataSource = newObject(env, dataSourceClass.get());
  if (!dataSource) return false;
  if (!(this->*known.configure)(dataSourceClass.get(), dataSource.get(), url)) return fail(kNoUrl);
  if (!findAndSet({env, {{known.userSetter, user}}}, dataSourceClass.get(), dataSource.get())) return fail(kNoSupport);
  if (!findAndSet({env, {{known.passwordSetter, password}}}, dataSourceClass.get(), dataSource.get())) {
    return fail(kNoSupport);
  }
  const jmethodID connect = findMethod(env, dataSourceClass.get(), kGetConnection);
  if (connect == nullptr) return fail(kNoGetConnection);
  opened = callObject(env, dataSource.get(), connect);
  if (!opened) return fail(kNotConnected);
  if (const char* text = keepConnection(*this, opened.get(), connectionClass)) return fail(text);
  if (!setAutoCommit(true)) return fail(kNoSupport);
  errorText.clear();
  return true;
}

bool JdbcUtils::setAutoCommit(bool on) {
  if (autoCommit == on) return true;
  autoCommit = on;
  if (connection == nullptr || setAutoCommitMethod == nullptr) return false;
  describeLeftover(env);
  env->CallVoidMethod(connection, setAutoCommitMethod, static_cast<jboolean>(on));
  return true;
}

bool JdbcUtils::commit() {
  if (env == nullptr || connection == nullptr || commitMethod == nullptr) return false;
  describeLeftover(env);
  env->CallVoidMethod(connection, commitMethod);
  return true;
}
