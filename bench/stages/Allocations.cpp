#include "bench/stages/Allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::uint64_t> count = 0;

void* allocate(std::size_t size) {
  count.fetch_add(1, std::memory_order_relaxed);
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}

}  // namespace

namespace tovi::bench {

std::uint64_t allocations() {
  return count.load(std::memory_order_relaxed);
}

}  // namespace tovi::bench

// The other forms, but for those of over-aligned types, which nothing here has, call these.
void* operator new(std::size_t size) {
  return allocate(size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}
