#include "tests/model/numbered.h"

namespace rq::test {

const char* nameOfOperation(unsigned operation) {
  constexpr const char* names[] = {"getNCR",     "putNCR",    "getUEsc",          "putUEsc",        "getUParen",
                                   "getUParenP", "putUParen", "getUnicodeLength", "getUnicodeWidth"};
  return names[operation];
}

RQCodec codecOf(const RQOperations& operations, unsigned operation) {
  const RQCodec codecs[] = {operations.getNCR,    operations.putNCR,     operations.getUEsc,  operations.putUEsc,
                            operations.getUParen, operations.getUParenP, operations.putUParen};
  static_assert(std::size(codecs) == codecCount);
  return codecs[operation];
}

}  // namespace rq::test
