/* The naive twin: every codec and measure written out step by step, one unit and one host call at a time.
 *
 * It knows nothing of the library's code, calls the same host tables through the same interface object, and is what
 * the fast code is compared with. It asks the transcoders each time anew. */
#ifndef RQUNI_TESTS_MODEL_CODEC_TWIN_H
#define RQUNI_TESTS_MODEL_CODEC_TWIN_H

#include "tests/model/texts.h"

namespace rq::test::twin {

/// The kernel handle that the twin takes host services from.
void setKernel(RQKernel* kernel);

/// The twin's operations; only the seven codecs and the two measures are set.
const RQOperations& operations(Flavour flavour);

}  // namespace rq::test::twin

#endif
