// Eight threads, each with connections of its own: all get the same answers, and all memory is given back.
//
//   rq_sqlite_threads path/to/mod_rquni.so
#include <sqlite3.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int threads = 8;
constexpr int connectionsEach = 10;
constexpr int rowsEach = 500;

std::atomic<int> failures = 0;

void complain(const std::string& what) {
  ++failures;
  std::fprintf(stderr, "%s\n", what.c_str());
}

/// A long text needs working buffers from the pool, a short one does not.
const std::string question =
    "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < " + std::to_string(rowsEach) +
    ") SELECT sum(length(rq_decode('caf&#233; ' || i || ' &#x65E5;&#0;', 'ncr'))"
    " + length(rq_encode(replace(hex(zeroblob(i)), '0', 'é'), 'uesc'))"
    " + rq_length(replace(hex(zeroblob(i)), '0', '日')) + rq_width(replace(hex(zeroblob(i)), '0', '日'))) FROM n";

std::string answerOf(sqlite3* database) {
  sqlite3_stmt* statement = nullptr;
  std::string answer;
  if (sqlite3_prepare_v2(database, question.c_str(), -1, &statement, nullptr) == SQLITE_OK &&
      sqlite3_step(statement) == SQLITE_ROW) {
    answer = reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
  } else {
    complain(sqlite3_errmsg(database));
  }
  sqlite3_finalize(statement);
  return answer;
}

void work(const char* module, const std::string& expected) {
  for (int i = 0; i < connectionsEach; ++i) {
    sqlite3* database = nullptr;
    char* error = nullptr;
    sqlite3_open(":memory:", &database);
    sqlite3_db_config(database, SQLITE_DBCONFIG_ENABLE_LOAD_EXTENSION, 1, nullptr);
    if (sqlite3_load_extension(database, module, nullptr, &error) != SQLITE_OK) {
      complain(error ? error : "the extension cannot be loaded");
    } else if (const std::string answer = answerOf(database); answer != expected) {
      complain("\"" + answer + "\" and not \"" + expected + "\"");
    }
    sqlite3_free(error);
    sqlite3_close(database);
  }
}

}  // namespace

int main(int, char** arguments) {
  // By hand, with sum(i) = rows * (rows + 1) / 2: "café N 日&#0;" has 11 characters and the digits of N. The other
  // texts have 2 i characters, which are 12 i letters as escapes, and 4 i columns.
  int digits = 0;
  int numbers = 0;
  for (int i = 1; i <= rowsEach; ++i) {
    digits += static_cast<int>(std::to_string(i).size());
    numbers += i;
  }
  const std::string expected = std::to_string(11 * rowsEach + digits + (12 + 2 + 4) * numbers);

  std::vector<std::thread> all;
  for (int i = 0; i < threads; ++i) all.emplace_back(work, arguments[1], std::cref(expected));
  for (std::thread& thread : all) thread.join();
  if (sqlite3_memory_used() != 0) complain(std::to_string(sqlite3_memory_used()) + " bytes are still in use");
  std::printf("%d threads, %d connections: %d failures\n", threads, threads * connectionsEach, failures.load());
  return failures == 0 ? 0 : 1;
}
