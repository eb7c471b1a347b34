// Counting characters and display columns.
#include "frame/interface.h"
#include "frame/internal/same_as.h"
#include "frame/internal/work_buffer.h"
#include "kit/kit.h"

namespace rq {
namespace {

constexpr std::int64_t refused = -1;

/// Converts a text to UTF-32, drops the blanks at its end and returns what `count` makes of (characters, number).
template <std::uint64_t unitBytes, class Count>
std::int64_t measure(RQInterface* object, const void* input, std::uint64_t units, Count count) {
  if (input == nullptr || units == 0) return 0;
  RQ_UNINITIALIZED WorkBuffer buffer(object->pool, units, 256);
  if (!buffer.obtained()) return refused;
  RQTranscoder* const fromSession = object->transcoders[RQ_FORM_UTF32_NATIVE].fromSession;
  const std::uint64_t characters = buffer.convert(fromSession, input, units * unitBytes, buffer.bytes());
  return static_cast<std::int64_t>(count(buffer.characters(), kit::trimBlanks(buffer.characters(), characters)));
}

std::uint64_t length(const RQChar*, std::uint64_t count) {
  return count;
}

/// A wide character takes two columns, any other one: marks, controls and emoji have no column rules of their own.
std::uint64_t width(const RQChar* text, std::uint64_t count) {
  return count + kit::countWide(text, count);
}

}  // namespace
}  // namespace rq

std::int64_t ulGetUnicodeLength(RQInterface* object, const void* input, std::uint64_t units) {
  return rq::measure<1>(object, input, units, rq::length);
}

std::int64_t T_ulGetUnicodeLength(RQInterface* object, const void* input, std::uint64_t units) {
  return rq::measure<sizeof(RQChar)>(object, input, units, rq::length);
}

std::int64_t ulGetUnicodeWidth(RQInterface* object, const void* input, std::uint64_t units) {
  return rq::measure<1>(object, input, units, rq::width);
}

std::int64_t T_ulGetUnicodeWidth(RQInterface* object, const void* input, std::uint64_t units) {
  return rq::measure<sizeof(RQChar)>(object, input, units, rq::width);
}

extern "C" {
RQ_SAME_AS(S_ulGetUnicodeLength, ulGetUnicodeLength)
RQ_SAME_AS(S_ulGetUnicodeWidth, ulGetUnicodeWidth)
}
