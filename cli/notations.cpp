#include "cli/notations.h"

#include <algorithm>
#include <cstring>

namespace rq::cli {
namespace {

constexpr bool isHigh(RQChar value) {
  return (value & 0xFC00) == 0xD800;
}
constexpr bool isLow(RQChar value) {
  return (value & 0xFC00) == 0xDC00;
}
constexpr RQChar pairOf(RQChar high, RQChar low) {
  return ((high & 0x3FF) << 10 | (low & 0x3FF)) + 0x10000;
}

/// The digits at the front of a field.
struct Number {
  RQChar value = 0;
  std::size_t digits = 0;
};

template <class Unit>
Number readNumber(std::span<const Unit> field, std::size_t limit, unsigned base) {
  Number number;
  for (const Unit unit : field.first(std::min(limit, field.size()))) {
    unsigned digit = 16;
    if (unit >= '0' && unit <= '9') digit = unit - '0';
    if (unit >= 'A' && unit <= 'F') digit = unit - 'A' + 10;
    if (unit >= 'a' && unit <= 'f') digit = unit - 'a' + 10;
    if (digit >= base) break;
    number.value = number.value * base + digit;
    ++number.digits;
  }
  return number;
}

/// The place of `c` at `from` or behind, or the end of the text.
template <class Unit>
std::size_t find(std::span<const Unit> text, std::size_t from, char c) {
  const auto begin = text.begin() + static_cast<std::ptrdiff_t>(from);
  if constexpr (sizeof(Unit) == 1) {
    const void* found = from < text.size() ? std::memchr(&*begin, c, text.size() - from) : nullptr;
    return found ? static_cast<std::size_t>(static_cast<const Unit*>(found) - text.data()) : text.size();
  } else {
    return static_cast<std::size_t>(std::find(begin, text.end(), static_cast<Unit>(c)) - text.begin());
  }
}

/// Finds the next terminator from positions above 0 that only grow. Reads each unit once.
template <class Unit>
class Terminator {
 public:
  Terminator(std::span<const Unit> text, char terminator) : text_(text), terminator_(terminator) {}
  std::optional<std::size_t> from(std::size_t position) {
    if (at_ < position) at_ = find(text_, position, terminator_);
    return at_ < text_.size() ? std::optional(at_) : std::nullopt;
  }

 private:
  const std::span<const Unit> text_;
  const char terminator_;
  std::size_t at_ = 0;
};

template <class Unit>
class Finder {
 public:
  Finder(std::span<const Unit> text, const std::function<bool(RQChar)>& carries) : text_(text), carries_(carries) {}

  /// The notation at `at`, if one begins there.
  std::optional<Finding> ncr(std::size_t at);
  std::optional<Finding> uesc(std::size_t at);
  std::optional<Finding> uparen(std::size_t at, bool asciiOnly);

 private:
  bool is(std::size_t at, char c) const { return at < text_.size() && text_[at] == static_cast<Unit>(c); }
  bool isMarker(std::size_t at) const { return at < text_.size() && (text_[at] & ~Unit{0x20}) == 'U'; }
  std::span<const Unit> field(std::size_t begin, std::size_t end) const { return text_.subspan(begin, end - begin); }

  /// The number of a reference whose '&' stands at `at` and whose ';' at `end`.
  Number reference(std::size_t at, std::size_t end) const;
  Finding read(std::size_t at, std::size_t length, RQChar character, std::string_view whyDecoded) const;

