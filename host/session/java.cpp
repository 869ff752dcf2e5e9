#include "session/java.h"

#include <langinfo.h>
#include <sys/mman.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <regex>
#include <sstream>

#include "JavaVmHost.h"
#include "KivoUtf8.h"

namespace kivosql {

namespace {

/// Java encodes the names of files, and what it writes to standard error, as the locale says; "C" has ASCII alone.
void haveJavaUseUtf8() {
  const locale_t locale = newlocale(LC_CTYPE_MASK, "", nullptr);
  const bool does = locale != nullptr && std::string_view(nl_langinfo_l(CODESET, locale)) == "UTF-8";
  if (locale != nullptr) freelocale(locale);
  if (!does) setenv("LC_ALL", "C.UTF-8", 1);
}

/// Adds a line of Java's without what stands before an exception's message: the thread or that it is a cause, and the
/// package of its class. Nothing is added for a line of a trace, nor twice: causes repeat one another, often under
/// another exception's name.
void append(std::string& paragraph, const std::string& line) {
  // These expressions overflow the stack on a long match.
  static const std::regex trace(R"(^\s{1,9}(at|\.\.\.) )");
  static const std::regex start(
      R"(^\s{0,9}(Exception in thread "[^"]{0,99}" |Caused by: )?([a-z0-9_.]{0,99}\.(?=[A-Z]))?)");
  constexpr auto kAtBegin = std::regex_constants::match_continuous;
  std::smatch found;
  if (std::regex_search(line, trace, kAtBegin) || !std::regex_search(line, found, start, kAtBegin)) return;
  const std::string text = found.suffix();
  const std::size_t name = text.find(": ");
  const std::string unnamed = text.substr(name == std::string::npos ? 0 : name + 2);
  if (text.empty() || paragraph.find(unnamed) != std::string::npos) return;
  paragraph += (paragraph.empty() ? "" : " ") + text;
}

/// Runs @p work on a thread that is not attached.
template <typename Work>
bool whileAttached(Work work) {
  JNIEnv* env = nullptr;
  if (_globaljvm->AttachCurrentThreadAsDaemon(reinterpret_cast<void**>(&env), nullptr) != JNI_OK) return false;
  const bool worked = work(env);
  env->ExceptionClear();
  // Detaching releases local references too.
  _globaljvm->DetachCurrentThread();
  return worked;
}

}  // namespace

std::string startVm(const kivo::Jvm& jvm, const std::vector<std::string>& classPath, int heapMegabytes) {
  if (jvm.library.empty()) return "no Java VM found";
  std::string library = jvm.library;
  std::string entries;
  for (const std::string& entry : classPath) entries += (entries.empty() ? "" : ":") + entry;
  std::string error;
  haveJavaUseUtf8();
  return javaInit(library, entries, heapMegabytes, error) ? "" : error;
}

std::string toJava(std::string_view text) { return kivo::utf8::toModified(text).text; }

std::string fromJava(std::string_view text) { return kivo::utf8::toStandard(text).text; }

std::string readable(const std::string& text, const std::string& descriptions) {
  std::string paragraph;
  std::istringstream lines(text + '\n' + descriptions);
  for (std::string line; std::getline(lines, line);) append(paragraph, line);
  return paragraph.empty() ? "the operation failed, and Java gave no reason" : paragraph;
}

Failure javaFailure(const std::string& text, const std::string& printed) {
  return Failure(readable(text, printed), kFailed, printed.empty() ? text : printed);
}

JavaErrors::JavaErrors() : original_(dup(STDERR_FILENO)), file_(memfd_create("java-errors", MFD_CLOEXEC)) {
  dup2(file_, STDERR_FILENO);
}

JavaErrors::~JavaErrors() {
  dup2(original_, STDERR_FILENO);
  close(original_);
  close(file_);
}

std::string JavaErrors::take() const {
  std::string printed;
  char part[4096];
  for (ssize_t length = 0; (length = pread(file_, part, sizeof part, static_cast<off_t>(printed.size()))) > 0;) {
    printed.append(part, static_cast<std::size_t>(length));
  }
  // Descriptor 2 shares the offset, so what comes next is written at the file's beginning.
  if (!printed.empty() && ftruncate(file_, 0) == 0) lseek(file_, 0, SEEK_SET);
  return printed;
}

void JavaErrors::check(JNIEnv* env, bool worked, const std::string& text) const {
  const bool pending = env != nullptr && env->ExceptionCheck() == JNI_TRUE;
  if (pending) env->ExceptionDescribe();
  const std::string printed = take();
  if (!worked || pending) throw javaFailure(text, printed);
}

std::string typeNameOf(JNIEnv* env, jobject columns, int number) {
  std::string text;
  auto* const name = static_cast<jstring>(
      call<jobject>(env, columns, "getColumnTypeName", "(I)Ljava/lang/String;", number).value_or(nullptr));
  if (const char* letters = name == nullptr ? nullptr : env->GetStringUTFChars(name, nullptr)) {
    text = fromJava(letters);
    env->ReleaseStringUTFChars(name, letters);
  }
  env->ExceptionClear();
  env->DeleteLocalRef(name);
  return text;
}

bool cancelInJava(jobject object) {
  return whileAttached([object](JNIEnv* env) { return call<Nothing>(env, object, "cancel", "()V").has_value(); });
}

bool cancelStatementInJava(jobject statement) {
  return whileAttached([statement](JNIEnv* env) {
    const jclass type = env->FindClass("com/ulvanejdbc/Cancellation");
    const jmethodID cancel =
        type == nullptr ? nullptr : env->GetStaticMethodID(type, "cancel", "(Ljava/sql/Statement;)V");
    if (cancel != nullptr) env->CallStaticVoidMethod(type, cancel, statement);
    return env->ExceptionCheck() == JNI_FALSE;
  });
}

bool isBrokenInJava(JNIEnv* env, jobject object) {
  constexpr jint kPatienceSeconds = 5;
  const auto isValid = call<bool>(env, object, "isValid", "(I)Z", kPatienceSeconds);
  env->ExceptionClear();
  return object == nullptr || isValid == false;
}

}  // namespace kivosql
