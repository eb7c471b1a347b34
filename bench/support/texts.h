// The texts of the rows: words of a script with blanks between them, and the notations that escape them.
#pragma once

#include <string>
#include <string_view>

namespace rq::bench {

enum class Script { ascii, cyrillic, greek, cjk, mixed, sparse };  // sparse: one letter in 200 is not ASCII

/// So many characters; no letter whose case mapping is not its partner at the usual distance.
std::u32string text(Script script, std::size_t characters);

/// The same of the words of a text of tests/corpus, such as "french", drawn at random.
std::u32string prose(const std::string& language, std::size_t characters);

std::string utf8(std::u32string_view text);
std::u32string utf32(std::string_view text);

enum class Notation { decimal, hexadecimal, uEscape, uParen };

/// The text with every character from U+0080 up written in the notation, all of them with `everything`.
std::string escaped(std::u32string_view text, Notation notation, bool everything = false);

/// So many bytes of one unit, again and again.
std::string repeated(std::string_view unit, std::size_t bytes);

}  // namespace rq::bench
