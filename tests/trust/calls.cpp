#include "trust/calls.h"

#include <string_view>

#include "support/guarded_buffer.h"

namespace rq::test {
namespace {

constexpr std::uint8_t untouched = 0xC7;

/// The encoding of what a slot takes.
std::uint32_t inputEncoding(const Slot& slot) {
  const std::string_view name = slot.name;
  if (slot.shape != Shape::transform || slot.isPut()) return usualSession(slot.flavour);
  if (name == "getUTF8") return utf8;
  if (name.starts_with("getUTF16")) return name.ends_with('B') ? utf16Big : utf16Little;
  return name.ends_with('B') ? utf32Big : utf32;
}

}  // namespace

std::uint32_t usualSession(Flavour flavour) {
  return flavour == Flavour::wide ? utf32 : utf8;
}

std::vector<std::uint8_t> inputOf(const Slot& slot, std::u32string_view text) {
  return encoded(inputEncoding(slot), text);
}

std::vector<std::uint8_t> richText(const Slot& slot, bool isLong) {
  std::u32string text =
      U"a&#233;b&#xe8;&#xD83D;&#xDE00;\\u00EA\\U000000EB\\uD83D\\uDE00\\uu<U00EC><U000000ED><U0041>"
      U"x\u00EE\\u0\u0080\\";
  if (isLong)
    for (const std::u32string once = text; text.size() <= 256;) text += once;
  return inputOf(slot, text);
}

Made make(const Slot& slot, Session& session, const std::vector<std::uint8_t>& input, std::uint64_t capacity,
          bool pad) {
  static GuardedBuffer in(16 * 4096), out(16 * 4096);
  const std::uint64_t room = capacity * slot.outputUnit() + slot.overshoot(capacity, pad);
  const std::uint8_t* const text = in.place(input.data(), input.size());
  std::uint8_t* const output = out.place(room);
  Made made{};
  made.answer = callSlot(slot, slotsOf(session.object, slot.flavour), session.object, text,
                         input.size() / slot.inputUnit(), output, capacity, pad);
  made.output.assign(output, output + room);
  made.mistake = mistakeOf(slot, made.answer, output, room, untouched);
  if (!out.intact()) made.mistake = "bytes before the output";
  const MockHost& host = session.host;
  if (host.livePools != 1 || host.liveBlocks != 1 || host.liveTranscoders != 14 || host.mistakes != 0)
    made.mistake = "what was taken is not given back";
  return made;
}

}  // namespace rq::test
