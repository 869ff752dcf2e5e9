// Plays the JVM's library: records what its creation function was given, and answers as the test wants.
#include <jni.h>

#include <sstream>
#include <string>

namespace {
std::string seen;
}

extern "C" {

jint fakeJvmAnswer = 0;

const char* fakeJvmSeen() { return seen.c_str(); }

jint JNI_CreateJavaVM(JavaVM** vm, void** env, void* given) {
  const auto* arguments = static_cast<JavaVMInitArgs*>(given);
  std::ostringstream text;
  text << std::hex << arguments->version << (arguments->ignoreUnrecognized ? " lenient" : " strict");
  text << (*env == nullptr ? "" : ", environment set");
  for (jint index = 0; index < arguments->nOptions; ++index) {
    const JavaVMOption& option = arguments->options[index];
    text << '\n' << option.optionString << (option.extraInfo == nullptr ? "" : " with extra information");
  }
  seen = text.str();
  if (fakeJvmAnswer >= 0) *vm = reinterpret_cast<JavaVM*>(&fakeJvmAnswer);
  return fakeJvmAnswer;
}

}  // extern "C"
