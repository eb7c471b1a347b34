// The database's encoding as the session encoding.
//
// UTF-8 is read by own code. Single-byte encodings are tables, which the server's conversion procedures fill once.
// Multibyte ones go through these procedures. SQL_ASCII and MULE_INTERNAL name no characters above U+007F.
#ifndef RQUNI_ENGINES_POSTGRESQL_ENCODING_H
#define RQUNI_ENGINES_POSTGRESQL_ENCODING_H

#include "engines/postgresql/server.h"
#include "engines/session.h"

namespace rq::postgresql {

struct Ascii {
  static std::uint64_t read(const std::uint8_t* in, std::uint64_t, RQChar* character) {
    *character = in[0];
    return in[0] < 0x80 ? 1 : 0;
  }
  static std::uint64_t write(RQChar character, std::uint8_t* out) {
    out[0] = static_cast<std::uint8_t>(character);
    return character < 0x80 ? 1 : 0;
  }
};

/// A superset of ASCII with one byte a character.
class SingleByte {
 public:
  /// Adds what a byte from 0x80 up stands for. Each byte once, in ascending order.
  void add(std::uint8_t byte, RQChar character);

  std::uint64_t read(const std::uint8_t* in, std::uint64_t, RQChar* character) const {
    *character = in[0] < 0x80 ? in[0] : characters_[in[0] - 0x80];
    return *character != unassigned || in[0] == 0 ? 1 : 0;
  }
  std::uint64_t write(RQChar character, std::uint8_t* out) const;

 private:
  static constexpr RQChar unassigned = 0;  // no byte from 0x80 up stands for U+0000
  struct Entry {
    RQChar character;
    std::uint8_t byte;
  };

  RQChar characters_[128] = {};
  Entry entries_[128] = {};  // in ascending order of the characters
  int count_ = 0;
};

/// A multibyte encoding, by the procedures that convert it to UTF-8 and back.
struct Multibyte {
  int encoding;
  mutable FmgrInfo toUtf8;
  mutable FmgrInfo fromUtf8;
};

/// The encoding of this backend's database. It must stay where it is once it is prepared.
class DatabaseEncoding {
 public:
  /// Looks up what the conversions need, in memory of `context`. May raise; call it outside the library.
  void prepare(MemoryContext context);

  const engines::Conversions& conversions() const { return *conversions_; }
  const void* encoding() const { return encoding_; }

 private:
  void fillTable();

  const engines::Conversions* conversions_ = nullptr;
  const void* encoding_ = nullptr;
  Ascii ascii_;
  engines::Utf8 utf8_;
  SingleByte singleByte_;
  Multibyte multibyte_ = {};
};

/// Raises the error again that a procedure raised while the library was at work, if one did. Call it when the library
/// has returned.
void raiseWhatWasCaught();

}  // namespace rq::postgresql

#endif
