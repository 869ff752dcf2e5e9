#include "arrow/arrays.h"

#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>

#include "arrow/children.h"
#include "arrow/environment.h"
#include "jni/pending.h"

namespace kivo {

namespace {

/// The memory of one field's buffers. Java gets it back at the end, on whatever thread that is.
class HeldSlab {
 public:
  explicit HeldSlab(const ReaderMethods& methods) : release_(methods.slabRelease) {}
  ~HeldSlab() {
    JNIEnv* env = slab_ == nullptr ? nullptr : threadEnvironment();
    if (env == nullptr) return;
    const PendingAside aside(env);
    env->CallVoidMethod(slab_, release_);
    env->ExceptionClear();
    dropGlobal(env, slab_);
  }
  HeldSlab(const HeldSlab&) = delete;
  HeldSlab& operator=(const HeldSlab&) = delete;

  /// @return false when the VM has no memory.
  bool hold(JNIEnv* env, jobject slab) { return keepGlobal(env, slab_, slab); }

 private:
  jmethodID release_;
  jobject slab_ = nullptr;
};

/// What an array points to.
struct ArrayNode {
  ArrayNode(const ReaderMethods& methods, std::size_t childCount) : slab(methods), children(childCount) {}

  const void* buffers[3] = {};
  HeldSlab slab;
  Children<ArrowArray> children;
};

void releaseArray(ArrowArray* array) {
  delete static_cast<ArrayNode*>(array->private_data);
  array->release = nullptr;
}

void fillIn(ArrowArray& array, std::unique_ptr<ArrayNode> node, jlong length, jlong nullCount, int buffers) {
  array.length = length;
  array.null_count = nullCount;
  array.offset = 0;
  array.n_buffers = buffers;
  array.n_children = node->children.count();
  array.buffers = node->buffers;
  array.children = node->children.addresses();
  array.dictionary = nullptr;
  array.release = releaseArray;
  array.private_data = node.release();
}

/// How many buffers Arrow has for a type.
int buffersOf(const std::string& format) {
  switch (format.front()) {
    case 'n':
      return 0;
    case 'u':
    case 'U':
    case 'z':
    case 'Z':
      return 3;
    default:
      return 2;
  }
}

/// Makes the arrays of the fields, in the order in which Java lists them.
class ArrayBuilder {
 public:
  ArrayBuilder(JNIEnv* owner, const ReaderMethods& readerMethods, const JavaBatch& javaBatch)
      : env(owner), methods(readerMethods), batch(javaBatch) {}

  bool buildChildren(const ArrowField& field, ArrayNode& node) {
    for (std::size_t index = 0; index < field.children.size(); ++index) {
      if (!build(field.children[index], node.children[index])) return false;
    }
    return true;
  }

 private:
  bool build(const ArrowField& field, ArrowArray& array) {
    auto node = std::make_unique<ArrayNode>(methods, field.children.size());
    const FieldPlaces& places = batch.places[next];
    const LocalRef<jobject> slab(env, env->GetObjectArrayElement(batch.slabs.get(), static_cast<jsize>(next++)));
    if (!slab || !takeBuffers(slab.get(), places, *node) || !buildChildren(field, *node)) return false;
    fillIn(array, std::move(node), places.length, places.nullCount, buffersOf(field.format));
    return true;
  }

  bool takeBuffers(jobject slab, const FieldPlaces& places, ArrayNode& node) {
    if (!node.slab.hold(env, slab)) return false;
    const LocalRef<jobject> memory = callObject(env, slab, methods.slabMemory);
    const auto* start = memory ? static_cast<const char*>(env->GetDirectBufferAddress(memory.get())) : nullptr;
    if (start == nullptr) return false;
    for (std::size_t index = 0; index < std::size(node.buffers); ++index) {
      const jlong place = places.buffers[index];
      node.buffers[index] = place < 0 ? nullptr : start + place;
    }
    return true;
  }

  JNIEnv* env;
  const ReaderMethods& methods;
  const JavaBatch& batch;
  std::size_t next = 0;
};

}  // namespace

bool exportBatch(JNIEnv* env, const ReaderMethods& methods, const ArrowField& root, const JavaBatch& batch,
                 ArrowArray& array) {
  auto node = std::make_unique<ArrayNode>(methods, root.children.size());
  if (!ArrayBuilder(env, methods, batch).buildChildren(root, *node)) return false;
  // Of the structures themselves none is null: their one buffer, the validity bits, is absent.
  fillIn(array, std::move(node), batch.rows, 0, 1);
  return true;
}

}  // namespace kivo
