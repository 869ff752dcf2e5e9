// Arrow streams of open results on several threads, and when a call of the Java VM fails.

#include <gtest/gtest.h>

#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "JavaVmHost.h"
#include "KivoArrow.h"
#include "arrow_source.h"
#include "jni/local_ref.h"
#include "jni_ledger.h"

namespace kivo::test {
namespace {

JNIEnv* attachedEnvironment() {
  void* env = nullptr;
  return _globaljvm->GetEnv(&env, JNI_VERSION_1_8) == JNI_OK ? static_cast<JNIEnv*>(env) : nullptr;
}

TEST(ArrowStreams, LeaveAPendingExceptionPending) {
  Numbers numbers(5);
  JNIEnv* env = attachedEnvironment();
  const jclass thrown = env->FindClass("java/lang/IllegalStateException");
  env->ThrowNew(thrown, "left over");
  EXPECT_EQ(readAll(numbers.stream).text, "<1><2><3><4><5>");
  EXPECT_TRUE(env->ExceptionCheck());
  numbers.stream.release(&numbers.stream);
  EXPECT_TRUE(env->ExceptionCheck());
  env->ExceptionClear();
  env->DeleteLocalRef(thrown);
}

bool isDaemon(JNIEnv* env) {
  const LocalRef<jclass> type(env, env->FindClass("java/lang/Thread"));
  const jmethodID current = env->GetStaticMethodID(type.get(), "currentThread", "()Ljava/lang/Thread;");
  const LocalRef<jobject> thread(env, env->CallStaticObjectMethod(type.get(), current));
  EXPECT_FALSE(env->ExceptionCheck());
  const jboolean answer = env->CallBooleanMethod(thread.get(), env->GetMethodID(type.get(), "isDaemon", "()Z"));
  EXPECT_FALSE(env->ExceptionCheck());
  return answer == JNI_TRUE;
}

/// Sees at the end of a thread, after the library's own object on it is gone, whether the thread is still attached.
void lookAtTheEnd(bool& attached) {
  static thread_local std::shared_ptr<void> look;
  look = {nullptr, [&attached](void* /*none*/) { attached = attachedEnvironment() != nullptr; }};
}

TEST(ArrowStreams, AttachAThreadForAsLongAsItLives) {
  for (const bool isHosts : {false, true}) {
    SCOPED_TRACE(isHosts);
    Numbers numbers(5);
    bool attachedAtEnd = !isHosts;
    std::thread([&] {
      lookAtTheEnd(attachedAtEnd);
      void* env = nullptr;
      if (isHosts) _globaljvm->AttachCurrentThread(&env, nullptr);
      EXPECT_EQ(attachedEnvironment() != nullptr, isHosts);
      EXPECT_EQ(readAll(numbers.stream).text, "<1><2><3><4><5>");
      ASSERT_NE(attachedEnvironment(), nullptr);
      EXPECT_EQ(isDaemon(attachedEnvironment()), !isHosts);
    }).join();
    EXPECT_EQ(attachedAtEnd, isHosts);
  }
}

TEST(ArrowStreams, AreReadByThreadsInTurn) {
  constexpr int kThreads = 4;
  constexpr int kCount = 2000;
  Numbers numbers(kCount, 7);
  std::mutex mutex;
  std::condition_variable changed;
  int turn = 0;
  std::int64_t sum = 0;
  const auto reader = [&](int own) {
    for (bool more = true; more;) {
      Array batch;
      std::unique_lock<std::mutex> lock(mutex);
      changed.wait(lock, [&] { return turn % kThreads == own; });
      EXPECT_EQ(numbers.stream.get_next(&numbers.stream, &batch), 0);
      more = batch.release != nullptr;
      for (std::int64_t row = 0; more && row < batch.length; ++row) sum += number(*batch.children[0], row);
      ++turn;
      lock.unlock();
      changed.notify_all();
      // The batch is released here, while others read.
    }
  };
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int own = 0; own < kThreads; ++own) threads.emplace_back(reader, own);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(sum, std::int64_t{kCount} * (kCount + 1) / 2);
}

TEST(ArrowStreams, FailOnAThreadThatTheVmRefuses) {
  JniLedger ledger;
  {
    Numbers numbers(5);
    Array kept;
    ASSERT_EQ(numbers.stream.get_next(&numbers.stream, &kept), 0);
    std::thread([&] {
      JniLedger::plan(Fault::kAttach, 1, true);
      JniLedger::arm(true);
      Array none;
      EXPECT_EQ(numbers.stream.get_next(&numbers.stream, &none), EIO);
      EXPECT_STREQ(numbers.stream.get_last_error(&numbers.stream), "could not attach the thread to the Java VM");
      kept.release(&kept);
      numbers.stream.release(&numbers.stream);
    }).join();
  }
  EXPECT_EQ(ledger.complaint(), "2 global references left\n")
      << "of the column and the stream: it takes a VM to drop them";
}

TEST(ArrowStreams, ReleaseEverythingWhicheverCallFails) {
  JniLedger ledger;
  ConnectedWrapper source({"", kH2, "", ""});
  const auto operation = [&source](const Armed& armed) {
    ASSERT_TRUE(source.query("select x, array[x] from system_range(1, 3)"));
    armed([&source] {
      Stream stream;
      std::string error;
      if (!makeArrowStream(source, stream, error, byRows(2))) return;
      const std::optional<std::int64_t> rows = countRows(stream);
      EXPECT_TRUE(rows == 3 || (!rows && JniLedger::faultFired()));
    });
  };
  EXPECT_GT(sweepAll(ledger, operation), 200);
}
}  // namespace
}  // namespace kivo::test
