/* The pieces that make the most expensive texts of each operation when they repeat. */
#ifndef RQUNI_TESTS_ROBUSTNESS_WORST_TEXTS_H
#define RQUNI_TESTS_ROBUSTNESS_WORST_TEXTS_H

#include "tests/model/calls.h"

namespace rq::test {

/// Shortest notations, beginnings that never end, pairs that are none. The first takes the most instructions.
struct Worst {
  const char* operation;
  const char32_t* pieces[4];
};
inline constexpr Worst worst[] = {
    {"getNCR", {U"&#9;", U"&#", U"&#x;", U"&#xD83D;&#"}},
    {"putNCR", {U"<U0041>", U"\u00E9", U"<U", U"<u00>"}},
    {"getUEsc", {U"\\u0041", U"\\u", U"\\uD83D", U"\\uu"}},
    {"putUEsc", {U"\u00E9", U"\\u", U"\\", U"\\uu"}},
    {"getUParen", {U"<U>", U"<U", U"<<", U"<U0041"}},
    {"getUParenP", {U"<U>", U"<U", U"<<", U"<U00E9>"}},
    {"putUParen", {U"<U0041>x", U"<U", U"\u00E9", U"<"}},
    {"getUnicodeLength", {U"\u00E9", U" ", U"a ", U"a"}},
    {"getUnicodeWidth", {U"a\u3042", U"\u3042", U" ", U"\u00E9"}},
};

/// What repeats in a text, and what ends it.
struct WorstText {
  std::u32string piece;
  std::u32string_view end;
};
/// Terminators of all notations: a text that ends so has them at its very end.
inline constexpr std::u32string_view terminators = U";>";

/// The text as a slot's input of `bytes` bytes.
inline std::vector<std::uint8_t> inputOf(const Slot& slot, const WorstText& text, std::size_t bytes) {
  const std::vector<std::uint8_t> once = inputOf(slot, text.piece), end = inputOf(slot, text.end);
  std::vector<std::uint8_t> whole;
  whole.reserve(bytes + once.size());
  while (whole.size() < bytes) whole.insert(whole.end(), once.begin(), once.end());
  whole.resize(bytes - end.size());
  whole.insert(whole.end(), end.begin(), end.end());
  return whole;
}

/// Room for the output of any input of `bytes` bytes: a unit becomes at most 11.
inline std::size_t outputBytes(std::size_t bytes) {
  return 12 * bytes + 1024;
}

}  // namespace rq::test

#endif
