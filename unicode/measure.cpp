// Counting characters and display columns.
#include "frame/interface.h"
#include "frame/same_as.h"
#include "frame/work_buffer.h"
#include "kit/kit.h"

namespace rq {
namespace {

constexpr int64_t refused = -1;

/// Converts a text to UTF-32, drops the blanks at its end and returns what `count` makes of (characters, number).
template <uint64_t unitBytes, class Count>
int64_t measure(RQInterface* object, const void* input, uint64_t units, Count count) {
  if (input == nullptr || units == 0) return 0;
  RQ_UNINITIALIZED WorkBuffer buffer(object->pool, units, 256);
  if (!buffer.obtained()) return refused;
  RQTranscoder* const fromSession = object->transcoders[RQ_FORM_UTF32_NATIVE].fromSession;
  const uint64_t characters = buffer.convert(fromSession, input, units * unitBytes, buffer.bytes());
  return static_cast<int64_t>(count(buffer.characters(), kit::trimBlanks(buffer.characters(), characters)));
}

uint64_t length(const RQChar*, uint64_t count) {
  return count;
}

/// A wide character takes two columns, any other one: marks, controls and emoji have no column rules of their own.
uint64_t width(const RQChar* text, uint64_t count) {
  return count + kit::countWide(text, count);
}

}  // namespace
}  // namespace rq

int64_t ulGetUnicodeLength(RQInterface* object, const void* input, uint64_t units) {
  return rq::measure<1>(object, input, units, rq::length);
}

int64_t T_ulGetUnicodeLength(RQInterface* object, const void* input, uint64_t units) {
  return rq::measure<sizeof(RQChar)>(object, input, units, rq::length);
}

int64_t ulGetUnicodeWidth(RQInterface* object, const void* input, uint64_t units) {
  return rq::measure<1>(object, input, units, rq::width);
}

int64_t T_ulGetUnicodeWidth(RQInterface* object, const void* input, uint64_t units) {
  return rq::measure<sizeof(RQChar)>(object, input, units, rq::width);
}

extern "C" {
RQ_SAME_AS(S_ulGetUnicodeLength, ulGetUnicodeLength)
RQ_SAME_AS(S_ulGetUnicodeWidth, ulGetUnicodeWidth)
}
