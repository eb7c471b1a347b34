// Sessions with strings in and strings out: the library's operations without its buffers, lengths and tables. The
// public header of the library rqhost, with result.h and notation.h; installed as rqhost/text_session.h.
#ifndef RQUNI_HOST_TEXT_SESSION_H
#define RQUNI_HOST_TEXT_SESSION_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "notation.h"
#include "result.h"

namespace rq::host {

/// Text in one session encoding, and in characters. Text in the session encoding is std::string, Unicode forms are
/// the bytes of std::string as well, characters are std::u32string. Results are complete or an error that says what
/// is wrong and where: Error::Kind::data for the text, Error::Kind::system for memory or the library. Several threads
/// may call one session at once, and open others. Only std::bad_alloc is thrown, where a string finds no memory. The
/// library keeps one kernel in a process, here this library's own: not for a process that is a host itself.
class TextSession {
 public:
  /// Loads the library, and opens a session in the encoding of that name, any of its names in ICU. A library name
  /// without a slash is left to the dynamic loader.
  static Result<TextSession> open(std::string_view encoding, const std::string& library = "librquni.so.1");
  ~TextSession();
  TextSession(TextSession&& other) noexcept;
  TextSession& operator=(TextSession&& other) noexcept;

  /// The encoding's own name.
  const std::string& encoding() const;

  /// Replaces a notation by its characters; what the session encoding lacks stays as it stands. Notations are ASCII
  /// text: Error::Kind::usage where a session encoding writes that in another way.
  Result<std::string> decode(Notation notation, std::string_view text) const;
  Result<std::u32string> decode(Notation notation, std::u32string_view text) const;
  /// Replaces characters by a notation, as quirks.md tells for each.
  Result<std::string> encode(Notation notation, std::string_view text) const;
  Result<std::u32string> encode(Notation notation, std::u32string_view text) const;
  /// Text in a Unicode form to the session encoding, or to characters.
  Result<std::string> fromForm(Form form, std::string_view bytes) const;
  Result<std::u32string> charactersFromForm(Form form, std::string_view bytes) const;
  /// And back.
  Result<std::string> toForm(Form form, std::string_view text) const;
  Result<std::string> toForm(Form form, std::u32string_view text) const;
  /// Characters, and columns of a fixed-pitch display, without blanks at the end.
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
