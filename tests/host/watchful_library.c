/* A library that makes no object, and counts the calls that came while another one was not over. */
#define _POSIX_C_SOURCE 200809L
#include <stdatomic.h>
#include <time.h>

#include "frame/rquni.h"

static atomic_int inside, overlapping, made;

int overlaps(void) {
  return overlapping;
}
int calls(void) {
  return made;
}

static void stay(void) {
  ++made;
  if (atomic_fetch_add(&inside, 1) != 0) ++overlapping;
  const struct timespec pause = {0, 2000000};
  nanosleep(&pause, 0);
  --inside;
}

RQStatus rqextver(RQKernel* kernel, uint64_t* major, uint64_t* minor) {
  (void)kernel;
  stay();
  *major = 9;
  *minor = 1;
  return RQ_SUCCESS;
}

void rqvercn1(RQVersionRecord* destination) {
  (void)destination;
}

RQInterface* rquni(RQContext* context, RQJournal* journal) {
  (void)context;
  (void)journal;
  stay();
  return 0;
}
