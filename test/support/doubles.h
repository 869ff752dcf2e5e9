#pragma once

#include <gtest/gtest.h>
#include <jni.h>

#include <optional>
#include <sstream>
#include <string>
#include <utility>

#include "JavaVmHost.h"
#include "JdbcUtils.h"
#include "stderr_capture.h"
#include "vm_fixture.h"

namespace kivo::test {

[[maybe_unused]] inline auto* const kVmEnvironment = testing::AddGlobalTestEnvironment(new VmEnvironment);

/// Hides one class or method from this thread's look-ups while it lives, as a driver without it would.
class Hidden {
 public:
  Hidden(JNIEnv* env, std::string name) : env_(env), real_(env->functions), table_(*real_), name_(std::move(name)) {
    current = this;
    table_.FindClass = [](JNIEnv* on, const char* wanted) {
      return current->hides(wanted) ? nullptr : current->real_->FindClass(on, wanted);
    };
    table_.GetMethodID = [](JNIEnv* on, jclass type, const char* wanted, const char* signature) {
      return current->hides(wanted) ? nullptr : current->real_->GetMethodID(on, type, wanted, signature);
    };
    table_.GetStaticMethodID = [](JNIEnv* on, jclass type, const char* wanted, const char* signature) {
      return current->hides(wanted) ? nullptr : current->real_->GetStaticMethodID(on, type, wanted, signature);
    };
    env->functions = &table_;
  }
  ~Hidden() { env_->functions = real_; }
  Hidden(const Hidden&) = delete;
  Hidden& operator=(const Hidden&) = delete;

  /// What the VM throws for it.
  std::string error() const {
    return name_.find('/') == std::string::npos ? "java/lang/NoSuchMethodError" : "java/lang/NoClassDefFoundError";
  }

 private:
  bool hides(const char* wanted) const {
    if (name_ != wanted) return false;
    const jclass errorClass = real_->FindClass(env_, error().c_str());
    real_->ThrowNew(env_, errorClass, wanted);
    real_->DeleteLocalRef(env_, errorClass);
    return true;
  }

  static inline const Hidden* current = nullptr;
  JNIEnv* env_;
  const JNINativeInterface_* real_;
  JNINativeInterface_ table_;
  std::string name_;
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
        std::string error = hidden_.emplace(test.env, member_).error();
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
