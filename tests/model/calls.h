/* Single calls of operations: their inputs, and everything that a call did. */
#ifndef RQUNI_TESTS_MODEL_CALLS_H
#define RQUNI_TESTS_MODEL_CALLS_H

#include <vector>

#include "tests/model/guarded_buffer.h"
#include "tests/model/session.h"
#include "tests/model/slots.h"

namespace rq::test {

/// The encoding of a slot's Unicode text: a Get's input or a Put's output.
std::uint32_t unicodeFormOf(const Slot& slot);
/// `text` as the slot's input: in the session encoding, or for a Get of the transforms in its Unicode form.
std::vector<std::uint8_t> inputOf(const Slot& slot, std::uint32_t session, std::u32string_view text);
/// The same in the flavour's usual session encoding.
std::vector<std::uint8_t> inputOf(const Slot& slot, std::u32string_view text);
/// A text with every notation, which makes an operation ask its host for all that it can. `isLong` makes it more than
/// 256 units.
std::vector<std::uint8_t> richText(const Slot& slot, bool isLong);

/// What a call of a codec did.
struct CodecResult {
  RQStatus status;
  bool stored;                      // whether the output length was stored
  std::uint64_t length;             // the stored length
  std::vector<std::uint8_t> bytes;  // of that many units, as far as they lie within capacity and slack
  std::uint64_t reach;              // bytes from the output's beginning up to the last one that changed
};
/// Calls a codec with an output of `capacity` units and 64 canary bytes behind it. `units` holds whole units.
CodecResult call(RQCodec codec, RQInterface* object, Flavour flavour, const std::vector<std::uint8_t>& units,
                 std::uint64_t capacity);

inline constexpr std::uint8_t untouched = 0xC7;

/// What a call of a slot did. `output` is capacity and overshoot; what the call did not write is `untouched`.
struct SlotResult {
  Answer answer;
  std::vector<std::uint8_t> output;
  const char* mistake;  // a promise that is broken whatever the host did, or null
  bool operator==(const SlotResult& other) const { return answer == other.answer && output == other.output; }
};
/// Calls a slot between guard pages; the output has room for the capacity and the documented overshoot, and not for a
/// byte more.
SlotResult callGuarded(const Slot& slot, Session& session, const RQOperations& operations,
                       const std::vector<std::uint8_t>& input, std::uint64_t capacity, bool pad,
                       Flush flush = Flush::atEnd);
/// The same with the object's own operations.
SlotResult callGuarded(const Slot& slot, Session& session, const std::vector<std::uint8_t>& input,
                       std::uint64_t capacity, bool pad, Flush flush = Flush::atEnd);

}  // namespace rq::test

#endif
