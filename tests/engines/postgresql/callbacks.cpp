// The part of the test build that counts the library's calls of its host and lets one of them fail.
#include "engines/callbacks.h"

#include "engines/postgresql/server.h"

namespace {

int counted = 0;
int failing = 0;  // the number of the callback that fails, 0 for none
bool raising = false;

bool isTurn() {
  return ++counted == failing;
}

}  // namespace

bool rq::engines::callbackFails() {
  return !raising && isTurn();
}

void rq::engines::callbackRaises() {
  if (raising && isTurn()) ereport(ERROR, errcode(ERRCODE_TRIGGERED_ACTION_EXCEPTION), errmsg("a procedure raises"));
}

#pragma GCC visibility push(default)
extern "C" {
PG_FUNCTION_INFO_V1(rq_test_fail);
PG_FUNCTION_INFO_V1(rq_test_counted);
}
#pragma GCC visibility pop

/// rq_test_fail(number, raise): counts from now on; the callback of that number fails, or the procedure raises.
Datum rq_test_fail(PG_FUNCTION_ARGS) {
  failing = PG_GETARG_INT32(0);
  raising = PG_GETARG_BOOL(1);
  counted = 0;
  PG_RETURN_VOID();
}

/// How many callbacks were counted since.
Datum rq_test_counted(PG_FUNCTION_ARGS) {
  (void)fcinfo;
  PG_RETURN_INT32(counted);
}
