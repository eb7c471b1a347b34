#include "engines/postgresql/encoding.h"

#include "engines/callbacks.h"

namespace rq::postgresql {
namespace {

using engines::Failure;
using engines::Input;
using engines::Moved;
using engines::Output;

/// Whether a procedure has raised an error since the library was entered. The error waits on the server's own stack
/// of errors: copying it might raise another one.
bool caught = false;

/// Bytes that one call of a procedure converts.
constexpr std::uint64_t chunkBytes = 256;

/// Room for what a chunk becomes.
struct Chunk {
  char bytes[chunkBytes * MAX_CONVERSION_GROWTH + 1];
  Input text() const { return {reinterpret_cast<const std::uint8_t*>(bytes), std::strlen(bytes)}; }
};

/// Calls a conversion procedure so that it reports where it stops. Stores what it gives, and returns the bytes read
/// or -1 when the procedure raised an error. An error must not jump through the library: its working buffer would
/// stay behind.
int call(FmgrInfo* procedure, int source, int target, Input in, Chunk* out) {
  out->bytes[0] = '\0';
  if (caught) return -1;
  MemoryContext const caller = CurrentMemoryContext;
  volatile int read = -1;
  PG_TRY();
  {
    engines::callbackRaises();
    read = DatumGetInt32(FunctionCall6(procedure, Int32GetDatum(source), Int32GetDatum(target),
                                       PointerGetDatum(in.bytes), CStringGetDatum(out->bytes),
                                       Int32GetDatum(static_cast<int>(in.length)), BoolGetDatum(true)));
  }
  PG_CATCH();
  {
    MemoryContextSwitchTo(caller);
    caught = true;
  }
  PG_END_TRY();
  return read;
}

/// A chunk may end inside a character: the procedure stops before it, and the next chunk begins with it.
template <class Form>
Moved fromMultibyte(const Multibyte& multibyte, Input in, Output out) {
  Moved moved;
  while (moved.read < in.length) {
    const std::uint64_t left = in.length - moved.read;
    const Input source = {in.bytes + moved.read, left < chunkBytes ? left : chunkBytes};
    Chunk chunk;
    const int read = call(&multibyte.toUtf8, multibyte.encoding, PG_UTF8, source, &chunk);
    if (read <= 0) {
      moved.failure = Failure::unreadable;
      break;
    }
    const Moved step = engines::convert(engines::Utf8{}, Form{}, chunk.text(),
                                        {out.bytes + moved.written, out.capacity - moved.written});
    moved.written += step.written;
    if (step.failure != Failure::none) {
      moved.failure = step.failure;
      break;
    }
    moved.read += static_cast<std::uint64_t>(read);
  }
  return moved;
}

template <class Form>
Input firstCharacter(Input in) {
  RQChar character;
  const std::uint64_t length = Form::read(in.bytes, in.length, &character);
  return {in.bytes, length != 0 ? length : in.length};
}

/// Converts a chunk of a form's text to a multibyte encoding. Moves all of it or, where the output cannot hold it,
/// nothing.
template <class Form>
Moved chunkToMultibyte(const Multibyte& multibyte, Input in, Output out) {
  const engines::Utf8 unicode{};
  const engines::WithoutZero<engines::Utf8> target{unicode};
  std::uint8_t utf8[chunkBytes];
  Moved source = engines::convert(Form{}, target, in, {utf8, sizeof utf8});
  if (source.written == 0) return source;

  Chunk chunk;
  const int read = call(&multibyte.fromUtf8, PG_UTF8, multibyte.encoding, {utf8, source.written}, &chunk);
  if (read < 0) return {.failure = Failure::lacking};
  const Input result = chunk.text();
  if (result.length > out.capacity) return {.failure = Failure::outputFull};
  std::memcpy(out.bytes, result.bytes, result.length);
  const bool whole = static_cast<std::uint64_t>(read) == source.written;
  if (!whole) source = engines::convert(Form{}, target, in, {utf8, static_cast<std::uint64_t>(read)});
  return {source.read, result.length, whole ? Failure::none : Failure::lacking};
}

/// Where a chunk does not fit, the rest goes character by character: as many as fit are wanted, and whole ones.
template <class Form>
Moved toMultibyte(const Multibyte& multibyte, Input in, Output out) {
  Moved moved;
  bool single = false;
  while (moved.read < in.length && moved.failure == Failure::none) {
    const Input rest = {in.bytes + moved.read, in.length - moved.read};
    const Moved step = chunkToMultibyte<Form>(multibyte, single ? firstCharacter<Form>(rest) : rest,
                                              {out.bytes + moved.written, out.capacity - moved.written});
    moved.read += step.read;
    moved.written += step.written;
    if (step.failure == Failure::outputFull && !single) {
      single = true;
    } else {
      moved.failure = step.failure;
    }
  }
  return moved;
}

/// A procedure takes as long for one character as for a few: there is no shorter way.
struct ByProcedure {
  static std::uint64_t convertOne(const Multibyte&, Input, Output) { return 0; }
};
template <class Form>
struct ToMultibyte : ByProcedure {
  static constexpr auto convert = toMultibyte<Form>;
};
template <class Form>
struct FromMultibyte : ByProcedure {
  static constexpr auto convert = fromMultibyte<Form>;
};

/// The server's own conversion between two encodings. One that somebody made does not count: an index over the
/// functions must not depend on a search path.
void lookUp(int source, int target, FmgrInfo* procedure, MemoryContext context) {
  const Oid oid = FindDefaultConversion(PG_CATALOG_NAMESPACE, source, target);
  if (!OidIsValid(oid)) {
    ereport(ERROR, errcode(ERRCODE_UNDEFINED_FUNCTION),
            errmsg("no conversion from \"%s\" to \"%s\"", pg_encoding_to_char(source), pg_encoding_to_char(target)));
  }
  fmgr_info_cxt(oid, procedure, context);
}

}  // namespace

void DatabaseEncoding::prepare(MemoryContext context) {
  const int encoding = GetDatabaseEncoding();
  if (encoding == PG_UTF8) {
    conversions_ = &engines::conversionsOf<engines::Utf8>;
    encoding_ = &utf8_;
    return;
  }
  if (encoding == PG_SQL_ASCII || encoding == PG_MULE_INTERNAL) {
    conversions_ = &engines::conversionsOf<engines::Ascii>;
    encoding_ = &ascii_;
    return;
  }
  multibyte_.encoding = encoding;
  lookUp(encoding, PG_UTF8, &multibyte_.toUtf8, context);
  lookUp(PG_UTF8, encoding, &multibyte_.fromUtf8, context);
  if (pg_encoding_max_length(encoding) > 1) {
    conversions_ = &engines::ConversionsBy<Multibyte, ToMultibyte, FromMultibyte>::table;
    encoding_ = &multibyte_;
    return;
  }
  fillTable();
  conversions_ = &engines::conversionsOf<engines::SingleByte>;
  encoding_ = &singleByte_;
}

void DatabaseEncoding::fillTable() {
  for (int byte = 0x80; byte <= 0xFF; ++byte) {
    const auto unit = static_cast<std::uint8_t>(byte);
    Chunk chunk;
    const int read = call(&multibyte_.toUtf8, multibyte_.encoding, PG_UTF8, {&unit, 1}, &chunk);
    raiseWhatWasCaught();
    RQChar character;
    const Input text = chunk.text();
    if (read == 1 && text.length > 0 && engines::Utf8::read(text.bytes, text.length, &character) == text.length)
      singleByte_.add(unit, character);
  }
}

void raiseWhatWasCaught() {
  if (!caught) return;
  caught = false;
  PG_RE_THROW();
}

}  // namespace rq::postgresql
