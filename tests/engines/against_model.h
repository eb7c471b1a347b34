// One case of what the engines share: conversions and pools.
#ifndef RQUNI_TESTS_ENGINES_AGAINST_MODEL_H
#define RQUNI_TESTS_ENGINES_AGAINST_MODEL_H

#include "tests/differential/choices.h"

namespace rq::test {

/// Converts a text between a session encoding of the engines and a form, with bytes that are invalid, a text that is
/// cut, and too little room among the choices; or takes blocks from pools and gives some back. Throws Difference when
/// bytes, status or the place of the failure are not those of the tests' own encodings, when something is written
/// beyond the room, or when memory is shared or lost.
void compareEnginesWithModel(Choices& choices);

}  // namespace rq::test

#endif
