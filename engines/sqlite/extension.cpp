// The extension: the SQL functions rq_decode, rq_encode, rq_length and rq_width over UTF-8.
//
// Each connection has a session and an object of its own, so that connections can be used side by side. SQLite lets
// one thread at a time into a connection.
#include <pthread.h>

#include <cstdarg>
#include <new>

#include "engines/kernel.h"
#include "engines/notations.h"
#include "engines/session.h"
#include "engines/sqlite/api.h"

const sqlite3_api_routines* sqlite3_api = nullptr;

namespace rq::sqlite {
namespace {

using engines::Notation;

/// Declares a local object that the compiler does not clear first.
#define RQ_UNCLEARED __attribute__((uninitialized))

struct Connection {
  engines::Utf8 encoding;
  engines::Session session{engines::conversionsOf<engines::Utf8>, &encoding};
  RQInterface* object = nullptr;
  int users = 0;  // the functions that hold it
};

struct Text {
  const unsigned char* bytes;  // null when there is no memory for it
  std::uint64_t length;

  explicit Text(sqlite3_value* value)
      : bytes(sqlite3_value_text(value)), length(static_cast<std::uint64_t>(sqlite3_value_bytes(value))) {}
  std::string_view view() const { return {reinterpret_cast<const char*>(bytes), length}; }
  bool holdsZero() const { return std::memchr(bytes, 0, length) != nullptr; }
};

/// Room for a result: on the stack when it is short. Declare it RQ_UNCLEARED, since nothing is read before it is
/// written.
class Result {
 public:
  explicit Result(std::uint64_t capacity) : capacity_(capacity), bytes_(local_) {
    const std::uint64_t needed = capacity + RQ_OUTPUT_SLACK_BYTES;
    if (needed > sizeof local_) bytes_ = block_ = static_cast<char*>(sqlite3_malloc64(needed));
  }
  ~Result() { sqlite3_free(block_); }
  Result(const Result&) = delete;
  Result& operator=(const Result&) = delete;

  bool obtained() const { return bytes_ != nullptr; }
  char* bytes() { return bytes_; }
  std::uint64_t capacity() const { return capacity_; }

  /// Makes the first `length` bytes the function's result.
  void give(sqlite3_context* context, std::uint64_t length) {
    if (!block_) {
      sqlite3_result_text64(context, local_, length, SQLITE_TRANSIENT, SQLITE_UTF8);
      return;
    }
    if (length < capacity_ / 2) shrink(length);
    sqlite3_result_text64(context, block_, length, sqlite3_free, SQLITE_UTF8);
    block_ = nullptr;
  }

 private:
  void shrink(std::uint64_t length) {
    auto* const smaller = static_cast<char*>(sqlite3_realloc64(block_, length + 1));  // 0 bytes would free it
    if (smaller) block_ = smaller;
  }

