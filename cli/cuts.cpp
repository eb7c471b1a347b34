#include "cli/cuts.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cstring>
#include <optional>
#include <span>

#include "frame/types.h"
#include "host/pieces.h"

namespace rq::cli {
namespace {

using host::Notation;

template <class Unit>
bool isMarker(Unit unit) {
  return (unit & ~Unit{0x20}) == 'U';
}

template <class Unit>
bool isHexDigit(Unit unit) {
  return (unit >= '0' && unit <= '9') || ((unit | 0x20) >= 'a' && (unit | 0x20) <= 'f');
}

/// The place behind the last `terminator`, 0 if there is none.
template <class Unit>
std::size_t behindLast(std::span<const Unit> text, char terminator) {
  if constexpr (sizeof(Unit) == 1) {
    const void* found = text.empty() ? nullptr : ::memrchr(text.data(), terminator, text.size());
    return found == nullptr ? 0 : static_cast<std::size_t>(static_cast<const Unit*>(found) - text.data()) + 1;
  }
  const auto found = std::find(text.rbegin(), text.rend(), static_cast<Unit>(terminator));
  return static_cast<std::size_t>(text.rend() - found);
}

/// The first place from `from` on where a notation begins or, at the end of the text, may begin.
template <class Unit, class IsSecond>
std::size_t firstOpening(std::span<const Unit> text, std::size_t from, char opener, IsSecond isSecond) {
  for (auto at = text.begin() + static_cast<std::ptrdiff_t>(from);; ++at) {
    at = std::find(at, text.end(), static_cast<Unit>(opener));
    if (at == text.end() || at + 1 == text.end() || isSecond(at[1]))
      return static_cast<std::size_t>(at - text.begin());
  }
}

template <class Unit>
bool isNumberSign(Unit unit) {
  return unit == '#';
}

/// True when the reference `&#...;` may be a high surrogate, which a decoder joins with a low one behind it.
template <class Unit>
bool mayBeHighSurrogate(std::span<const Unit> reference) {
  const bool hexadecimal = reference[2] == 'x';
  std::uint32_t value = 0;
  std::uint32_t digits = 0;
  for (const Unit unit : reference.subspan(hexadecimal ? 3 : 2)) {
    if (digits == 8 || !isHexDigit(unit) || (!hexadecimal && unit > '9')) break;
    const auto digit = static_cast<std::uint32_t>(unit <= '9' ? unit - '0' : (unit | 0x20) - 'a' + 10);
    value = value * (hexadecimal ? 16 : 10) + digit;
    ++digits;
  }
  return digits >= 4 && (value & 0xFC00) == 0xD800;
}

/// Where the reference begins that ends at `end`, if it may be a high surrogate.
template <class Unit>
std::optional<std::size_t> highSurrogateBefore(std::span<const Unit> text, std::size_t end) {
  if (end == 0 || text[end - 1] != ';') return std::nullopt;
  const std::span<const Unit> inside = text.first(end - 1);
  const std::size_t begin = firstOpening(inside, behindLast(inside, ';'), '&', isNumberSign<Unit>);
  if (begin + 2 > inside.size() || !mayBeHighSurrogate(text.subspan(begin, end - begin))) return std::nullopt;
  return begin;
}

/// Where a high surrogate begins whose partner is not known if the text is cut at `cut`. A decoder takes only
/// references for partners that have five units or more from their beginning to the end of the text.
template <class Unit>
std::optional<std::size_t> highSurrogateAlone(std::span<const Unit> text, std::size_t cut) {
  constexpr std::size_t shortestPartner = 5;
  for (std::size_t at = cut - std::min(cut, shortestPartner - 1); at <= cut; ++at) {
    const bool begins = at == text.size() || (text[at] == '&' && (at + 1 == text.size() || text[at + 1] == '#'));
    if (!begins) continue;
    if (const auto high = highSurrogateBefore(text, at)) return high;
  }
  return std::nullopt;
}

/// Behind the last ';' no reference is open.
template <class Unit>
std::size_t cutReferences(std::span<const Unit> text) {
  std::size_t cut = firstOpening(text, behindLast(text, ';'), '&', isNumberSign<Unit>);
  while (const auto high = highSurrogateAlone(text, cut)) cut = *high;
  return cut;
}

template <class Unit>
std::size_t countHexDigits(std::span<const Unit> text, std::size_t most) {
  std::size_t count = 0;
  while (count < std::min(most, text.size()) && isHexDigit(text[count])) ++count;
  return count;
}

template <class Unit>
bool isLowSurrogate(std::span<const Unit> digits) {
  return (digits[0] | 0x20) == 'd' && (digits[1] | 0x20) >= 'c';
}

template <class Unit>
bool isHighSurrogate(std::span<const Unit> digits) {
  return (digits[0] | 0x20) == 'd' &&
         (digits[1] == '8' || digits[1] == '9' || (digits[1] | 0x20) == 'a' || (digits[1] | 0x20) == 'b');
}

/// True when a decoder that sees `length` units of `text` may read its first escape otherwise than one that sees all.
template <class Unit>
bool escapeIsOpen(std::span<const Unit> text, std::size_t length) {
  if (text.size() < 2) return true;
  if (!isMarker(text[1])) return false;
  if (length <= 2) return true;
  if (isMarker(text[2])) return false;
  const std::size_t digits = countHexDigits(text.subspan(2), 8);
  if (length < 2 + digits || (digits < 8 && text.size() == 2 + digits)) return true;
  if (digits < 4 || !isHighSurrogate(text.subspan(2))) return false;
  // An escape behind may be the low surrogate.
  const std::span<const Unit> behind = text.subspan(6);
  if (behind.size() < 2) return behind.empty() || behind[0] == '\\';
  if (behind[0] != '\\' || !isMarker(behind[1])) return false;
  const std::size_t lowDigits = countHexDigits(behind.subspan(2), 4);
  if (lowDigits < 4) return behind.size() == 2 + lowDigits;
  return length < 12 && isLowSurrogate(behind.subspan(2));
}

/// The place of the first escape that is open when the text is cut at `cut`, or the cut.
template <class Unit>
std::size_t firstOpenEscape(std::span<const Unit> text, std::size_t cut) {
  constexpr std::size_t longest = 12;  // two escapes of a surrogate pair
  std::size_t at = cut - std::min(cut, longest);
  while (at < cut && (text[at] != '\\' || !escapeIsOpen(text.subspan(at), cut - at))) ++at;
  return at;
}

/// Cutting before an open escape may open the one before it.
template <class Unit>
std::size_t cutEscapes(std::span<const Unit> text) {
  std::size_t cut = text.size();
  for (std::size_t open = 0; (open = firstOpenEscape(text, cut)) < cut;) cut = open;
  return cut;
}

/// Behind the last '>' no notation is open.
template <class Unit>
std::size_t cutParens(std::span<const Unit> text) {
  return firstOpening(text, behindLast(text, '>'), '<', isMarker<Unit>);
}

template <class Unit>
std::size_t cutNotations(Notation notation, std::span<const Unit> text) {
  switch (notation) {
    case Notation::ncr:
      return cutReferences(text);
    case Notation::uesc:
      return cutEscapes(text);
    case Notation::uparen:
    case Notation::uparenAscii:
      break;
  }
  return cutParens(text);
}

/// The most characters that an encoder looks at to know a notation that stands in its text.
constexpr std::size_t mostLookedAt = 12;

/// True when an encoder that sees `length` characters of `text`, and others behind, may take the notation at its
/// beginning otherwise than one that sees all.
bool standingIsOpen(Notation notation, std::span<const char32_t> text, std::size_t length) {
  if (text.size() < 2) return true;
  if (!isMarker<std::uint32_t>(text[1])) return false;
  switch (notation) {
    case Notation::ncr:
      return text.size() < 7 || (text[6] == U'>' && length < 7);
    case Notation::uesc:
      return text.size() < 6;
    case Notation::uparen:
    case Notation::uparenAscii:
      break;
  }
  // A notation passes only with another character behind it.
  if (text.size() < 8) return true;
  if (text[6] == U'>') return length < 7;
  return text.size() < mostLookedAt || (text[10] == U'>' && length < 11);
}

std::size_t countCharacters(const host::Codec& codec, Bytes text, std::span<char32_t> room) {
  return codec.decode(text, room, true).produced;
}

/// The place in the last characters before `cut` where a notation is open when `text` is cut there, or the cut.
std::size_t firstStandingOpen(Notation notation, const host::Encoding& encoding, Bytes text, std::size_t cut) {
  const host::Codec& codec = *host::codecOf(encoding.identifier);
  const std::size_t unit = encoding.identifier == RQ_ENCODING_UTF32_LITTLE ? sizeof(RQChar) : 1;
  const char opener = notation == Notation::uesc ? '\\' : '<';
  constexpr std::size_t bytesOfCharacter = 4;  // at most
  for (std::size_t at = cut - std::min(cut, mostLookedAt * bytesOfCharacter); at < cut; at += unit) {
    if (text[at] != static_cast<std::byte>(opener)) continue;
    std::array<char32_t, mostLookedAt> characters;
    const std::size_t length = countCharacters(codec, text.subspan(at, cut - at), characters);
    const std::size_t known = countCharacters(codec, text.subspan(at), characters);
    if (known > 0 && characters[0] != static_cast<unsigned char>(opener)) continue;
    if (!standingIsOpen(notation, std::span(characters).first(known), length)) continue;
    // In some encodings the opener can be the second byte of a character.
    if (host::wholeCharacters(encoding, text.first(at)) == at) return at;
  }
  return cut;
}

}  // namespace

Cut cutNowhere() {
  return [](Bytes) { return std::size_t{0}; };
}

Cut cutAtCharacters(const host::Encoding& encoding) {
  return [&encoding](Bytes text) { return host::wholeCharacters(encoding, text); };
}

Cut cutForTarget(const host::Encoding& encoding, const host::Encoding& target) {
  if (!host::writesInBlocks(target)) return cutAtCharacters(encoding);
  return [&encoding](Bytes text) { return host::wholeBlocks(encoding, text); };
}

Cut cutForDecoding(Notation notation, bool wide) {
  if (!wide) {
    return [notation](Bytes text) {
      return cutNotations<unsigned char>(notation,
                                         {reinterpret_cast<const unsigned char*>(text.data()), text.size()});
    };
  }
  return [notation](Bytes text) {
    // Buffers of texts are aligned for any unit.
    const std::span units(reinterpret_cast<const RQChar*>(text.data()), text.size() / sizeof(RQChar));
    return sizeof(RQChar) * cutNotations<RQChar>(notation, units);
  };
}

Cut cutBetween(Cut cut, const host::Encoding& encoding) {
  return [cut = std::move(cut), &encoding](Bytes text) {
    std::size_t length = cut(text);
    for (std::size_t whole = 0; (whole = host::wholeCharacters(encoding, text.first(length))) < length;)
      length = cut(text.first(whole));
    return length;
  };
}

Cut cutForEncoding(Notation notation, const host::Encoding& encoding) {
  Cut cut = [notation, &encoding](Bytes text) {
    std::size_t length = host::wholeCharacters(encoding, text);
    for (std::size_t open = 0; (open = firstStandingOpen(notation, encoding, text, length)) < length;) length = open;
    return length;
  };
  const std::bitset<0x80> ascii = host::asciiBytes(*host::codecOf(encoding.identifier));
  if (encoding.identifier == RQ_ENCODING_UTF32_LITTLE || ascii.all()) return cut;
  return [cut = std::move(cut), ascii, seenAbove = false](Bytes text) mutable {
    const std::size_t length = cut(text);
    std::size_t foreign = length;
    for (std::size_t at = 0; at < length && !seenAbove; ++at) {
      const auto value = std::to_integer<std::size_t>(text[at]);
      seenAbove = value >= ascii.size();
      if (!seenAbove && !ascii[value]) foreign = std::min(foreign, at);
    }
    return seenAbove ? length : foreign;
  };
}

}  // namespace rq::cli
