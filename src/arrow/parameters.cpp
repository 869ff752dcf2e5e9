#include "arrow/parameters.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/pending.h"
#include "jni/text.h"

namespace kivo {

namespace {

constexpr JavaMethod kBind{"bind", "(Ljava/lang/String;[Ljava/nio/ByteBuffer;[J)Z"};
constexpr JavaMethod kUnbind{"unbind", "()Z"};
constexpr JavaMethod kFailure{"failure", "()Ljava/lang/String;"};

constexpr std::int64_t kDecimalBits = 128;

/// A part of a field's memory; absent without an address.
struct Buffer {
  const void* address;
  std::int64_t size;
};

/// Fields in pre-order, three buffers and two numbers for each.
struct Fields {
  std::string formats;  ///< a line each
  std::vector<Buffer> buffers;
  std::vector<jlong> numbers;  ///< the length and the offset
  std::string fault;
};

std::int64_t bytesOfBits(std::int64_t bits) { return (bits + 7) / 8; }

/// What is in a format of several parts after its last comma or colon.
std::int64_t lastNumber(std::string_view format) {
  return std::strtoll(format.data() + format.find_last_of(":,") + 1, nullptr, 10);
}

/// The bytes of a value of a type with one size; 0 for any other.
std::int64_t widthOf(std::string_view format) {
  if (format.empty()) return 0;
  if (format[0] == 'w') return lastNumber(format);
  if (format[0] == 'd') {
    const bool hasBits = format.find(',') != format.rfind(',');
    return (hasBits ? lastNumber(format) : kDecimalBits) / 8;
  }
  if (format[0] == 't') {
    const std::string_view unit = format.substr(0, 3);
    return unit == "tdD" || unit == "tts" || unit == "ttm" ? 4 : 8;
  }
  if (format.size() != 1) return 0;
  if (format == "c" || format == "C") return 1;
  if (format == "s" || format == "S") return 2;
  if (format == "i" || format == "I" || format == "f") return 4;
  return format == "l" || format == "L" || format == "g" ? 8 : 0;
}

bool isList(std::string_view format) { return format == "+l" || format == "+L"; }

/// The bytes of an entry that says where a value ends; 0 for types whose values have one size.
std::int64_t offsetWidthOf(std::string_view format) {
  if (format == "u" || format == "z" || format == "+l") return 4;
  return format == "U" || format == "Z" || format == "+L" ? 8 : 0;
}

std::int64_t entry(const void* offsets, std::int64_t index, std::int64_t width) {
  return width == 4 ? static_cast<const std::int32_t*>(offsets)[index]
                    : static_cast<const std::int64_t*>(offsets)[index];
}

/// Adds the buffers of a field. @param values how many there are up to the last one read. @return false for a type
/// whose values cannot be bound.
bool addBuffers(std::string_view format, const ArrowArray& array, std::int64_t values, Fields& fields) {
  const bool hasNulls = array.n_buffers > 0 && array.null_count != 0;
  fields.buffers.push_back({hasNulls ? array.buffers[0] : nullptr, bytesOfBits(values)});
  const std::int64_t offsetWidth = offsetWidthOf(format);
  if (offsetWidth > 0) {
    const void* offsets = array.buffers[1];
    // No values may come without offsets.
    const bool hasData = !isList(format) && offsets != nullptr && values > 0;
    fields.buffers.push_back({offsets, (values + 1) * offsetWidth});
    fields.buffers.push_back({hasData ? array.buffers[2] : nullptr, hasData ? entry(offsets, values, offsetWidth) : 0});
    return true;
  }
  const std::int64_t size = format == "b" ? bytesOfBits(values) : widthOf(format) * values;
  fields.buffers.push_back({array.n_buffers > 1 ? array.buffers[1] : nullptr, size});
  fields.buffers.push_back({nullptr, 0});
  return format == "n" || format == "b" || widthOf(format) > 0;
}

bool collect(const ArrowSchema& schema, const ArrowArray& array, std::int64_t length, std::int64_t offset,
             Fields& fields) {
  const std::string_view format = schema.format;
  fields.formats.append(schema.format).append("\n");
  fields.numbers.push_back(length);
  fields.numbers.push_back(offset);
  if (schema.dictionary != nullptr || !addBuffers(format, array, offset + length, fields)) {
    fields.fault = "values of Arrow's type \"" + std::string(format) + "\"" +
                   (schema.dictionary == nullptr ? "" : " with a dictionary") + " cannot be bound";
    return false;
  }
  if (!isList(format)) return true;
  const ArrowArray& elements = *array.children[0];
  return collect(*schema.children[0], elements, elements.length, elements.offset, fields);
}

bool collectColumns(const ArrowSchema& schema, const ArrowArray& batch, Fields& fields) {
  if (std::string_view(schema.format) != "+s" || schema.n_children != batch.n_children) {
    fields.fault = "rows to bind must be a struct with a field for each parameter";
    return false;
  }
  for (std::int64_t column = 0; column < schema.n_children; ++column) {
    const ArrowArray& array = *batch.children[column];
    if (!collect(*schema.children[column], array, batch.length, batch.offset + array.offset, fields)) return false;
  }
  return true;
}

LocalRef<jobjectArray> buffersOf(JNIEnv* env, const Fields& fields) {
  const LocalRef<jclass> type(env, env->FindClass("java/nio/ByteBuffer"));
  LocalRef<jobjectArray> array(env);
  if (type) array.reset(env->NewObjectArray(static_cast<jsize>(fields.buffers.size()), type.get(), nullptr));
  for (std::size_t at = 0; array && at < fields.buffers.size(); ++at) {
    const Buffer& buffer = fields.buffers[at];
    if (buffer.address == nullptr) continue;
    // Java only reads it.
    const LocalRef<jobject> wrapped(env, env->NewDirectByteBuffer(const_cast<void*>(buffer.address), buffer.size));
    if (!wrapped) return LocalRef<jobjectArray>(env);
    env->SetObjectArrayElement(array.get(), static_cast<jsize>(at), wrapped.get());
    if (isPending(env)) return LocalRef<jobjectArray>(env);
  }
  return array;
}

LocalRef<jlongArray> numbersOf(JNIEnv* env, const Fields& fields) {
  const auto count = static_cast<jsize>(fields.numbers.size());
  LocalRef<jlongArray> array(env, env->NewLongArray(count));
  if (array) env->SetLongArrayRegion(array.get(), 0, count, fields.numbers.data());
  return array;
}

/// @return whether Java took the fields; if not, an exception may be pending.
bool handOver(JNIEnv* env, jobject query, jmethodID bind, const Fields& fields) {
  const LocalRef<jstring> formats(env, env->NewStringUTF(fields.formats.c_str()));
  if (!formats) return false;
  const LocalRef<jobjectArray> buffers = buffersOf(env, fields);
  if (!buffers) return false;
  const LocalRef<jlongArray> numbers = numbersOf(env, fields);
  if (!numbers) return false;
  const jboolean bound = env->CallBooleanMethod(query, bind, formats.get(), buffers.get(), numbers.get());
  return !isPending(env) && bound == JNI_TRUE;
}

/// What the query refused, in its own words; without an answer there was no memory.
std::string refusalOf(JNIEnv* env, jobject query, jmethodID failure) {
  std::string text;
  const bool threw = isPending(env);
  env->ExceptionClear();
  const LocalRef<jobject> answer = threw ? LocalRef<jobject>(env) : callObject(env, query, failure);
  const bool copied = answer && copyText(env, static_cast<jstring>(answer.get()), text);
  env->ExceptionClear();
  return copied ? text : "out of memory";
}

}  // namespace

bool bindParameters(JNIEnv* env, jobject query, const ArrowSchema& schema, const ArrowArray& batch,
                    std::string& faultOut) {
  Fields fields;
  const bool collected = collectColumns(schema, batch, fields);
  LocalRef<jclass> queryClass(env);
  const jmethodID bind = findMethodOf(env, query, queryClass, collected ? kBind : kUnbind);
  if (!collected) {
    // So the query lets go of the values that it had, whose memory may be released from now on.
    if (bind != nullptr) env->CallBooleanMethod(query, bind);
    env->ExceptionClear();
    faultOut = fields.fault;
    return false;
  }
  const jmethodID failure = bind == nullptr ? nullptr : findMethod(env, queryClass.get(), kFailure);
  if (failure != nullptr && handOver(env, query, bind, fields)) return true;
  faultOut = failure == nullptr ? "the companion jar is of another version" : refusalOf(env, query, failure);
  env->ExceptionClear();
  return false;
}

}  // namespace kivo
