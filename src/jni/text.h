#pragma once

#include <jni.h>

#include <string>

#include "jni/local_ref.h"

namespace kivo {

/// The characters of a Java string, given back to the VM at the end. Null when memory ran out.
class TextCharacters {
 public:
  TextCharacters(JNIEnv* owner, jstring held)
      : env(owner), text(held), characters(owner->GetStringUTFChars(held, nullptr)) {}
  ~TextCharacters() {
    if (characters != nullptr) env->ReleaseStringUTFChars(text, characters);
  }
  TextCharacters(const TextCharacters&) = delete;
  TextCharacters& operator=(const TextCharacters&) = delete;

  /// Modified UTF-8, NUL-terminated.
  const char* get() const { return characters; }

 private:
  JNIEnv* env;
  jstring text;
  const char* characters;
};

/// Makes a Java string of @p text up to its first NUL; null on failure, with OutOfMemoryError pending.
/// NewStringUTF loses the end of a statement, silently, after a standard four-byte sequence: those are rewritten as
/// surrogate pairs before, and each malformed byte b as the character U+00b. Text without either costs one scan and no
/// copy.
LocalRef<jstring> newJavaText(JNIEnv* env, const char* text);
inline LocalRef<jstring> newJavaText(JNIEnv* env, const std::string& text) { return newJavaText(env, text.c_str()); }

/// Makes a Java String[] of the texts that @p textAt gives for 0 to @p count - 1; a null text stays a null element. The
/// references are the caller's, who decides what happens before they go.
/// @return false on failure, with Java's exception pending; @p array is then of no use.
template <class TextAt>
bool makeTextArray(JNIEnv* env, LocalRef<jclass>& stringClass, LocalRef<jobjectArray>& array, jsize count,
                   TextAt textAt) {
  if (!stringClass.reset(env->FindClass("java/lang/String"))) return false;
  if (!array.reset(env->NewObjectArray(count, stringClass.get(), nullptr))) return false;
  stringClass.reset();
  for (jsize index = 0; index < count; ++index) {
    const char* const text = textAt(index);
    if (text == nullptr) continue;
    const LocalRef<jstring> element = newJavaText(env, text);
    if (!element) return false;
    env->SetObjectArrayElement(array.get(), index, element.get());
    if (env->ExceptionCheck() == JNI_TRUE) return false;
  }
  return true;
}

/// The rewriting of newJavaText(), without a VM.
/// @return whether @p text needed it; only then is @p rewritten set.
bool rewriteForJava(const char* text, std::string& rewritten);

/// Copies a Java string that is not null. @return false when memory ran out; @p copy is untouched then.
bool copyText(JNIEnv* env, jstring text, std::string& copy);

/// Copies a Java string that is not null into a buffer of exactly its size from malloc, which the caller frees.
/// @return null when memory ran out.
char* copyTextToBuffer(JNIEnv* env, jstring text);

/// A port number as strtol reads it in base 10, narrowed to 32 bits.
jint portNumber(const std::string& text);

}  // namespace kivo
