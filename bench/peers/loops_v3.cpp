#include "bench/peers/loops.inc"

namespace rq::bench {
const Loops loopsV3 = loops("loop-v3");
}
