#include <utility>

#include "JdbcUtils.h"
#include "jdbc/properties.h"
#include "jdbc/url_parts.h"
#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/pending.h"
#include "jni/text.h"

using namespace kivo;
using namespace kivo::jdbc;

namespace {

constexpr JavaMethod kSetUrl{"setURL", "(Ljava/lang/String;)V"};
constexpr JavaMethod kSetProperty{"setProperty", "(Ljava/lang/String;Ljava/lang/String;)Ljava/lang/Object;"};
constexpr JavaMethod kSetConnectionProperties{"setConnectionProperties", "(Ljava/util/Properties;)V"};

constexpr jint kDriverType = 4;

/// Whether Java may be called: the thread is attached, and no exception of an earlier call is pending.
bool canCall(JNIEnv* env) { return env != nullptr && !isPending(env); }

/// The parts of a URL that most vendors' DataSources take.
Properties serverProperties(JNIEnv* env, const UrlParts& parts) {
  return {
      env,
      {{"setServerName", parts.host}, {"setPortNumber", portNumber(parts.port)}, {"setDatabaseName", parts.database}}};
}

/// Makes the connection properties that have the server speak UTF-8; null on failure, Java's error left pending.
LocalRef<jobject> newUtf8Properties(JNIEnv* env) {
  LocalRef<jobject> none(env);
  const LocalRef<jclass> propertiesClass(env, env->FindClass("java/util/Properties"));
  if (!propertiesClass) return none;
  LocalRef<jobject> properties = newObject(env, propertiesClass.get());
  if (!properties) return none;
  const jmethodID setProperty = findMethod(env, propertiesClass.get(), kSetProperty);
  if (setProperty == nullptr) return none;
  const LocalRef<jstring> name = newJavaText(env, "charset");
  if (!name) return none;
  const LocalRef<jstring> value = newJavaText(env, "utf8");
  if (!value) return none;
  const LocalRef<jobject> previous = callObject(env, properties.get(), setProperty, name.get(), value.get());
  return isPending(env) ? std::move(none) : std::move(properties);
}

bool setUtf8Properties(JNIEnv* env, jclass dataSourceClass, jobject dataSource) {
  const LocalRef<jobject> properties = newUtf8Properties(env);
  if (!properties) return false;
  const jmethodID setter = findMethod(env, dataSourceClass, kSetConnectionProperties);
  if (setter == nullptr) return false;
  env->CallVoidMethod(dataSource, setter, properties.get());
  return !isPending(env);
}

}  // namespace

bool JdbcUtils::jdbcURL(jclass dataSourceClass, jobject dataSource, std::string& jdbcUrl) {
  return canCall(env) && findAndSet({env, {{kSetUrl.name, jdbcUrl}}}, dataSourceClass, dataSource);
}

bool JdbcUtils::kdbURL(jclass dataSourceClass, jobject dataSource, std::string& jdbcUrl) {
  return jdbcURL(dataSourceClass, dataSource, jdbcUrl);
}

bool JdbcUtils::TeradataURL(jclass dataSourceClass, jobject dataSource, std::string& jdbcUrl) {
  const auto parts = cutTeradataUrl(jdbcUrl);
  if (!canCall(env) || !parts) return false;
  const Properties properties(
      env, {{"setDSName", parts->host}, {"setDBS_PORT", parts->port}, {"setDATABASE", parts->database}});
  return findAndSet(properties, dataSourceClass, dataSource);
}

bool JdbcUtils::SqlServerURL(jclass dataSourceClass, jobject dataSource, std::string& jdbcUrl) {
  const auto parts = cutSqlServerUrl(jdbcUrl);
  if (!canCall(env) || !parts) return false;
  // The class must have setURL, which is not called: the driver accepts only another URL form there.
  return findMethod(env, dataSourceClass, kSetUrl) != nullptr &&
         findAndSet(serverProperties(env, *parts), dataSourceClass, dataSource);
}

bool JdbcUtils::PostgresURL(jclass dataSourceClass, jobject dataSource, std::string& jdbcUrl) {
  const auto parts = cutPostgresUrl(jdbcUrl);
  return canCall(env) && parts && findAndSet(serverProperties(env, *parts), dataSourceClass, dataSource);
}

bool JdbcUtils::DB2URL(jclass dataSourceClass, jobject dataSource, std::string& jdbcUrl) {
  const auto parts = cutDb2Url(jdbcUrl);
  if (!canCall(env) || !parts) return false;
  Properties properties = serverProperties(env, *parts);
  properties.add({"setDriverType", kDriverType});
  return findAndSet(std::move(properties), dataSourceClass, dataSource);
}

bool JdbcUtils::VelmarURL(jclass dataSourceClass, jobject dataSource, std::string& jdbcUrl) {
  const auto parts = cutVelmarUrl(jdbcUrl);
  if (!canCall(env) || !parts) return false;
  Properties properties = serverProperties(env, *parts);
  return properties.find(dataSourceClass) && setUtf8Properties(env, dataSourceClass, dataSource) &&
         properties.set(dataSource);
}
