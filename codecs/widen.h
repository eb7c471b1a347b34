// An encoder's input as characters.
#ifndef RQUNI_CODECS_WIDEN_H
#define RQUNI_CODECS_WIDEN_H

#include <cstdint>

#include "frame/interface.h"
#include "kit/kit.h"
#include "kit/work_buffer.h"

namespace rq {

template <class Unit>
bool isAscii(const Unit* input, std::uint64_t units) {
  return kit::asciiPrefix(input, units) == units;
}

/// Calls `encode` with the text as (characters, count) and returns its result. When `unitsAreCharacters`, the text
/// needs neither the transcoder nor a copy; otherwise it is converted as a whole.
template <class Unit, class Encode>
auto withCharacters(RQInterface* object, const Unit* input, std::uint64_t units, bool unitsAreCharacters,
                    WorkBuffer& buffer, Encode encode) {
  if (unitsAreCharacters) return encode(input, units);
  RQTranscoder* const fromSession = object->transcoders[RQ_FORM_UTF32_NATIVE].fromSession;
  const std::uint64_t count = buffer.convert(fromSession, input, units * sizeof(Unit), 0);
  return encode(buffer.characters(), count);
}

}  // namespace rq

#endif
