// The part of the test build that counts the library's calls of its host, lets one of them fail, and makes one
// itself.
#include "engines/callbacks.h"

#include "engines/postgresql/host.h"

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
PG_FUNCTION_INFO_V1(rq_test_fit);
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

/// rq_test_fit(source, room, toSession): what the backend's transcoder of UTF-16BE writes in that much room.
Datum rq_test_fit(PG_FUNCTION_ARGS) {
  const varlena* const source = PG_GETARG_BYTEA_PP(0);
  const auto room = static_cast<std::uint64_t>(PG_GETARG_INT32(1));
  auto* const result = static_cast<varlena*>(palloc(VARHDRSZ + room));
  const RQTranscoderPair& pair = rq::postgresql::enter().object->transcoders[RQ_FORM_UTF16_BIG];
  RQTranscoder* const transcoder = PG_GETARG_BOOL(2) ? pair.toSession : pair.fromSession;
  std::uint64_t written = 0;
  transcoder->convert(transcoder, VARDATA_ANY(source), VARSIZE_ANY_EXHDR(source), VARDATA(result), room, &written, 0);
  rq::postgresql::raiseWhatWasCaught();
  SET_VARSIZE(result, VARHDRSZ + written);
  PG_RETURN_BYTEA_P(result);
}
