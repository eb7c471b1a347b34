/* The codecs and measures by number, for tests that go through all of them. */
#ifndef RQUNI_TESTS_MODEL_NUMBERED_H
#define RQUNI_TESTS_MODEL_NUMBERED_H

#include "tests/model/session.h"

namespace rq::test {

/// Seven codecs, then the two measures.
inline constexpr unsigned codecCount = 7;
const char* nameOfOperation(unsigned operation);
RQCodec codecOf(const RQOperations& operations, unsigned operation);

}  // namespace rq::test

#endif
