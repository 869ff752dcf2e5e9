#include <cstring>
#include <utility>

#include "jni_ledger.h"

namespace kivo::test {
namespace {

const void* address(const void* pointer) { return pointer; }
const void* address(jlong) { return nullptr; }

}  // namespace

struct JniLedger::Slots {
  using T = JNINativeInterface_;

  template <auto Slot>
  struct Forward;

  /// Calls of C++ arrive at the V functions of the table, whose va_list passes through as it is.
  template <class Result, class... Arguments, Result (JNICALL* T::*Slot)(JNIEnv*, Arguments...)>
  struct Forward<Slot> {
    static inline Rule rule;

    static Result failed() {
      if constexpr (std::is_integral_v<Result>) return static_cast<Result>(rule.failure);
      return Result();
    }

    static Result JNICALL call(JNIEnv* env, Arguments... arguments) {
      const AllocationPause pause;
      auto& thread = static_cast<Thread&>(*env);
      Call call{thread, rule, {address(arguments)...}};
      if (!thread.ledger->admit(call)) return failed();
      if constexpr (std::is_void_v<Result>) {
        (thread.real->functions->*Slot)(thread.real, arguments...);
        thread.ledger->conclude(call, nullptr);
      } else {
        const Result result = (thread.real->functions->*Slot)(thread.real, arguments...);
        return thread.ledger->conclude(call, address(result)) ? result : failed();
      }
    }
  };

  static void reportUnused(JniLedger& ledger, const std::string& what) {
    const AllocationPause pause;
    ledger.violate("unused function: " + what);
  }
  /// Stands in functions of any type, which a sanitizer would object to.
  template <size_t Index>
  __attribute__((no_sanitize("undefined"))) static jlong JNICALL unused(JNIEnv* env) {
    reportUnused(*static_cast<Thread*>(env)->ledger, "slot " + std::to_string(Index));
    return 0;
  }
  template <size_t... Index>
  static T unusedTable(std::index_sequence<Index...>) {
    void* const slots[] = {reinterpret_cast<void*>(&unused<Index>)...};
    T table;
    static_assert(sizeof slots == sizeof table);
    std::memcpy(&table, slots, sizeof slots);
    return table;
  }

  template <auto Slot>
  static void use(T& table, const Rule& rule) {
    Forward<Slot>::rule = rule;
    table.*Slot = &Forward<Slot>::call;
  }

  static inline const Rule attachRule{"AttachCurrentThread", "", '-', "T"};
  static inline const Rule daemonRule{"AttachCurrentThreadAsDaemon", "", '-', "T"};
  static JniLedger& ledgerOf(JavaVM* vm) { return *static_cast<Vm*>(vm)->ledger; }

