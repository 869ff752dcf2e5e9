#pragma once

#include <deque>
#include <string>
#include <vector>

#include "KivoArrow.h"
#include "plain.h"

namespace kivo::adbc {

/// An Arrow structure that is released at the end.
template <class Structure>
class Owned {
 public:
  Owned() = default;
  /// Takes over what @p from has.
  explicit Owned(Structure& from) : structure_(from) { from.release = nullptr; }
  Owned(Owned&& other) noexcept : Owned(other.structure_) {}
  Owned& operator=(Owned&& other) noexcept {
    reset();
    structure_ = other.structure_;
    other.structure_.release = nullptr;
    return *this;
  }
  ~Owned() { reset(); }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;

  void reset() {
    if (structure_.release != nullptr) structure_.release(&structure_);
    structure_.release = nullptr;
  }
  Structure* get() { return &structure_; }
  Structure& operator*() { return structure_; }
  explicit operator bool() const { return structure_.release != nullptr; }

 private:
  Structure structure_{};
};

using BoundBatch = Owned<ArrowArray>;

/// The rows that are bound to a statement: one batch, or a stream of them. Throws Fault.
class Bound {
 public:
  Bound() = default;
  Bound(ArrowArray& batch, ArrowSchema& schema);
  explicit Bound(ArrowArrayStream& stream);

  explicit operator bool() const { return static_cast<bool>(schema_); }

  /// As the rows come.
  const ArrowSchema& schema() { return *schema_; }

  /// As they are bound.
  const ArrowSchema& plainSchema() const { return plain_.get(); }

  /// The next batch with rows; false after the last one.
  bool next(BoundBatch& batch);

  /// Whether there is one row exactly. Reads ahead.
  bool isOneRow();

  /// The formats of the fields in pre-order, a line each.
  std::string formats() const;
  std::vector<const char*> names() const;

 private:
  Owned<ArrowSchema> schema_;
  PlainSchema plain_;
  std::deque<BoundBatch> ahead_;
  Owned<ArrowArrayStream> stream_;

  bool readStream(BoundBatch& batch);
};

}  // namespace kivo::adbc
