#include <cstddef>

#include "JavaConnectionUtils.h"
#include "JavaVmHost.h"
#include "jni/attach.h"
#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/pending.h"
#include "jni/text.h"

using namespace kivo;

namespace {

constexpr JavaMethod kSetParams{"setParams", "([Ljava/lang/String;[Ljava/lang/String;)V"};
constexpr JavaMethod kConnect{"connect", "()V"};
constexpr JavaMethod kCanDiscover{"canDiscover", "()Z"};
constexpr JavaMethod kQuery{"query", "()V"};
constexpr JavaMethod kNext{"next", "()Z"};
constexpr JavaMethod kGetColumn{"getColumn", "(I)Ljava/lang/String;"};

/// Calls a method without arguments and passes its answer on; false when it is missing or threw.
template <class Call>
bool simpleCall(JavaConnectionUtils& bridge, const JavaMethod& method, Call call) {
  if (bridge.connectionObject == nullptr) return false;
  describeLeftover(bridge.env);

  LocalRef<jclass> connectionClass(bridge.env);
  PendingCheck check(bridge.env);
  const jmethodID found = findMethodOf(bridge.env, bridge.connectionObject, connectionClass, method);
  if (found == nullptr) return false;
  const bool answer = call(found);
  return !isPending(bridge.env) && answer;
}

bool callAction(JavaConnectionUtils& bridge, const JavaMethod& method) {
  return simpleCall(bridge, method, [&bridge](jmethodID found) {
    bridge.env->CallVoidMethod(bridge.connectionObject, found);
    return true;
  });
}

bool callQuestion(JavaConnectionUtils& bridge, const JavaMethod& method) {
  return simpleCall(bridge, method, [&bridge](jmethodID found) {
    return bridge.env->CallBooleanMethod(bridge.connectionObject, found) == JNI_TRUE;
  });
}

}  // namespace

JavaConnectionUtils::JavaConnectionUtils(std::string& name) : className(name) {}

JavaConnectionUtils::~JavaConnectionUtils() {
  if (env != nullptr) dropGlobal(env, connectionObject);
}

bool JavaConnectionUtils::javaInit() {
  if (env == nullptr) {
    if (_globaljvm == nullptr) return false;
    env = attachThread();
    if (env == nullptr) return false;
  }
  if (connectionObject != nullptr) return true;
  // Another object on this thread may have left an exception pending; no member here works on top of one.
  describeLeftover(env);

  LocalRef<jobject> instance(env);
  LocalRef<jclass> connectionClass(env);
  PendingCheck check(env);
  if (!connectionClass.reset(env->FindClass(className.c_str()))) return false;
  instance = newObject(env, connectionClass.get());
  return instance && keepGlobal(env, connectionObject, instance.get());
}

jobjectArray JavaConnectionUtils::buildStringArray(std::vector<std::string>& strings) {
  if (env == nullptr) return nullptr;
  describeLeftover(env);

  const auto count = static_cast<jsize>(strings.size());
  LocalRef<jobjectArray> array(env);
  LocalRef<jclass> stringClass(env);
  PendingCheck check(env);
  const auto textAt = [&strings](jsize index) { return strings[static_cast<std::size_t>(index)].c_str(); };
  return makeTextArray(env, stringClass, array, count, textAt) ? array.release() : nullptr;
}

bool JavaConnectionUtils::setParams(std::vector<std::string>& names, std::vector<std::string>& values) {
  if (connectionObject == nullptr) return false;

  LocalRef<jobjectArray> valueArray(env);
  LocalRef<jobjectArray> nameArray(env);
  LocalRef<jclass> connectionClass(env);
  if (!nameArray.reset(buildStringArray(names)) || !valueArray.reset(buildStringArray(values))) return false;
  PendingCheck check(env);
  const jmethodID found = findMethodOf(env, connectionObject, connectionClass, kSetParams);
  if (found == nullptr) return false;
  env->CallVoidMethod(connectionObject, found, nameArray.get(), valueArray.get());
  return !isPending(env);
}

bool JavaConnectionUtils::makeConnection() { return callAction(*this, kConnect); }

bool JavaConnectionUtils::canDiscover() { return callQuestion(*this, kCanDiscover); }

bool JavaConnectionUtils::query() { return callAction(*this, kQuery); }

bool JavaConnectionUtils::next() { return callQuestion(*this, kNext); }

bool JavaConnectionUtils::getColumn(int index, char*& value) {
  if (connectionObject == nullptr) return false;
  describeLeftover(env);

  value = nullptr;
  LocalRef<jclass> connectionClass(env);
  LocalRef<jobject> text(env);
  PendingCheck check(env);
  const jmethodID found = findMethodOf(env, connectionObject, connectionClass, kGetColumn);
  if (found == nullptr) return false;
  text = callObject(env, connectionObject, found, static_cast<jint>(index));
  if (!text) return !isPending(env);
  // Out of memory is a failure; the result tells it from a Java null.
  value = copyTextToBuffer(env, static_cast<jstring>(text.get()));
  return value != nullptr;
}
