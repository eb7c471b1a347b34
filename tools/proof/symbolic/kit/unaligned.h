// In place of the library's header: loads and stores of symbolic memory.
#ifndef RQUNI_KIT_UNALIGNED_H
#define RQUNI_KIT_UNALIGNED_H

#include "symbolic/words.h"

namespace rq {

template <class T>
auto load(const void* from) {
  if constexpr (requires { T::read(from); })
    return T::read(from);  // a vector
  else
    return proof::loadWord<proof::Value<T>>(from);
}
template <class T>
auto load(const T* from) {
  return load<T>(static_cast<const void*>(from));
}
template <class T>
void store(void* to, T value) {
  proof::storeWord(to, proof::word(value));
}

}  // namespace rq

#endif
