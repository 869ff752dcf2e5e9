#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "JavaVmHost.h"
#include "jni/local_ref.h"
#include "support/jni_ledger.h"
#include "support/vm_fixture.h"

namespace kivo::test {
namespace {

[[maybe_unused]] const auto* const kVm = testing::AddGlobalTestEnvironment(new VmEnvironment);

constexpr const char* kEquals = "(Ljava/lang/Object;)Z";

/// Where a fault is planted: an operation with a local reference to a text.
struct Site {
  JniLedger& ledger;
  JNIEnv* env;
  jstring text;

  jclass object() const { return env->FindClass("java/lang/Object"); }
  jmethodID equals() const { return env->GetMethodID(LocalRef<jclass>(env, object()).get(), "equals", kEquals); }
  jclass gone() const {
    const jclass released = object();
    env->DeleteLocalRef(released);
    return released;
  }
  static void onOtherThread(const std::function<void()>& body) {
    std::thread([&body] {
      body();
      _globaljvm->DetachCurrentThread();
    }).join();
  }
};

/// One fault and what the ledger says of it.
struct Planted {
  const char* complaint;
  void (*operation)(const Site& at);
};

const Planted kPlanted[] = {
    {"", [](const Site& at) { at.env->CallBooleanMethod(at.text, at.equals(), nullptr); }},
    {"1 local references left\n", [](const Site& at) { at.object(); }},
    {"1 global references left\n", [](const Site& at) { at.env->NewGlobalRef(at.text); }},
    {"1 characters left\n", [](const Site& at) { at.env->GetStringUTFChars(at.text, nullptr); }},
    {"1 frames left\n", [](const Site& at) { at.env->PushLocalFrame(2); }},
    {"no frame: PopLocalFrame\n", [](const Site& at) { at.env->PopLocalFrame(nullptr); }},
    {"exception pending: FindClass java/lang/Object\n",
     [](const Site& at) {
       at.env->FindClass("no/such/Class");
       at.object();
     }},
    {"wrong thread: ExceptionCheck\n", [](const Site& at) { at.onOtherThread([&] { at.env->ExceptionCheck(); }); }},
    {"reference of another thread: GetObjectClass\n",
     [](const Site& at) { at.onOtherThread([&] { at.ledger.env()->GetObjectClass(at.text); }); }},
    {"unused function: slot 4\n", [](const Site& at) { at.env->GetVersion(); }},
    {"unused function: DestroyJavaVM\n", [](const Site&) { _globaljvm->DestroyJavaVM(); }},
    {"null reference: GetObjectClass\n", [](const Site& at) { at.env->GetObjectClass(nullptr); }},
    {"null text: NewStringUTF\n", [](const Site& at) { at.env->NewStringUTF(nullptr); }},
    {"bad text: NewStringUTF \xF0\x9F\x98\x80\n", [](const Site& at) { at.env->NewStringUTF("\xF0\x9F\x98\x80"); }},
    {"dead reference: DeleteLocalRef\n", [](const Site& at) { at.env->DeleteLocalRef(at.gone()); }},
    {"dead reference: DeleteGlobalRef\n",
     [](const Site& at) {
       const jobject global = at.env->NewGlobalRef(at.text);
       at.env->DeleteGlobalRef(global);
       at.env->DeleteGlobalRef(global);
     }},
    {"dead reference: CallBooleanMethod equals\n",
     [](const Site& at) { at.env->CallBooleanMethod(at.text, at.equals(), at.gone()); }},
    {"global reference deleted as local: DeleteLocalRef\n1 global references left\n",
     [](const Site& at) { at.env->DeleteLocalRef(at.env->NewGlobalRef(at.text)); }},
    {"local reference deleted as global: DeleteGlobalRef\n", [](const Site& at) { at.env->DeleteGlobalRef(at.text); }},
    {"null method: CallVoidMethod\n", [](const Site& at) { at.env->CallVoidMethod(at.text, jmethodID()); }},
    {"unknown method: CallVoidMethod\n",
     [](const Site& at) { at.env->CallVoidMethod(at.text, reinterpret_cast<jmethodID>(at.env)); }},
    {"wrong call: CallIntMethod equals\n",
     [](const Site& at) { at.env->CallIntMethod(at.text, at.equals(), at.text); }},
    {"wrong characters: ReleaseStringUTFChars\n1 characters left\n",
     [](const Site& at) {
       const LocalRef<jstring> other(at.env, at.env->NewStringUTF("other"));
       at.env->ReleaseStringUTFChars(other.get(), at.env->GetStringUTFChars(at.text, nullptr));
     }},
};

TEST(JniLedgerTest, CatchesPlantedFaults) {
  for (const Planted& row : kPlanted) {
    JniLedger ledger;
    const Site at{ledger, ledger.env(), ledger.env()->NewStringUTF("text")};
    row.operation(at);
    at.env->DeleteLocalRef(at.text);
    EXPECT_EQ(ledger.complaint(), row.complaint);
    ledger.clearException();
  }
}

/// A blameless operation that can fail in every way. @return whether it came to its end.
bool copyText() {
  JNIEnv* env = nullptr;
  _globaljvm->AttachCurrentThread(reinterpret_cast<void**>(&env), nullptr);
  if (env == nullptr) return false;
  const LocalRef<jclass> textClass(env, env->FindClass("java/lang/String"));
  if (!textClass) return false;
  const jmethodID trim = env->GetMethodID(textClass.get(), "trim", "()Ljava/lang/String;");
  if (trim == nullptr) return false;
  const LocalRef<jstring> text(env, env->NewStringUTF(" text"));
  if (!text) return false;
  const LocalRef<jstring> trimmed(env, env->CallObjectMethod(text.get(), trim));
  if (!trimmed) return false;
  const char* characters = env->GetStringUTFChars(trimmed.get(), nullptr);
  if (characters == nullptr) return false;
  const bool right = std::string(characters) == "text";
  env->ReleaseStringUTFChars(trimmed.get(), characters);
  const std::vector<char> room(64);
  const std::unique_ptr<void, decltype(&std::free)> buffer(std::malloc(8), &std::free);
  return right && buffer != nullptr;
}

TEST(JniLedgerTest, FailsEveryCallThatKnowsTheFaultOnce) {
  const std::pair<Fault, int> rows[] = {{Fault::kOutOfMemory, 5}, {Fault::kNull, 5},   {Fault::kThrowBefore, 3},
                                        {Fault::kThrowAfter, 2},  {Fault::kAttach, 1}, {Fault::kAllocation, 2}};
  JniLedger ledger;
  for (const auto& [fault, points] : rows) {
    for (const bool lasting : {false, true}) {
      int succeeded = 0;
      const auto operation = [&succeeded = succeeded] { succeeded += copyText() ? 1 : 0; };
      EXPECT_EQ(sweepFaults(ledger, fault, operation, lasting), points);
      EXPECT_EQ(succeeded, 1) << "only the last run, which no fault hits, is whole";
    }
  }
}

TEST(JniLedgerTest, ASweepReportsWhatOneFailingCallLeavesBehind) {
  JniLedger ledger;
  const auto leaky = [env = ledger.env()] {
    const jclass found = env->FindClass("java/lang/Object");
    if (found == nullptr || env->GetMethodID(found, "hashCode", "()I") == nullptr) return;
    env->DeleteLocalRef(found);
  };
  testing::TestPartResultArray reported;
  {
    const testing::ScopedFakeTestPartResultReporter intercepted(
        testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &reported);
    sweepFaults(ledger, Fault::kNull, leaky);
  }
  ASSERT_GT(reported.size(), 0);
  EXPECT_NE(std::string(reported.GetTestPartResult(0).message()).find("liveLocals"), std::string::npos);
}

TEST(JniLedgerTest, SparesTheAllocationsOfJniCalls) {
  JniLedger ledger;
  JNIEnv* env = ledger.env();
  JniLedger::plan(Fault::kAllocation, 1, true);
  const Armed armed(Fault::kAllocation);
  EXPECT_TRUE(armed([&] { env->DeleteLocalRef(env->FindClass("java/lang/Object")); }));
  EXPECT_FALSE(JniLedger::faultFired());
  EXPECT_FALSE(armed([] { static_cast<void>(std::vector<int>(3)); })) << "an escaping bad_alloc ends only the run";
}

}  // namespace
}  // namespace kivo::test
