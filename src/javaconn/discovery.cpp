#include "JavaConnectionUtils.h"
#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/pending.h"
#include "jni/text.h"

using namespace kivo;

namespace {

constexpr JavaMethod kDiscoverTables{"discoverTables", "(Ljava/util/Vector;)Z"};
constexpr JavaMethod kDiscoverTable{"discoverTable", "(Ljava/lang/String;Ljava/util/Vector;Ljava/util/Vector;)Z"};
constexpr JavaMethod kSize{"size", "()I"};
constexpr JavaMethod kGet{"get", "(I)Ljava/lang/Object;"};

LocalRef<jobject> newVector(JNIEnv* env) {
  LocalRef<jclass> vectorClass(env);
  PendingCheck check(env);
  if (!vectorClass.reset(env->FindClass("java/util/Vector"))) return LocalRef<jobject>(env);
  return newObject(env, vectorClass.get());
}

/// Appends one element's text. A null or foreign element ends the walk: its text would be a guess.
bool appendElement(JNIEnv* env, jobject element, jclass stringClass, std::vector<std::string>& list) {
  if (element == nullptr || env->IsInstanceOf(element, stringClass) != JNI_TRUE) return false;
  const TextCharacters characters(env, static_cast<jstring>(element));
  if (characters.get() == nullptr) return false;
  list.emplace_back(characters.get());
  return true;
}

bool appendVector(JNIEnv* env, jobject vector, std::vector<std::string>& list) {
  LocalRef<jclass> stringClass(env);
  LocalRef<jclass> vectorClass(env);
  PendingCheck check(env);
  const jmethodID size = findMethodOf(env, vector, vectorClass, kSize);
  if (size == nullptr) return false;
  const jint count = env->CallIntMethod(vector, size);
  if (isPending(env) || count < 0) return false;
  const jmethodID get = findMethod(env, vectorClass.get(), kGet);
  if (get == nullptr || !stringClass.reset(env->FindClass("java/lang/String"))) return false;

  for (jint index = 0; index < count; ++index) {
    const LocalRef<jobject> element = callObject(env, vector, get, index);
    if (!appendElement(env, element.get(), stringClass.get(), list)) return false;
  }
  return true;
}

/// Java's answer; false when it threw.
template <class... Arguments>
bool ask(JavaConnectionUtils& bridge, jmethodID method, Arguments... arguments) {
  const bool answer = bridge.env->CallBooleanMethod(bridge.connectionObject, method, arguments...) == JNI_TRUE;
  return !isPending(bridge.env) && answer;
}

}  // namespace

bool JavaConnectionUtils::discoverTables(std::vector<std::string>& tables) {
  if (connectionObject == nullptr) return false;
  describeLeftover(env);

  LocalRef<jobject> vector(env);
  LocalRef<jclass> connectionClass(env);
  PendingCheck check(env);
  const jmethodID method = findMethodOf(env, connectionObject, connectionClass, kDiscoverTables);
  if (method == nullptr) return false;
  vector = newVector(env);
  return vector && ask(*this, method, vector.get()) && appendVector(env, vector.get(), tables);
}

bool JavaConnectionUtils::discoverTable(std::string& tableName, std::vector<std::string>& firstList,
                                        std::vector<std::string>& secondList) {
  if (connectionObject == nullptr) return false;
  describeLeftover(env);

  LocalRef<jstring> name(env);
  LocalRef<jobject> second(env);
  LocalRef<jobject> first(env);
  LocalRef<jclass> connectionClass(env);
  PendingCheck check(env);
  name = newJavaText(env, tableName);
  if (!name) return false;
  const jmethodID method = findMethodOf(env, connectionObject, connectionClass, kDiscoverTable);
  if (method == nullptr) return false;
  first = newVector(env);
  if (!first) return false;
  second = newVector(env);
  return second && ask(*this, method, name.get(), first.get(), second.get()) &&
         appendVector(env, first.get(), firstList) && appendVector(env, second.get(), secondList);
}