  static void useArrays(T& t);
  static T usedTable();
  static JNIInvokeInterface_ usedVmTable();
};

void JniLedger::Slots::useArrays(T& t) {
  use<&T::GetArrayLength>(t, {"GetArrayLength", "r", '-', ""});
  use<&T::NewObjectArray>(t, {"NewObjectArray", ".ro", 'l', "MN"});
  use<&T::GetObjectArrayElement>(t, {"GetObjectArrayElement", "r.", 'l', "NB"});
  use<&T::SetObjectArrayElement>(t, {"SetObjectArrayElement", "r.o", '-', "B"});
  use<&T::NewIntArray>(t, {"NewIntArray", ".", 'l', "MN"});
  use<&T::SetIntArrayRegion>(t, {"SetIntArrayRegion", "r...", '-', ""});
  use<&T::NewLongArray>(t, {"NewLongArray", ".", 'l', "MN"});
  use<&T::SetLongArrayRegion>(t, {"SetLongArrayRegion", "r...", '-', ""});
  use<&T::GetByteArrayRegion>(t, {"GetByteArrayRegion", "r...", '-', "B"});
  use<&T::GetLongArrayRegion>(t, {"GetLongArrayRegion", "r...", '-', "B"});
  use<&T::GetIntArrayElements>(t, {"GetIntArrayElements", "r.", 'c', "MN"});
  use<&T::ReleaseIntArrayElements>(t, {"ReleaseIntArrayElements", "rc.", '-', "", "", true});
}

JNINativeInterface_ JniLedger::Slots::usedTable() {
  T t = unusedTable(std::make_index_sequence<sizeof(T) / sizeof(void*)>());
  use<&T::FindClass>(t, {"FindClass", "t", 'l', "MNBA"});
  use<&T::GetObjectClass>(t, {"GetObjectClass", "r", 'l', "N"});
  use<&T::IsInstanceOf>(t, {"IsInstanceOf", "or", '-', ""});
  use<&T::GetMethodID>(t, {"GetMethodID", "rtt", 'm', "MNB"});
  use<&T::GetStaticMethodID>(t, {"GetStaticMethodID", "rtt", 'm', "MNB", "s"});
  use<&T::NewObjectV>(t, {"NewObject", "rmv", 'l', "MNBA", "C"});
  use<&T::CallObjectMethodV>(t, {"CallObjectMethod", "rmv", 'l', "MNBA", "L"});
  use<&T::CallBooleanMethodV>(t, {"CallBooleanMethod", "rmv", '-', "MBA", "Z"});
  use<&T::CallIntMethodV>(t, {"CallIntMethod", "rmv", '-', "MBA", "I"});
  use<&T::CallLongMethodV>(t, {"CallLongMethod", "rmv", '-', "MBA", "J"});
  use<&T::CallVoidMethodV>(t, {"CallVoidMethod", "rmv", '-', "MBA", "V"});
  use<&T::CallStaticObjectMethodV>(t, {"CallStaticObjectMethod", "rmv", 'l', "MNBA", "sL"});
  use<&T::CallStaticVoidMethodV>(t, {"CallStaticVoidMethod", "rmv", '-', "MBA", "sV"});
  use<&T::NewStringUTF>(t, {"NewStringUTF", "t", 'l', "MN"});
  use<&T::GetStringUTFChars>(t, {"GetStringUTFChars", "r.", 'c', "MN"});
  use<&T::ReleaseStringUTFChars>(t, {"ReleaseStringUTFChars", "rc", '-', "", "", true});
  useArrays(t);
  use<&T::NewGlobalRef>(t, {"NewGlobalRef", "o", 'g', "MN"});
  use<&T::DeleteGlobalRef>(t, {"DeleteGlobalRef", "g", '-', "", "", true});
  use<&T::DeleteLocalRef>(t, {"DeleteLocalRef", "d", '-', "", "", true});
  use<&T::PushLocalFrame>(t, {"PushLocalFrame", "f", '-', "M", "", false, JNI_ERR});
  use<&T::PopLocalFrame>(t, {"PopLocalFrame", "p", 'l', "", "", true});
  use<&T::NewDirectByteBuffer>(t, {"NewDirectByteBuffer", "..", 'l', "MN"});
  use<&T::GetDirectBufferAddress>(t, {"GetDirectBufferAddress", "r", '-', "N"});
  use<&T::Throw>(t, {"Throw", "r", '-', ""});
  use<&T::ExceptionOccurred>(t, {"ExceptionOccurred", "", 'l', "", "", true});
  use<&T::ExceptionDescribe>(t, {"ExceptionDescribe", "", '-', "", "", true});
  use<&T::ExceptionClear>(t, {"ExceptionClear", "", '-', "", "", true});
  use<&T::ExceptionCheck>(t, {"ExceptionCheck", "", '-', "", "", true});
  return t;
}

const JNINativeInterface_& JniLedger::table() {
  static const JNINativeInterface_ used = Slots::usedTable();
  return used;
}

JNIInvokeInterface_ JniLedger::Slots::usedVmTable() {
  JNIInvokeInterface_ t{};
  t.AttachCurrentThread = [](JavaVM* vm, void** env, void*) {
    return ledgerOf(vm).attach(attachRule, env, &JavaVM::AttachCurrentThread);
  };
  t.AttachCurrentThreadAsDaemon = [](JavaVM* vm, void** env, void*) {
    return ledgerOf(vm).attach(daemonRule, env, &JavaVM::AttachCurrentThreadAsDaemon);
  };
  t.DetachCurrentThread = [](JavaVM* vm) { return ledgerOf(vm).detach(); };
  t.DestroyJavaVM = [](JavaVM* vm) {
    reportUnused(ledgerOf(vm), "DestroyJavaVM");
    return jint{JNI_ERR};
  };
  t.GetEnv = [](JavaVM* vm, void** env, jint version) { return ledgerOf(vm).environment(env, version); };
  return t;
}

const JNIInvokeInterface_& JniLedger::vmTable() {
  static const JNIInvokeInterface_ used = Slots::usedVmTable();
  return used;
}

}  // namespace kivo::test