  const std::span<const Unit> text_;
  const std::function<bool(RQChar)>& carries_;
  Terminator<Unit> semicolon_{text_, ';'};
  Terminator<Unit> secondSemicolon_{text_, ';'};
  Terminator<Unit> greater_{text_, '>'};
};

template <class Unit>
Finding Finder<Unit>::read(std::size_t at, std::size_t length, RQChar character, std::string_view whyDecoded) const {
  if (carries_(character)) return {at, length, character, true, whyDecoded};
  const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
  if (character > 0x10FFFF) return {at, length, character, false, "above U+10FFFF"};
  if (surrogate) return {at, length, character, false, "a lone surrogate"};
  return {at, length, character, false, "the session encoding lacks it", true};
}

template <class Unit>
Number Finder<Unit>::reference(std::size_t at, std::size_t end) const {
  const bool hexadecimal = is(at + 2, 'x');
  Number number = hexadecimal ? readNumber(field(at + 3, end), 8, 16) : readNumber(field(at + 2, end), 8, 10);
  if (number.digits < 2) number.value = 0;
  return number;
}

template <class Unit>
std::optional<Finding> Finder<Unit>::ncr(std::size_t at) {
  if (!is(at, '&') || !is(at + 1, '#')) return std::nullopt;
  const std::optional<std::size_t> end = semicolon_.from(at + 2);
  if (!end) return Finding{at, 2, std::nullopt, false, "no ';' follows"};
  const Number first = reference(at, *end);
  const std::size_t length = *end + 1 - at;
  if (first.digits >= 4 && isHigh(first.value)) {
    const std::size_t next = at + length;
    if (text_.size() - next >= 5 && is(next, '&') && is(next + 1, '#')) {
      if (const std::optional<std::size_t> secondEnd = secondSemicolon_.from(next + 2)) {
        const Number second = reference(next, *secondEnd);
        if (second.digits >= 4 && isLow(second.value)) {
          return read(at, *secondEnd + 1 - at, pairOf(first.value, second.value), "a surrogate pair");
        }
        return read(at, length, first.value & 0xFFFF, "");
      }
    }
  }
  const std::size_t read_ = first.digits + (is(at + 2, 'x') ? 4 : 3);
  return read(at, length, first.value,
              first.digits < 2 ? "fewer than two digits stand for U+0000"
              : read_ < length ? "text behind the digits is dropped"
                               : "");
}

template <class Unit>
std::optional<Finding> Finder<Unit>::uesc(std::size_t at) {
  if (!is(at, '\\') || !isMarker(at + 1)) return std::nullopt;
  const std::size_t remaining = text_.size() - at;
  if (remaining <= 2) return Finding{at, 2, std::nullopt, false, "no digits follow"};
  if (isMarker(at + 2)) return Finding{at, 3, std::nullopt, true, "a doubled marker stands for a single one"};

  const std::span<const Unit> digits = text_.subspan(at + 2);
  Number number = readNumber(digits, 8, 16);
  if (number.digits < 4) {
    return Finding{at, number.digits + 2, std::nullopt, false, "fewer than four digits"};
  }
  if (number.value != 0) {
    if (number.digits < 8) number = readNumber(digits, 4, 16);
    const RQChar plane = number.value >> 16;
    if (plane > 16 || (plane > 2 && plane < 14)) number = readNumber(digits, 4, 16);
  }
  const std::size_t length = number.digits + 2;
  if (number.digits == 4 && isHigh(number.value)) {
    const std::size_t next = at + length;
    if (is(next, '\\') && isMarker(next + 1)) {
      const Number second = readNumber(text_.subspan(next + 2), 4, 16);
      if (second.digits == 4 && isLow(second.value)) {
        return read(at, length + 6, pairOf(number.value, second.value), "a surrogate pair");
      }
    }
  }
  return read(at, length, number.value, "");
}

template <class Unit>
std::optional<Finding> Finder<Unit>::uparen(std::size_t at, bool asciiOnly) {
  if (!is(at, '<') || !isMarker(at + 1)) return std::nullopt;
  const std::optional<std::size_t> end = greater_.from(at + 2);
  if (!end) return Finding{at, 2, std::nullopt, false, "no '>' follows"};
  const std::size_t length = *end + 1 - at;
  Number number = readNumber(field(at + 2, *end), 8, 16);
  if (number.digits < 4) {
    number.value = 0;
  } else if (asciiOnly && number.value >= 0x80) {
    return Finding{at, length, number.value, false, "not below U+0080"};
  }
  return read(at, length, number.value,
              number.digits < 4            ? "fewer than four digits stand for U+0000"
              : number.digits + 3 < length ? "text behind the digits is dropped"
                                           : "");
}

}  // namespace

template <class Unit>
void findNotations(Notation notation, std::span<const Unit> text, const std::function<bool(RQChar)>& carries,
                   const std::function<void(const Finding&)>& take) {
  Finder<Unit> finder(text, carries);
  const char opener = notation == Notation::ncr ? '&' : notation == Notation::uesc ? '\\' : '<';
  for (std::size_t at = 0; (at = find(text, at, opener)) < text.size();) {
    const std::optional<Finding> found = notation == Notation::ncr ? finder.ncr(at)
                                         : notation == Notation::uesc
                                             ? finder.uesc(at)
                                             : finder.uparen(at, notation == Notation::uparenAscii);
    if (found) take(*found);
    // Without an end or without digits it is text, and the search goes on at its second unit.
    at += found && (found->character || found->decoded) ? found->length : 1;
  }
}

template void findNotations<unsigned char>(Notation, std::span<const unsigned char>,
                                           const std::function<bool(RQChar)>&,
                                           const std::function<void(const Finding&)>&);
template void findNotations<RQChar>(Notation, std::span<const RQChar>, const std::function<bool(RQChar)>&,
                                    const std::function<void(const Finding&)>&);

}  // namespace rq::cli
