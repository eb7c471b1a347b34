// Sessions that take and return strings: the library's operations without its buffers, lengths and tables. This is
// the public header of the library rqhost, with result.h and notation.h; it is installed as rqhost/text_session.h.
#ifndef RQUNI_HOST_TEXT_SESSION_H
#define RQUNI_HOST_TEXT_SESSION_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "notation.h"
#include "result.h"

namespace rq::host {

/// Works on text in one session encoding, and on characters. std::string holds text in the session encoding or the
/// bytes of a Unicode form; std::u32string holds characters. Results are complete, or an error says what is wrong and
/// where: Error::Kind::data means the text, Error::Kind::memory that there is not enough, Error::Kind::system the
/// library. Several threads may call one session at once, and open others. The only exception is std::bad_alloc, when
/// a string finds no memory. A process that is a host itself cannot use this class: the library keeps one kernel, and
/// this class registers its own.
class TextSession {
 public:
  /// Loads the library and opens a session. `encoding` is any of ICU's names. The dynamic loader searches for a
  /// library name without a slash.
  static Result<TextSession> open(std::string_view encoding, const std::string& library = "librquni.so.1");
  ~TextSession();
  TextSession(TextSession&& other) noexcept;
  TextSession& operator=(TextSession&& other) noexcept;

  /// The encoding's own name.
  const std::string& encoding() const;

  /// Replaces a notation by its characters. Notations of characters that the session encoding lacks stay unchanged.
  /// Notations are ASCII text: Error::Kind::usage when the session encoding writes ASCII in another way.
  Result<std::string> decode(Notation notation, std::string_view text) const;
  Result<std::u32string> decode(Notation notation, std::u32string_view text) const;
  /// Replaces characters by a notation; quirks.md lists which.
  Result<std::string> encode(Notation notation, std::string_view text) const;
  Result<std::u32string> encode(Notation notation, std::u32string_view text) const;
  /// Converts from a Unicode form.
  Result<std::string> fromForm(Form form, std::string_view bytes) const;
  Result<std::u32string> charactersFromForm(Form form, std::string_view bytes) const;
  /// Converts to a Unicode form.
  Result<std::string> toForm(Form form, std::string_view text) const;
  Result<std::string> toForm(Form form, std::u32string_view text) const;
  /// Counts characters, or columns of a fixed-pitch display, without blanks at the end.
  Result<std::int64_t> length(std::string_view text) const;
  Result<std::int64_t> length(std::u32string_view text) const;
  Result<std::int64_t> width(std::string_view text) const;
  Result<std::int64_t> width(std::u32string_view text) const;

 private:
  struct Objects;
  explicit TextSession(std::unique_ptr<Objects> objects);
  std::unique_ptr<Objects> objects_;
};

}  // namespace rq::host

#endif
