/* The checker for hosts that live in this process and are no shared object: a function that C and Python can call. */
#ifndef RQUNI_TESTS_CHECKER_IN_PROCESS_H
#define RQUNI_TESTS_CHECKER_IN_PROCESS_H

#include "frame/host_tables.h"

RQ_BEGIN_DECLARATIONS

/* Takes a rule, the verdict and what was seen. */
typedef void RowTaker(void* taker, const char* rule, const char* verdict, const char* seen);

/* Checks a host against the library at `library`; hands over a row for each rule. What cannot be checked at all is a
 * row of the rule "library". */
RQ_EXPORT void checkHostInProcess(RQKernel* kernel, RQContext* context, const char* library, RowTaker* take,
                                  void* taker);

RQ_END_DECLARATIONS

#endif
