/* Texts that make an operation ask its host for all that it can, and single calls between guard pages. */
#ifndef RQUNI_TESTS_MODEL_CALLS_H
#define RQUNI_TESTS_MODEL_CALLS_H

#include <string>
#include <vector>

#include "tests/model/guarded_buffer.h"
#include "tests/model/session.h"
#include "tests/model/slots.h"

namespace rq::test {

/// The session that a flavour's calls are made in: one that can hold all characters.
std::uint32_t usualSession(Flavour flavour);
/// A text with every notation, as a slot's input in its usual session; `isLong` makes it more than 256 units.
std::vector<std::uint8_t> richText(const Slot& slot, bool isLong);
/// The same of any text: session text for Puts, codecs and measures, a Unicode form for Gets.
std::vector<std::uint8_t> inputOf(const Slot& slot, std::u32string_view text);
/// The same in another session encoding.
std::vector<std::uint8_t> inputOf(const Slot& slot, std::uint32_t session, std::u32string_view text);

inline constexpr std::uint8_t untouched = 0xC7;

/// A call and the bytes of capacity and overshoot that it left; what it did not write is `untouched`.
struct Made {
  Answer answer;
  std::vector<std::uint8_t> output;
  const char* mistake;  // what is wrong whatever the host did, or null
  bool operator==(const Made& other) const { return answer == other.answer && output == other.output; }
};

/// Calls that slot of `operations` with the session's object, input and output flush against guard pages: capacity
/// and documented overshoot, and not a byte more.
Made make(const Slot& slot, Session& session, const RQOperations& operations, const std::vector<std::uint8_t>& input,
          std::uint64_t capacity, bool pad, Flush flush = Flush::atEnd);
/// The same of the object's own operations.
Made make(const Slot& slot, Session& session, const std::vector<std::uint8_t>& input, std::uint64_t capacity,
          bool pad, Flush flush = Flush::atEnd);

}  // namespace rq::test

#endif
