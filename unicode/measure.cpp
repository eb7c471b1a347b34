// Counting characters and display columns.
#include "frame/interface.h"
#include "frame/internal/same_as.h"
#include "kit/kit.h"
#include "kit/work_buffer.h"

namespace rq {
namespace {

/// The result when the pool refuses a working buffer.
constexpr std::int64_t refused = -1;
/// Longer texts take a block of the pool.
constexpr std::uint64_t maxLocalUnits = 256;

/// The count without the blanks at the end. Looks at one character first: most texts end in no blank, and a vector
/// would have to wait until all that the host just wrote is in the cache.
std::uint64_t withoutBlanks(const RQChar* text, std::uint64_t count) {
  if (count == 0 || load(text + count - 1) != kit::blank) return count;
  return kit::trimBlanks(text, count);
}

/// Converts a text to UTF-32, drops the blanks at its end and returns count(characters, their number).
template <std::uint64_t unitBytes, class Count>
std::int64_t measure(RQInterface* object, const void* input, std::uint64_t units, Count count) {
  if (!input || units == 0) return 0;
  RQ_UNINITIALIZED WorkBuffer buffer(object->pool, units, maxLocalUnits);
  if (!buffer.obtained()) return refused;
  RQTranscoder* const fromSession = object->transcoders[RQ_FORM_UTF32_NATIVE].fromSession;
  const std::uint64_t characters = buffer.convert(fromSession, input, units * unitBytes, buffer.bytes());
  return static_cast<std::int64_t>(count(buffer.characters(), withoutBlanks(buffer.characters(), characters)));
}

std::uint64_t length(const RQChar*, std::uint64_t count) {
  return count;
}

/// Two columns for a wide character, one for any other: marks, controls and emoji have no rules of their own.
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
