/* The naive twin of the codecs and measures: each written from its definition, one unit and one host call at a time.
 *
 * It shares no code with the library and calls the same host through the same interface object. It remembers no
 * answer of a transcoder. */
#ifndef RQUNI_TESTS_MODEL_CODEC_TWIN_H
#define RQUNI_TESTS_MODEL_CODEC_TWIN_H

#include "tests/model/texts.h"

namespace rq::test::twin {

/// The kernel whose case service the twin uses.
void setKernel(RQKernel* kernel);

/// The twin's operations; only the seven codecs and the two measures are set.
const RQOperations& operations(Flavour flavour);

}  // namespace rq::test::twin

#endif
