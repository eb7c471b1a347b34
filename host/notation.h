// The notations and the Unicode forms by name. A public header: it needs no other.
#ifndef RQUNI_HOST_NOTATION_H
#define RQUNI_HOST_NOTATION_H

namespace rq::host {

enum class Notation {
  ncr,          // &#233; and &#xE9;
  uesc,         // \u00E9 and \U0001F600
  uparen,       // <U00E9>
  uparenAscii,  // the same, characters below U+0080 only; there is no encoder for these alone
};

enum class Form { utf8, utf16Big, utf16Little, utf32Big, utf32Little };

}  // namespace rq::host

#endif
