#pragma once

#include <gtest/gtest.h>
#include <jni.h>

#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <utility>

#include "JavaVmHost.h"
#include "JdbcUtils.h"
#include "stderr_capture.h"
#include "vm_fixture.h"

namespace kivo::test {

[[maybe_unused]] inline auto* const kVmEnvironment = testing::AddGlobalTestEnvironment(new VmEnvironment);

/// Replaces functions of the thread's real environment while it lives.
struct Patched {
  explicit Patched(JNIEnv* patched) : env(patched), table(*patched->functions) {
    real = env->functions;
    env->functions = &table;
  }
  ~Patched() { env->functions = real; }
  Patched(const Patched&) = delete;
  Patched& operator=(const Patched&) = delete;

  static inline const JNINativeInterface_* real = nullptr;
  JNIEnv* env;
  JNINativeInterface_ table;
};

/// Hides classes and methods from this thread's look-ups while it lives, as a driver without them would.
class Hidden : Patched {
 public:
  Hidden(JNIEnv* patched, std::set<std::string> names) : Patched(patched), names_(std::move(names)) {
    current = this;
    table.FindClass = [](JNIEnv* on, const char* wanted) {
      return current->hides(wanted) ? nullptr : real->FindClass(on, wanted);
    };
    table.GetMethodID = [](JNIEnv* on, jclass type, const char* wanted, const char* signature) {
      return current->hides(wanted) ? nullptr : real->GetMethodID(on, type, wanted, signature);
    };
    table.GetStaticMethodID = [](JNIEnv* on, jclass type, const char* wanted, const char* signature) {
      return current->hides(wanted) ? nullptr : real->GetStaticMethodID(on, type, wanted, signature);
    };
  }

  /// What the VM throws for a name.
  static std::string error(const std::string& name) {
    return name.find('/') == std::string::npos ? "java/lang/NoSuchMethodError" : "java/lang/NoClassDefFoundError";
  }

 private:
  bool hides(const char* wanted) const {
    if (names_.count(wanted) == 0) return false;
    const jclass errorClass = real->FindClass(env, error(wanted).c_str());
    real->ThrowNew(env, errorClass, wanted);
    real->DeleteLocalRef(env, errorClass);
    return true;
  }

  static inline const Hidden* current = nullptr;
  const std::set<std::string> names_;
};

/// The exceptions described in a text of standard error, and the lines between them, without the stack traces.
inline std::string complaints(const std::string& standardError) {
  const std::string before = "Exception in thread \"main\" ";
  std::istringstream lines(standardError);
  std::string kept;
  for (std::string line; std::getline(lines, line);) {
    if (line.front() == '\t' || line.rfind("Caused by: ", 0) == 0) continue;
    kept += (line.rfind(before, 0) == 0 ? line.substr(before.size()) : line) + '\n';
  }
  return kept;
}

/// Scripts the Java doubles and reads the calls that reached them.
class DoublesTest : public testing::Test {
 protected:
  DoublesTest() {
    _globaljvm->AttachCurrentThread(reinterpret_cast<void**>(&env), nullptr);
    recorder_ = env->FindClass("doubles/Recorder");
    env->CallStaticVoidMethod(recorder_, method("forget", "()V"));
    EXPECT_FALSE(env->ExceptionCheck());
  }
  ~DoublesTest() override { env->DeleteLocalRef(recorder_); }

  /// From now on the member answers so: "throw", "null", text that the member understands, or as "usual". A statement's
  /// text may stand for a member: its answer is the statement's result.
  void answer(const std::string& member, const std::string& text) {
    const jmethodID found = method("answer", "(Ljava/lang/String;Ljava/lang/String;)V");
    const jstring javaMember = env->NewStringUTF(member.c_str());
    const jstring javaText = env->NewStringUTF(text.c_str());
    env->CallStaticVoidMethod(recorder_, found, javaMember, javaText);
    EXPECT_FALSE(env->ExceptionCheck());
    env->DeleteLocalRef(javaText);
    env->DeleteLocalRef(javaMember);
  }

  /// @return the calls since the last time, a line each.
  std::string calls() {
    const jobject taken = env->CallStaticObjectMethod(recorder_, method("take", "()Ljava/lang/String;"));
    EXPECT_FALSE(env->ExceptionCheck());
    const char* characters = env->GetStringUTFChars(static_cast<jstring>(taken), nullptr);
    std::string copy = characters;
    env->ReleaseStringUTFChars(static_cast<jstring>(taken), characters);
    env->DeleteLocalRef(taken);
    return copy;
  }

  /// Runs the body. @return its complaints on standard error.
  template <class Body>
  static std::string printed(Body body) {
    const StderrCapture captured;
    body();
    return complaints(captured.text());
  }

  void leavePending() {
    const jclass exceptionClass = env->FindClass("java/lang/IllegalStateException");
    env->ThrowNew(exceptionClass, "left over");
    env->DeleteLocalRef(exceptionClass);
  }
  static constexpr const char* kLeftOver = "java.lang.IllegalStateException: left over\n";

  /// @return the description of the pending exception, which is cleared; empty without one.
  std::string takePending() {
    const bool pending = env->ExceptionCheck();
    const std::string text = printed([&] { env->ExceptionDescribe(); });
    env->ExceptionClear();
    return pending ? text : "";
  }

  /// Makes one thing go wrong while it lives: "hide setUser", "hide java/util/Vector", "throw Statement.close",
  /// "null Connection.createStatement", or nothing for "".
  class Trouble {
   public:
    Trouble(DoublesTest& test, const std::string& text) : test_(test), member_(text.substr(text.find(' ') + 1)) {
      const std::string kind = text.substr(0, text.find(' '));
      if (kind == "hide") {
        hidden_.emplace(test.env, std::set<std::string>{member_});
        std::string error = Hidden::error(member_);
        for (char& letter : error) letter = letter == '/' ? '.' : letter;
        complaint = error + ": " + member_ + '\n';
      } else if (!kind.empty()) {
        test.answer(member_, kind);
        if (kind == "throw") complaint = "java.sql.SQLException: " + member_ + " refused\n";
      }
    }
    ~Trouble() { test_.answer(member_, "usual"); }

    std::string complaint;  ///< The description of what is thrown, if anything.

   private:
    DoublesTest& test_;
    std::string member_;
    std::optional<Hidden> hidden_;
  };

  JNIEnv* env = nullptr;

 private:
  /// Looks for an exception too, which the calls that follow must not be made upon.
  jmethodID method(const char* name, const char* signature) const {
    EXPECT_FALSE(env->ExceptionCheck());
    return env->GetStaticMethodID(recorder_, name, signature);
  }

  jclass recorder_ = nullptr;
};

/// A JdbcUtils over the doubles, of Oracle at first.
class JdbcDoublesTest : public DoublesTest {
 protected:
  JdbcDoublesTest() {
    EXPECT_TRUE(utils.javaInit());
    utils.vendor = "oracle";
    utils.url = "any";
  }
  ~JdbcDoublesTest() override { utils.closeConnection(); }

  /// @return the result and the error text, which a success empties.
  std::string connect(std::string user = "", std::string password = "") {
    std::string text = "text before";
    const bool connected = utils.getConnection(user, password, text);
    return (connected ? "true, " : "false, ") + text;
  }

  JdbcUtils utils;
};

}  // namespace kivo::test
