#include "tests/model/calls.h"

#include <string_view>

namespace rq::test {
namespace {

/// The encoding of what a slot takes.
std::uint32_t inputEncoding(const Slot& slot, std::uint32_t session) {
  const std::string_view name = slot.name;
  if (slot.shape != Shape::transform || slot.isPut()) return session;
  if (name == "getUTF8") return utf8;
  if (name.starts_with("getUTF16")) return name.ends_with('B') ? utf16Big : utf16Little;
  return name.ends_with('B') ? utf32Big : utf32;
}

}  // namespace

std::uint32_t usualSession(Flavour flavour) {
  return flavour == Flavour::wide ? utf32 : utf8;
}

std::vector<std::uint8_t> inputOf(const Slot& slot, std::u32string_view text) {
  return inputOf(slot, usualSession(slot.flavour), text);
}

std::vector<std::uint8_t> inputOf(const Slot& slot, std::uint32_t session, std::u32string_view text) {
  std::vector<std::uint8_t> input = encoded(inputEncoding(slot, session), text);
  input.resize(input.size() / slot.inputUnit() * slot.inputUnit());
  return input;
}

std::vector<std::uint8_t> richText(const Slot& slot, bool isLong) {
  std::u32string text =
      U"a&#233;b&#xe8;&#xD83D;&#xDE00;\\u00EA\\U000000EB\\uD83D\\uDE00\\uu<U00EC><U000000ED><U0041>"
      U"x\u00EE\\u0\u0080\\";
  if (isLong)
    for (const std::u32string once = text; text.size() <= 256;) text += once;
  return inputOf(slot, text);
}

Made make(const Slot& slot, Session& session, const RQOperations& operations, const std::vector<std::uint8_t>& input,
          std::uint64_t capacity, bool pad, Flush flush) {
  static GuardedBuffer in(16 * 4096), out(16 * 4096);
  const std::uint64_t room = capacity * slot.outputUnit() + slot.overshoot(capacity, pad);
  const std::uint8_t* const text = in.place(input.data(), input.size(), flush);
  std::uint8_t* const output = out.place(room, flush);
  Made made{};
  made.answer =
      callSlot(slot, operations, session.object, text, input.size() / slot.inputUnit(), output, capacity, pad);
  made.output.assign(output, output + room);
  made.mistake = mistakeOf(slot, made.answer, output, room, untouched);
  if (!out.intact()) made.mistake = "bytes around the output";
  const MockHost& host = session.host;
  if (host.livePools != 1 || host.liveBlocks != 1 || host.liveTranscoders != 14 || host.mistakes != 0)
    made.mistake = "what was taken is not given back";
  return made;
}

Made make(const Slot& slot, Session& session, const std::vector<std::uint8_t>& input, std::uint64_t capacity,
          bool pad, Flush flush) {
  return make(slot, session, slotsOf(session.object, slot.flavour), input, capacity, pad, flush);
}

}  // namespace rq::test
