#include "arrow/reader.h"

#include <algorithm>

#include "KivoUtf8.h"
#include "jni/pending.h"
#include "jni/text.h"

namespace kivo {

namespace {

constexpr JavaMethod kSlabClass{"slabClass", "()Ljava/lang/Class;"};

struct Lookup {
  JavaMethod method;
  jmethodID ReaderMethods::*field;
};

constexpr Lookup kOfReader[] = {
    {{"schema", "()[B"}, &ReaderMethods::schema},
    {{"read", "()[J"}, &ReaderMethods::read},
    {{"slabs", "()[Lcom/ulvanejdbc/arrow/Slab;"}, &ReaderMethods::slabs},
    {{"failure", "()Ljava/lang/String;"}, &ReaderMethods::failure},
    {{"close", "()V"}, &ReaderMethods::close},
};

constexpr Lookup kOfSlab[] = {
    {{"memory", "()Ljava/nio/ByteBuffer;"}, &ReaderMethods::slabMemory},
    {{"release", "()V"}, &ReaderMethods::slabRelease},
};

/// The state and the number of rows, before the fields' places.
constexpr jsize kHead = 2;
constexpr jsize kPlacesOfField = sizeof(FieldPlaces) / sizeof(jlong);

template <std::size_t Count>
bool findAll(JNIEnv* env, jclass declaring, const Lookup (&lookups)[Count], ReaderMethods& methods) {
  return std::all_of(lookups, lookups + Count, [&](const Lookup& lookup) {
    methods.*lookup.field = findMethod(env, declaring, lookup.method);
    return methods.*lookup.field != nullptr;
  });
}

}  // namespace

bool findReaderMethods(JNIEnv* env, jclass reader, ReaderMethods& methods) {
  if (!findAll(env, reader, kOfReader, methods)) return false;
  // Not by name, which would only find what is on the VM's class path.
  const jmethodID slabClass = env->GetStaticMethodID(reader, kSlabClass.name, kSlabClass.signature);
  if (slabClass == nullptr) return false;
  const LocalRef<jclass> slab(env, env->CallStaticObjectMethod(reader, slabClass));
  return !isPending(env) && slab && findAll(env, slab.get(), kOfSlab, methods);
}

bool readDescription(JNIEnv* env, const ReaderMethods& methods, jobject reader, std::string& description) {
  const LocalRef<jobject> bytes = callObject(env, reader, methods.schema);
  if (!bytes) return false;
  auto* const array = static_cast<jbyteArray>(bytes.get());
  const jsize length = env->GetArrayLength(array);
  description.resize(static_cast<std::size_t>(length));
  env->GetByteArrayRegion(array, 0, length, reinterpret_cast<jbyte*>(description.data()));
  return !isPending(env);
}

bool readBatch(JNIEnv* env, const ReaderMethods& methods, jobject reader, std::size_t fields, JavaBatch& batch) {
  batch.places.resize(fields);
  const LocalRef<jobject> numbers = callObject(env, reader, methods.read);
  if (!numbers) return false;
  auto* const array = static_cast<jlongArray>(numbers.get());
  jlong head[kHead] = {};
  env->GetLongArrayRegion(array, 0, kHead, head);
  batch.state = static_cast<BatchState>(head[0]);
  batch.rows = head[1];
  if (isPending(env)) return false;
  if (batch.state != BatchState::rows) return true;

  const jsize count = static_cast<jsize>(fields) * kPlacesOfField;
  env->GetLongArrayRegion(array, kHead, count, reinterpret_cast<jlong*>(batch.places.data()));
  return !isPending(env) && batch.slabs.reset(callObject(env, reader, methods.slabs).release());
}

bool readFailure(JNIEnv* env, const ReaderMethods& methods, jobject reader, std::string& text) {
  const LocalRef<jobject> failure = callObject(env, reader, methods.failure);
  if (!failure || !copyText(env, static_cast<jstring>(failure.get()), text)) return false;
  text = utf8::toStandard(text).text;
  return true;
}

}  // namespace kivo
