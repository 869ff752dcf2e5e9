#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/mman.h>

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <optional>

#include "jdbcWrapper.h"
#include "jni_ledger.h"
#include "vm_fixture.h"
#include "wrapper_operations.h"

namespace kivo::test {
namespace {

[[maybe_unused]] const auto* const kVm = testing::AddGlobalTestEnvironment(new VmEnvironment);

/// Memory for the stacks of threads that run one after another: the C library then gives them all the same id, whose
/// low half is near the given one. Never unmapped, since a thread that ended attached stays known to the Java VM.
class ThreadHome {
 public:
  explicit ThreadHome(std::uint32_t lowHalf) {
    constexpr size_t kEveryLowHalf = (4ULL << 30U) + kSize;
    void* reserved = mmap(nullptr, kEveryLowHalf, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    stack_ = static_cast<char*>(reserved) +
             (lowHalf - static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(reserved)));
    if (reserved == MAP_FAILED || mprotect(stack_, kSize, PROT_READ | PROT_WRITE) != 0) std::abort();
  }

  /// Runs the body on a thread that then ends.
  void run(std::function<void()> body) const {
    pthread_attr_t attributes;
    pthread_t thread{};
    pthread_attr_init(&attributes);
    pthread_attr_setstack(&attributes, stack_, kSize);
    const auto start = [](void* given) -> void* {
      (*static_cast<std::function<void()>*>(given))();
      return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, start, &body), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
  }

 private:
  static constexpr size_t kSize = 2U << 20U;
  char* stack_;
};

const ThreadHome kHome(0x10000000), kOtherHome(0x20000000), kNegativeHome(0x90000000);

using Held = std::optional<jdbcWrapper>;

// The members that attach.
void construct(Held& held) { held.emplace(); }
void connect(Held& held) { EXPECT_TRUE(held->getConnection("", "")); }
void close(Held& held) { EXPECT_TRUE(held->closeConnection()); }
void destroy(Held& held) { held.reset(); }

/// The ledger reports every call that is made with another thread's environment.
class WrapperThreads : public testing::Test {
 protected:
  ~WrapperThreads() override {
    wrapper.reset();
    EXPECT_EQ(ledger.complaint(), "");
  }

  long attaches(void (*member)(Held&)) {
    const long before = ledger.callCount("AttachCurrentThread");
    member(wrapper);
    return ledger.callCount("AttachCurrentThread") - before;
  }

  JniLedger ledger;
  Held wrapper;
};

TEST_F(WrapperThreads, AThreadWithTheIdOfADeadOneAttachesForItself) {
  for (const auto member : {connect, close, destroy}) {
    for (const bool attachedBefore : {false, true}) {
      kHome.run([&] { wrapper.emplace(); });
      const int deadThread = wrapper->threadId;
      kHome.run([&] {
        ASSERT_EQ(static_cast<int>(pthread_self()), deadThread);
        Held other;
        if (attachedBefore) other.emplace();
        EXPECT_EQ(attaches(member), 1);
      });
    }
  }
}

TEST_F(WrapperThreads, OnlyAnotherThreadOrANegativeIdAttachesAgain) {
  for (const ThreadHome* home : {&kHome, &kNegativeHome}) {
    const int again = home == &kNegativeHome ? 1 : 0;
    home->run([&] {
      EXPECT_EQ(attaches(construct), 1);
      EXPECT_EQ(wrapper->threadId < 0, again == 1);
      for (const auto member : {connect, close, close}) EXPECT_EQ(attaches(member), again);
    });
    for (const auto member : {connect, close}) {
      kOtherHome.run([&] {
        EXPECT_EQ(attaches(member), 1);
        EXPECT_TRUE(wrapper->executeQuery("select", 0) && wrapper->next());
        EXPECT_EQ(attaches(close), 0);
      });
      home->run([&] { EXPECT_EQ(attaches(member), 1); });
    }
    kOtherHome.run([&] { EXPECT_EQ(attaches(destroy), 1); });
  }
}

TEST_F(WrapperThreads, AThreadThatCannotAttachMakesNoCallUntilItCan) {
  kHome.run([&] { wrapper.emplace(); });
  kOtherHome.run([&] {
    JniLedger::plan(Fault::kAttach, 1, true);
    EXPECT_EQ(outcome(*wrapper, named("closeConnection")), "false 2 could not attach the thread to the Java VM; ");
    expectRefusals(*wrapper, "could not attach the thread to the Java VM");
    EXPECT_EQ(attaches(close), 1);
    EXPECT_TRUE(wrapper->next());
  });
}

}  // namespace
}  // namespace kivo::test
