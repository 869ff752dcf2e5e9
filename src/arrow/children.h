#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kivo {

/// The children of an ArrowSchema or ArrowArray. Their structures live here; what they hold is their own, so that a
/// consumer may move a child out and release it later. Those that are still here are released at the end.
template <class Structure>
class Children {
 public:
  explicit Children(std::size_t count) : structures_(count), addresses_(count) {
    for (std::size_t index = 0; index < count; ++index) addresses_[index] = &structures_[index];
  }
  ~Children() {
    for (Structure& child : structures_) {
      if (child.release != nullptr) child.release(&child);
    }
  }
  Children(const Children&) = delete;
  Children& operator=(const Children&) = delete;

  Structure& operator[](std::size_t index) { return structures_[index]; }
  std::int64_t count() const { return static_cast<std::int64_t>(structures_.size()); }
  Structure** addresses() { return addresses_.data(); }

 private:
  std::vector<Structure> structures_;
  std::vector<Structure*> addresses_;
};

}  // namespace kivo
