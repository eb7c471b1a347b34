#include "tests/model/calls.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace rq::test {

std::uint32_t unicodeFormOf(const Slot& slot) {
  const std::string_view name = slot.name;
  if (name.ends_with("UTF8")) return utf8;
  if (name.substr(3).starts_with("UTF16")) return name.ends_with('B') ? utf16Big : utf16Little;
  return name.ends_with('B') ? utf32Big : utf32;
}

std::vector<std::uint8_t> inputOf(const Slot& slot, std::uint32_t session, std::u32string_view text) {
  std::vector<std::uint8_t> input = encoded(slot.takesUnicodeForm() ? unicodeFormOf(slot) : session, text);
  input.resize(input.size() / slot.inputUnit() * slot.inputUnit());
  return input;
}

std::vector<std::uint8_t> inputOf(const Slot& slot, std::u32string_view text) {
  return inputOf(slot, usualEncoding(slot.flavour), text);
}

std::vector<std::uint8_t> richText(const Slot& slot, bool isLong) {
  std::u32string text =
      U"a&#233;b&#xe8;&#xD83D;&#xDE00;\\u00EA\\U000000EB\\uD83D\\uDE00\\uu<U00EC><U000000ED><U0041>"
      U"x\u00EE\\u0\u0080\\";
  if (isLong)
    for (const std::u32string once = text; text.size() <= 256;) text += once;
  return inputOf(slot, text);
}

CodecResult call(RQCodec codec, RQInterface* object, Flavour flavour, const std::vector<std::uint8_t>& units,
                 std::uint64_t capacity) {
  constexpr std::uint64_t slack = 64;
  const std::uint64_t size = unitBytes(flavour);
  std::vector<std::uint8_t> output(capacity * size + slack, untouched);
  CodecResult result{};
  result.length = notStored;
  result.status = codec(object, units.data(), units.size() / size, output.data(), capacity, &result.length);
  result.stored = result.length != notStored;
  result.reach = output.size();
  while (result.reach > 0 && output[result.reach - 1] == untouched) --result.reach;
  if (result.stored && result.length <= output.size() / size) {
    output.resize(result.length * size);
    result.bytes = std::move(output);
  }
  return result;
}

SlotResult callGuarded(const Slot& slot, Session& session, const RQOperations& operations,
                       const std::vector<std::uint8_t>& input, std::uint64_t capacity, bool pad, Flush flush) {
  static GuardedBuffer in(16 * 4096), out(16 * 4096);
  const std::uint64_t room = capacity * slot.outputUnit() + slot.overshoot(capacity, pad);
  const std::uint8_t* const text = in.place(input.data(), input.size(), flush);
  std::uint8_t* const output = out.place(room, flush);
  std::fill_n(output, room, untouched);
  SlotResult result{};
  result.answer =
      callSlot(slot, operations, session.object, text, input.size() / slot.inputUnit(), output, capacity, pad);
  result.output.assign(output, output + room);
  result.mistake = mistakeOf(slot, result.answer, output, room, untouched);
  if (!out.isIntact()) result.mistake = "bytes around the output";
  if (!session.holdsOneObject()) result.mistake = "what was taken is not given back";
  return result;
}

SlotResult callGuarded(const Slot& slot, Session& session, const std::vector<std::uint8_t>& input,
                       std::uint64_t capacity, bool pad, Flush flush) {
  return callGuarded(slot, session, slotsOf(session.object, slot.flavour), input, capacity, pad, flush);
}

}  // namespace rq::test
