// The part of the test build that has a backend's host checked.
#include <string>

#include "engines/postgresql/host.h"
#include "tests/checker/in_process.h"

#pragma GCC visibility push(default)
extern "C" {
PG_FUNCTION_INFO_V1(rq_test_check);
}
#pragma GCC visibility pop

namespace {

void takeRow(void* taker, const char* rule, const char* verdict, const char* seen) {
  static_cast<std::string*>(taker)->append(rule).append("|").append(verdict).append("|").append(seen).append("\n");
}

std::string rowsOf(const char* library) {
  std::string rows;
  checkHostInProcess(Exported_RQHandle, rq::postgresql::enter().session->context(), library, takeRow, &rows);
  return rows;
}

}  // namespace

/// rq_test_check(library): a line for each rule.
Datum rq_test_check(PG_FUNCTION_ARGS) {
  PG_RETURN_TEXT_P(cstring_to_text(rowsOf(text_to_cstring(PG_GETARG_TEXT_PP(0))).c_str()));
}
