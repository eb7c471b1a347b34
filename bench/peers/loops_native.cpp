#include "bench/peers/loops.inc"

namespace rq::bench {
const Loops loopsNative = loops("loop-native");
}
