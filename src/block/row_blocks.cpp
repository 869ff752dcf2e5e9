#include <algorithm>
#include <cstddef>
#include <utility>

#include "JdbcUtils.h"
#include "RowBlocks.h"
#include "jdbcWrapper.h"
#include "jni/local_ref.h"
#include "jni/method.h"
#include "jni/numbers.h"
#include "jni/pending.h"
#include "jni/text.h"

using kivo::findMethod;
using kivo::JavaMethod;
using kivo::LocalRef;

namespace {

constexpr const char* kPackerClass = "com/ulvanejdbc/RowPacker";
constexpr JavaMethod kPack{"pack", "()Ljava/nio/ByteBuffer;"};
constexpr JavaMethod kFailure{"failure", "()Ljava/lang/String;"};
constexpr JavaMethod kOfResult{"ofResult", "(Ljava/sql/ResultSet;[IIZI)Lcom/ulvanejdbc/RowPacker;"};
constexpr JavaMethod kOfUtilities{"ofUtilities", "(Lcom/ulvanejdbc/jdbcUtilities;IZI)Lcom/ulvanejdbc/RowPacker;"};

constexpr const char* kNoSource = "there is no open result to read";
constexpr const char* kNoPacker =
    "could not use the Java class com/ulvanejdbc/RowPacker: the companion jar must be on "
    "the class path";
constexpr const char* kOutOfMemory = "out of memory";

constexpr int kMaxRows = 65536;
constexpr int kMaxRowBytes = 1 << 29;

constexpr int kMore = 0;
constexpr int kEnded = 1;

/// How the packer's buffer begins; the ends of the cells follow, then the text.
struct Header {
  std::int32_t state;
  std::int32_t rows;
  std::int32_t columns;
  std::int32_t zero;
};

void fail(RowBlocks& blocks, std::string message) {
  blocks.env->ExceptionClear();
  blocks.blockState = kEnded;
  blocks.errorState = 2;
  blocks.errorMessage = std::move(message);
}

/// Looks the packer's members up. @return the one that makes a packer; null when the class or a member is missing.
jmethodID findPacker(RowBlocks& blocks, LocalRef<jclass>& packerClass, const JavaMethod& make) {
  JNIEnv* env = blocks.env;
  if (!packerClass.reset(env->FindClass(kPackerClass))) return nullptr;
  blocks.packMethod = findMethod(env, packerClass.get(), kPack);
  if (blocks.packMethod == nullptr) return nullptr;
  blocks.failureMethod = findMethod(env, packerClass.get(), kFailure);
  if (blocks.failureMethod == nullptr) return nullptr;
  return env->GetStaticMethodID(packerClass.get(), make.name, make.signature);
}

/// @return whether there is a source to read; if not, that is the error.
bool hasSource(RowBlocks& blocks, jobject source) {
  if (blocks.env != nullptr && source != nullptr) return true;
  blocks.blockState = kEnded;
  blocks.errorState = 2;
  blocks.errorMessage = kNoSource;
  return false;
}

/// Makes the packer, or records why there is none. @param source the first arguments of @p make
template <class... Source>
void open(RowBlocks& blocks, const RowBlocksOptions& options, const JavaMethod& make, Source... source) {
  LocalRef<jclass> packerClass(blocks.env);
  const jmethodID method = findPacker(blocks, packerClass, make);
  if (method == nullptr) return fail(blocks, kNoPacker);
  const LocalRef<jobject> made(
      blocks.env, blocks.env->CallStaticObjectMethod(
                      packerClass.get(), method, source..., static_cast<jint>(std::clamp(options.maxRows, 1, kMaxRows)),
                      static_cast<jboolean>(options.standardUtf8),
                      static_cast<jint>(std::clamp(options.maxRowBytes, 1, kMaxRowBytes))));
  if (!made || kivo::isPending(blocks.env) || !kivo::keepGlobal(blocks.env, blocks.packer, made.get())) {
    fail(blocks, kOutOfMemory);
  }
}

/// Takes the block over that the packer has made.
void take(RowBlocks& blocks, const void* buffer) {
  const auto* header = static_cast<const Header*>(buffer);
  blocks.blockState = header->state;
  blocks.rowCount = header->rows;
  blocks.columnCount = header->columns;
  blocks.ends = &header->zero + 1;
  blocks.texts = reinterpret_cast<const char*>(blocks.ends + std::ptrdiff_t{header->rows} * header->columns);
}

void readBlock(RowBlocks& blocks) {
  LocalRef<jobject> buffer = kivo::callObject(blocks.env, blocks.packer, blocks.packMethod);
  const void* address = buffer ? blocks.env->GetDirectBufferAddress(buffer.get()) : nullptr;
  if (address == nullptr) return fail(blocks, kOutOfMemory);
  take(blocks, address);
}

/// Turns the packer's failure into the error.
void reportFailure(RowBlocks& blocks) {
  const LocalRef<jobject> text = kivo::callObject(blocks.env, blocks.packer, blocks.failureMethod);
  std::string message;
  if (!text || !kivo::copyText(blocks.env, static_cast<jstring>(text.get()), message)) {
    return fail(blocks, kOutOfMemory);
  }
  blocks.errorState = blocks.blockState - kEnded;
  blocks.errorMessage = std::move(message);
  blocks.blockState = kEnded;
}

}  // namespace

RowBlocks::RowBlocks(JdbcUtils& source, const RowBlocksOptions& options) : env(source.env) {
  if (!hasSource(*this, source.resultSet)) return;
  const kivo::PendingAside aside(env);
  // As getColumn() does, also where the driver would now say something else.
  const LocalRef<jintArray> types = kivo::newIntArray(env, source.columnTypes);
  if (types) {
    open(*this, options, kOfResult, source.resultSet, types.get());
  } else {
    fail(*this, kOutOfMemory);
  }
}

RowBlocks::RowBlocks(jdbcWrapper& source, const RowBlocksOptions& options) : env(source.env) {
  if (!hasSource(*this, source.utilitiesObject)) return;
  const kivo::PendingAside aside(env);
  open(*this, options, kOfUtilities, source.utilitiesObject);
}

RowBlocks::~RowBlocks() {
  if (env != nullptr) kivo::dropGlobal(env, packer);
}

bool RowBlocks::next() {
  rowCount = 0;
  if (blockState == kEnded) return false;
  const kivo::PendingAside aside(env);
  if (blockState == kMore) readBlock(*this);
  if (rowCount == 0 && blockState > kEnded) reportFailure(*this);
  return rowCount > 0;
}
