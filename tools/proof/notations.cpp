// Proves the arithmetic of the notations, as kernels.cpp does the kernels: words of digits, digits, surrogates.
#include <cstring>

#include "symbolic/begin.h"

#include "codecs/digit_words.h"
#include "codecs/surrogates.h"

namespace rq::proof {
namespace {

using U8 = Word<unsigned char>;
using U32 = Word<unsigned>;
using U64 = Word<unsigned long>;

void prove(const std::string& name, const std::function<void()>& body) {
  Prover::get().prove(name, 1, [&](std::size_t) { body(); });
}

U8 byteAt(U64 text, unsigned i) {
  return U8(text >> (8 * i));
}
template <class T>
Word<bool> lies(Word<T> c, char first, char last) {
  return both(c >= first, c <= last);
}
/// The value of a digit by its definition, or noDigit.
template <class T>
U32 hexDefinition(Word<T> c, bool lowerToo) {
  const U32 upper = select(lies(c, '0', '9'), U32(c) - '0', select(lies(c, 'A', 'F'), U32(c) - 'A' + 10, noDigit));
  return lowerToo ? U32(select(lies(c, 'a', 'f'), U32(c) - 'a' + 10, upper)) : upper;
}
template <class T>
U32 decimalDefinition(Word<T> c) {
  return select(lies(c, '0', '9'), U32(c) - '0', noDigit);
}

/// z3 takes minutes to follow products of more.
constexpr unsigned maxDecimalDigits = 5;

/// The digits of a word of text by their definition: their number, and the value of the first 1 to `most`.
template <class Digit>
void proveWord(const std::string& name, unsigned base, unsigned most, U64 (*bitsOf)(U64), U32 (*valueOf)(U64, U64),
               Digit digit) {
  prove(name + ": how many begin the text", [=] {
    const U64 text = U64::any("text");
    U64 bits = 64;
    for (unsigned i = 8; i-- > 0;) bits = select(digit(byteAt(text, i)) == noDigit, U64(8 * i), bits);
    claim(bitsOf(text) == bits, "8 for each digit");
  });
  Prover::get().prove(name + ": their value, for 1 to " + std::to_string(most), most, [=](std::size_t i) {
    const unsigned count = static_cast<unsigned>(i) + 1;
    U64 text = 0;
    U32 value = 0;
    for (unsigned k = 0; k < 8; ++k) {
      const U8 byte = U8::any("byte" + std::to_string(k));
      text |= U64(byte) << (8 * k);
      if (k >= count) continue;
      const U32 one = digit(byte);
      assume(one != noDigit);
      value = value * base + one;
    }
    claim(valueOf(text, 8 * count) == value, "by place");
  });
}

void proveDigits() {
  prove("a decimal digit", [] {
    const U32 c = U32::any("c");
    claim(decimalDigit(c) == decimalDefinition(c), "decimalDigit");
  });
  Prover::get().prove("a hexadecimal digit in upper case and in either case, by the tables", 257, [](std::size_t i) {
    const U32 c = i < 256 ? U32(static_cast<unsigned>(i)) : U32::any("c");
    if (i == 256) assume(c >= 256);
    claim(hexDigit(c) == hexDefinition(c, true), "hexDigit");
    claim(upperHexDigit(c) == hexDefinition(c, false), "upperHexDigit");
  });
  Prover::get().prove("the first of eight digits", 8, [](std::size_t i) {
    const unsigned kept = static_cast<unsigned>(i) + 1;
    const Digits digits{U32::any("value"), 8};
    U32 value = 0;
    for (unsigned k = 0; k < kept; ++k) value = value << 4 | (digits.value >> (4 * (7 - k)) & 15);
    claim(digits.first(kept).value == value, "first");
  });
  proveWord("hexadecimal digits in a word", 16, 8, hexDigitBits, hexValue,
            [](U8 c) { return hexDefinition(c, true); });
  proveWord("decimal digits in a word", 10, maxDecimalDigits, decimalDigitBits, decimalValue,
            [](U8 c) { return decimalDefinition(c); });
}

void proveText() {
  prove("characters as bytes of a word: those above U+00FF become no digit", [] {
    auto* const text = reinterpret_cast<RQChar*>(Memory::get().buffer(8 * sizeof(RQChar), 4));
    std::vector<U32> characters;
    for (unsigned i = 0; i < 8; ++i) {
      characters.push_back(U32::any("c" + std::to_string(i)));
      store(text + i, characters.back());
    }
    const U64 word = loadText(text);
    for (unsigned i = 0; i < 8; ++i) {
      const U8 byte = byteAt(word, i);
      claim(select(characters[i] <= 0xFF, U32(byte) == characters[i], either(byte == 0, byte == 0xFF)), "loadText");
    }
  });
  prove("'U' without its case is met by 'U' and 'u' only", [] {
    const U32 c = U32::any("c");
    claim((withoutCase(c) == 'U') == either(c == 'U', c == 'u'), "withoutCase");
  });
}

void proveSurrogates() {
  prove("surrogates, by the low 16 bits, and the code point of a pair", [] {
    const U32 high = U32::any("high"), low = U32::any("low");
    const auto lies = [](U32 v, unsigned first, unsigned last) {
      return both((v & 0xFFFF) >= first, (v & 0xFFFF) <= last);
    };
    claim(Word<bool>(isHighSurrogate(high)) == lies(high, 0xD800, 0xDBFF), "isHighSurrogate");
    claim(Word<bool>(isLowSurrogate(low)) == lies(low, 0xDC00, 0xDFFF), "isLowSurrogate");
    assume(both(lies(high, 0xD800, 0xDBFF), lies(low, 0xDC00, 0xDFFF)));
    claim(pairedCodePoint(high, low) == 0x10000 + ((high & 0xFFFF) - 0xD800) * 0x400 + ((low & 0xFFFF) - 0xDC00),
          "pairedCodePoint");
  });
}

}  // namespace
}  // namespace rq::proof

int main() {
  using namespace rq::proof;
  proveDigits();
  proveText();
  proveSurrogates();
  return Prover::get().finish();
}
