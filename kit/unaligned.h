// Loads and stores of values at any address: an RQChar in a caller's buffer need not be aligned.
#ifndef RQUNI_KIT_UNALIGNED_H
#define RQUNI_KIT_UNALIGNED_H

#include <cstdint>

namespace rq {

// Always inlined: kernels for different processors use these, and the linker must not merge their copies. The
// pointers lose their type first, because a compiler may assume that a pointer to RQChar is aligned.

template <class T>
[[gnu::always_inline]] inline T load(const void* from) {
  T value;
  __builtin_memcpy(&value, from, sizeof value);
  return value;
}
template <class T>
[[gnu::always_inline]] inline T load(const T* from) {
  return load<T>(static_cast<const void*>(from));
}

template <class T>
[[gnu::always_inline]] inline void store(void* to, T value) {
  __builtin_memcpy(to, &value, sizeof value);
}

}  // namespace rq

#endif
