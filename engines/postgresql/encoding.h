// The database's encoding as the session encoding.
//
// UTF-8 is read by own code. Single-byte encodings are tables, which the server's conversion procedures fill once.
// Multibyte ones go through these procedures. SQL_ASCII and MULE_INTERNAL name no characters above U+007F.
#ifndef RQUNI_ENGINES_POSTGRESQL_ENCODING_H
#define RQUNI_ENGINES_POSTGRESQL_ENCODING_H

#include "engines/postgresql/server.h"
#include "engines/session.h"
#include "engines/single_byte.h"

namespace rq::postgresql {

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
  engines::Ascii ascii_;
  engines::Utf8 utf8_;
  engines::SingleByte singleByte_;
  Multibyte multibyte_ = {};
};

/// Raises the error again that a procedure raised while the library was at work, if one did. Call it when the library
/// has returned.
void raiseWhatWasCaught();

}  // namespace rq::postgresql

#endif
