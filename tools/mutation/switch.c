/* The mutant to run (RQ_MUTANT) and the file that takes the places executed (RQ_REACHED), from the environment. */
#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <unistd.h>

#define HIDDEN __attribute__((visibility("hidden")))
enum { refused = 86, mostPlaces = 1 << 16 };

static unsigned char nowhere[mostPlaces];
HIDDEN unsigned rqMutant = 0;
HIDDEN unsigned char* rqReached = nowhere;

/* The process may be one that a test started: a file says it then. */
HIDDEN void rqRefuse(void) {
  const char* const told = getenv("RQ_REFUSED");
  if (told) close(open(told, O_CREAT | O_WRONLY, 0600));
  _exit(refused);
}

/* Before all other constructors. The file is shared: a process that crashes or forks has reached its places too. */
__attribute__((constructor(101))) static void choose(void) {
  const char *const mutant = getenv("RQ_MUTANT"), *const path = getenv("RQ_REACHED");
  if (mutant) rqMutant = (unsigned)atoi(mutant);
  if (!path) return;
  const int file = open(path, O_RDWR);
  if (file < 0 || ftruncate(file, mostPlaces) != 0) _exit(2);
  void* const shared = mmap(0, mostPlaces, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  if (shared == MAP_FAILED) _exit(2);
  rqReached = shared;
  close(file);
}

__attribute__((destructor)) static void leave(void) {
  if (rqReached != nowhere) munmap(rqReached, mostPlaces);
  rqReached = nowhere;
}