  const std::uint64_t capacity_;
  char* bytes_;
  char* block_ = nullptr;
  char local_[4096 + RQ_OUTPUT_SLACK_BYTES];
};

/// Ends the function with an error whose message is formatted.
void fail(sqlite3_context* context, const char* format, ...) {
  va_list list;
  va_start(list, format);
  char* const message = sqlite3_vmprintf(format, list);
  va_end(list);
  if (message)
    sqlite3_result_error(context, message, -1);
  else
    sqlite3_result_error_nomem(context);
  sqlite3_free(message);
}

void failOnNotation(sqlite3_context* context, const char* function, const Text& name, const char* known) {
  constexpr std::uint64_t shown = 64;
  fail(context, "%s: unknown notation '%.*s', known are %s", function,
       static_cast<int>(name.length < shown ? name.length : shown), name.bytes, known);
}

/// Whether all of the text could be read as UTF-8; else the function ends with an error.
bool wasReadable(sqlite3_context* context, const Connection& connection, const char* function) {
  const engines::Moved& failed = connection.session.firstFailure;
  if (failed.failure != engines::Failure::unreadable) return true;
  fail(context, "%s: invalid UTF-8 at offset %llu", function, static_cast<sqlite3_uint64>(failed.read));
  return false;
}

Connection* connectionOf(sqlite3_context* context) {
  auto* const connection = static_cast<Connection*>(sqlite3_user_data(context));
  connection->session.firstFailure = {};
  return connection;
}

bool anyNull(sqlite3_value** arguments, int count) {
  for (int i = 0; i < count; ++i)
    if (sqlite3_value_type(arguments[i]) == SQLITE_NULL) return true;
  return false;
}

/// rq_decode(text, notation). Decoded text is never longer than its source.
void decode(sqlite3_context* context, int count, sqlite3_value** arguments) {
  if (anyNull(arguments, count)) return;
  const Text text(arguments[0]), name(arguments[1]);
  if (!text.bytes || !name.bytes) return sqlite3_result_error_nomem(context);
  const Notation* const notation = engines::findNotation(name.view());
  if (!notation) return failOnNotation(context, "rq_decode", name, engines::decoderNames);

  RQ_UNCLEARED Result result(text.length);
  if (!result.obtained()) return sqlite3_result_error_nomem(context);
  RQInterface* const object = connectionOf(context)->object;
  std::uint64_t written = 0;
  const RQStatus status =
      (object->plain.*notation->decode)(object, text.bytes, text.length, result.bytes(), result.capacity(), &written);
  if (status != RQ_SUCCESS || written > result.capacity()) return fail(context, "rq_decode: status %u", status);
  result.give(context, written);
}

/// rq_encode(text, notation). U+0000 stands for the end of a text in much that reads one, so neither side may hold
/// it.
void encode(sqlite3_context* context, int count, sqlite3_value** arguments) {
  if (anyNull(arguments, count)) return;
  const Text text(arguments[0]), name(arguments[1]);
  if (!text.bytes || !name.bytes) return sqlite3_result_error_nomem(context);
  const Notation* const notation = engines::findNotation(name.view());
  if (!notation || !notation->encode) return failOnNotation(context, "rq_encode", name, engines::encoderNames);
  if (text.holdsZero()) return fail(context, "rq_encode: the text holds U+0000");

  const auto limit =
      static_cast<std::uint64_t>(sqlite3_limit(sqlite3_context_db_handle(context), SQLITE_LIMIT_LENGTH, -1));
  RQ_UNCLEARED Result result(engines::encodedCapacity(*notation, text.length, limit));
  if (!result.obtained()) return sqlite3_result_error_nomem(context);
  Connection* const connection = connectionOf(context);
  std::uint64_t written = 0;
  const RQStatus status = (connection->object->plain.*notation->encode)(connection->object, text.bytes, text.length,
                                                                        result.bytes(), result.capacity(), &written);
  if (status == RQ_NO_MEMORY) return sqlite3_result_error_nomem(context);
  if (!wasReadable(context, *connection, "rq_encode")) return;
  if (status != RQ_SUCCESS || written > limit) return sqlite3_result_error_toobig(context);
  if (std::memchr(result.bytes(), 0, written)) {
    return fail(context, "rq_encode: a character from U+F4240 up has no reference without U+0000");
  }
  result.give(context, written);
}

void measure(sqlite3_context* context, sqlite3_value** arguments, const char* function,
             RQMeasure RQOperations::*operation) {
  if (anyNull(arguments, 1)) return;
  const Text text(arguments[0]);
  if (!text.bytes) return sqlite3_result_error_nomem(context);
  Connection* const connection = connectionOf(context);
  const std::int64_t measured = (connection->object->plain.*operation)(connection->object, text.bytes, text.length);
  if (measured < 0) return sqlite3_result_error_nomem(context);
  if (wasReadable(context, *connection, function)) sqlite3_result_int64(context, measured);
}

/// rq_length(text) and rq_width(text).
void length(sqlite3_context* context, int, sqlite3_value** arguments) {
  measure(context, arguments, "rq_length", &RQOperations::getUnicodeLength);
}
void width(sqlite3_context* context, int, sqlite3_value** arguments) {
  measure(context, arguments, "rq_width", &RQOperations::getUnicodeWidth);
}

/// SQLite calls it for each function that ends, when the connection is closed or a function cannot be made.
void leave(void* user) {
  auto* const connection = static_cast<Connection*>(user);
  if (--connection->users > 0) return;
  if (connection->object) connection->object->destroy(connection->object);
  sqlite3_free(connection);
}

struct Function {
  const char* name;
  int arguments;
  void (*call)(sqlite3_context* context, int count, sqlite3_value** arguments);
};
constexpr Function functions[] = {
    {"rq_decode", 2, decode}, {"rq_encode", 2, encode}, {"rq_length", 1, length}, {"rq_width", 1, width}};

int addFunctions(sqlite3* database) {
  void* const memory = sqlite3_malloc64(sizeof(Connection));
  if (!memory) return SQLITE_NOMEM;
  auto* const connection = new (memory) Connection;
  connection->users = 1;
  connection->object = connection->session.makeObject();
  int result = connection->object ? SQLITE_OK : SQLITE_NOMEM;
  for (const Function& function : functions) {
    if (result != SQLITE_OK) break;
    ++connection->users;
    result = sqlite3_create_function_v2(database, function.name, function.arguments,
                                        SQLITE_UTF8 | SQLITE_DETERMINISTIC | SQLITE_INNOCUOUS, connection,
                                        function.call, nullptr, nullptr, leave);
  }
  leave(connection);
  return result;
}

void* take(void*, std::uint64_t bytes) {
  return sqlite3_malloc64(bytes);
}
void giveBack(void* block) {
  sqlite3_free(block);
}

/// The first connection of the process brings SQLite's routines and registers the kernel.
void startOnce(const sqlite3_api_routines* routines) {
  constinit static engines::Kernel kernel({.take = take, .giveBack = giveBack});
  static pthread_mutex_t starting = PTHREAD_MUTEX_INITIALIZER;
  pthread_mutex_lock(&starting);
  if (!sqlite3_api) {
    sqlite3_api = routines;
    kernel.registerWithLibrary();
  }
  pthread_mutex_unlock(&starting);
}

}  // namespace
}  // namespace rq::sqlite

/// The entry point, found by the file's name. The extension stays loaded: the library keeps the kernel's address.
extern "C" RQ_EXPORT int sqlite3_modrquni_init(sqlite3* database, char**, const sqlite3_api_routines* routines) {
  rq::sqlite::startOnce(routines);
  const int result = rq::sqlite::addFunctions(database);
  return result == SQLITE_OK ? SQLITE_OK_LOAD_PERMANENTLY : result;
}
