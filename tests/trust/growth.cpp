// The worst texts for one operation, as long as it is told: callgrind counts the instructions of the call alone.
//
//   rq_growth OPERATION PIECE UNITS   runs it once in each flavour over the worst text number PIECE (0 to 3)
//   rq_growth --list                  the operations
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "trust/calls.h"

namespace rq::test {
namespace {

/// What repeats in a worst text: beginnings that never end, shortest notations, pairs that are none.
struct Worst {
  const char* operation;
  const char32_t* pieces[4];
};
constexpr Worst worst[] = {
    {"getNCR", {U"&#", U"&#x;", U"&#xD83D;&#", U"&#9;"}},
    {"putNCR", {U"\u00E9", U"<U", U"<U0041>", U"<u00>"}},
    {"getUEsc", {U"\\u", U"\\uD83D", U"\\uu", U"\\u0041"}},
    {"putUEsc", {U"\\u", U"\\", U"\u00E9", U"\\uu"}},
    {"getUParen", {U"<U", U"<U>", U"<<", U"<U0041"}},
    {"getUParenP", {U"<U", U"<U>", U"<<", U"<U00E9>"}},
    {"putUParen", {U"<U", U"<U0041>x", U"\u00E9", U"<"}},
    {"getUnicodeLength", {U" ", U"\u00E9", U"a ", U"a"}},
    {"getUnicodeWidth", {U" ", U"\u3042", U"a\u3042", U"\u00E9"}},
};

std::vector<std::uint8_t> repeated(const Slot& slot, const char32_t* piece, std::size_t units) {
  const std::vector<std::uint8_t> once = inputOf(slot, piece);
  const std::size_t bytes = units * slot.inputUnit();
  std::vector<std::uint8_t> text;
  text.reserve(bytes + once.size());
  while (text.size() < bytes) text.insert(text.end(), once.begin(), once.end());
  text.resize(bytes);
  return text;
}

}  // namespace

/// The function that callgrind is told to count: one call of a slot.
__attribute__((noinline)) Answer countedCall(const Slot& slot, RQInterface* object,
                                             const std::vector<std::uint8_t>& input,
                                             std::vector<std::uint8_t>& output) {
  return callSlot(slot, slotsOf(object, slot.flavour), object, input.data(), input.size() / slot.inputUnit(),
                  output.data(), output.size() / slot.outputUnit() - RQ_OUTPUT_SLACK_BYTES, false);
}

namespace {

bool run(const Worst& which, unsigned piece, std::size_t units) {
  for (const Slot& slot : allSlots()) {
    if (std::strcmp(slot.name, which.operation) != 0) continue;
    Session session(usualSession(slot.flavour));
    session.host.recording = false;
    const std::vector<std::uint8_t> input = repeated(slot, which.pieces[piece], units);
    std::vector<std::uint8_t> output(12 * slot.outputUnit() * units + 64);
    countedCall(slot, session.object, input, output);
  }
  return true;
}

}  // namespace
}  // namespace rq::test

int main(int count, char** arguments) {
  using namespace rq::test;
  if (count == 2 && std::strcmp(arguments[1], "--list") == 0) {
    for (const Worst& which : worst) std::puts(which.operation);
    return 0;
  }
  if (count != 4) return std::fprintf(stderr, "usage: rq_growth OPERATION PIECE UNITS | --list\n"), 2;
  for (const Worst& which : worst)
    if (std::strcmp(which.operation, arguments[1]) == 0)
      return run(which, static_cast<unsigned>(std::atoi(arguments[2])) % 4,
                 static_cast<std::size_t>(std::atol(arguments[3])))
                 ? 0
                 : 1;
  return 2;
}
