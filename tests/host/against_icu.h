// One case of the host's codecs against ICU's own converters.
#ifndef RQUNI_TESTS_HOST_AGAINST_ICU_H
#define RQUNI_TESTS_HOST_AGAINST_ICU_H

#include "tests/differential/choices.h"

namespace rq::test {

/// Converts a text between an encoding and a form, both chosen, with bytes that are invalid, a text that is cut, and
/// too little room among the choices. Throws Difference when bytes or outcome are not those that ICU gives for the
/// whole text at once.
void compareHostWithIcu(Choices& choices);

}  // namespace rq::test

#endif
