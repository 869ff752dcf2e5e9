#include "failing_malloc.h"

#include <cstdlib>
#include <new>

extern "C" void* __libc_malloc(std::size_t size);
// Present in a sanitizer's build, where a block from the C library would be foreign to the sanitizer's free.
extern "C" __attribute__((weak)) void* __interceptor_malloc(std::size_t size);

namespace kivo::test {

static thread_local FaultCounter counter;

bool FaultCounter::hits() {
  if (!armed) return false;
  ++calls;
  const bool hit = lasting ? calls >= nth : calls == nth;
  fired = fired || hit;
  return hit;
}

FaultCounter& allocationFaults() { return counter; }

}  // namespace kivo::test

// Called before a sanitizer has set itself up, so its own checks must stay out.
extern "C" __attribute__((no_sanitize_address, no_sanitize_thread)) void* malloc(std::size_t size) noexcept {
  if (kivo::test::counter.armed && kivo::test::counter.hits()) return nullptr;
  return __interceptor_malloc != nullptr ? __interceptor_malloc(size) : __libc_malloc(size);
}

// A sanitizer's operator new would pass malloc by.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size == 0 ? 1 : size); }
void* operator new(std::size_t size) {
  if (void* block = operator new(size, std::nothrow)) return block;
  throw std::bad_alloc();
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
