/* The smallest complete host: one single-byte encoding (ISO-8859-1), every table that the library calls.
 *
 *   cc -std=c11 minimal_host.c -ldl -o minimal_host && ./minimal_host path/to/librquni.so */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "rquni/rquni.h"

enum { ISO_8859_1 = 100 };

/* Pools: malloc, and a list of what to free. The header before each block keeps the block aligned to 16 bytes. */
typedef struct Block {
  struct Block *next, *previous;
} Block;
typedef struct {
  RQPool table;
  Block blocks; /* the list's head */
} Pool;

static void *allocate(RQPool *pool, uint64_t bytes, uint64_t flags) {
  (void)flags;
  if (bytes > SIZE_MAX - sizeof(Block)) return NULL;
  Block *const head = &((Pool *)pool)->blocks;
  Block *const block = calloc(1, sizeof(Block) + bytes);
  if (block == NULL) return NULL;
  block->next = head->next;
  block->previous = head;
  head->next->previous = block;
  head->next = block;
  return block + 1;
}

static void release(RQPool *pool, void *memory) {
  (void)pool;
  Block *const block = (Block *)memory - 1;
  block->previous->next = block->next;
  block->next->previous = block->previous;
  free(block);
}

static RQStatus destroyPool(RQPool *pool) {
  Block *const head = &((Pool *)pool)->blocks;
  while (head->next != head) release(pool, head->next + 1);
  free(pool);
  return RQ_SUCCESS;
}

static RQPool *createPool(RQKernel *kernel, RQPoolParameters *parameters, RQJournal *journal,
                          const char *description) {
  (void)kernel, (void)parameters, (void)journal, (void)description;
  Pool *const pool = calloc(1, sizeof *pool);
  if (pool == NULL) return NULL;
  pool->blocks.next = pool->blocks.previous = &pool->blocks;
  pool->table.destroy = destroyPool;
  pool->table.allocate = allocate;
  pool->table.release = release;
  return &pool->table;
}

/* Transcoders between ISO-8859-1 and native UTF-32. The other pairs are made from the same function here, and would
 * convert wrongly: a host that calls the UTF transforms needs real ones. */
enum { FAILED = 1 };

static RQStatus fromUtf32(RQTranscoder *self, const void *input, uint64_t inputBytes, void *output, uint64_t capacity,
                          uint64_t *produced, uint64_t flags) {
  (void)self, (void)flags;
  for (*produced = 0; *produced < inputBytes / 4; ++*produced) {
    RQChar c;
    memcpy(&c, (const char *)input + 4 * *produced, sizeof c);
    if (c > 0xFF || *produced == capacity) return FAILED;
    ((uint8_t *)output)[*produced] = (uint8_t)c;
  }
  return RQ_SUCCESS;
}

static RQStatus toUtf32(RQTranscoder *self, const void *input, uint64_t inputBytes, void *output, uint64_t capacity,
                        uint64_t *produced, uint64_t flags) {
  (void)self, (void)flags;
  *produced = 0;
  for (uint64_t i = 0; i < inputBytes; ++i, *produced += 4) {
    const RQChar c = ((const uint8_t *)input)[i];
    if (*produced + 4 > capacity) return FAILED;
    memcpy((char *)output + *produced, &c, sizeof c);
  }
  return RQ_SUCCESS;
}

static RQStatus destroyTranscoder(RQTranscoder *transcoder) {
  (void)transcoder; /* both are shared and live for ever */
  return RQ_SUCCESS;
}

static RQTranscoder *createTranscoder(RQNlsServices *nls, uint64_t source, uint64_t target, uint64_t a, uint64_t b) {
  static RQTranscoder into = {.destroy = destroyTranscoder, .convert = fromUtf32};
  static RQTranscoder outOf = {.destroy = destroyTranscoder, .convert = toUtf32};
  (void)nls, (void)target, (void)a, (void)b;
  return source == ISO_8859_1 ? &outOf : &into;
}

static RQStatus querySession(RQNlsServices *nls, int32_t *encoding) {
  (void)nls;
  *encoding = ISO_8859_1;
  return RQ_SUCCESS;
}

static RQStatus lookUpOption(RQContext *context, const RQChar *name, uint64_t length, uint64_t three, int64_t *value,
                             uint64_t *bytes) {
  (void)context, (void)name, (void)length, (void)three, (void)value, (void)bytes;
  return FAILED; /* no options here: the session query answers */
}

static uint64_t logStatus(RQJournal *journal, uint64_t level, uint64_t status, va_list list) {
  (void)journal, (void)list;
  fprintf(stderr, "rquni reports status 0x%llx at level %llu\n", (unsigned long long)status,
          (unsigned long long)level);
  return 0;
}

int main(int argc, char **argv) {
  void *const library = dlopen(argc > 1 ? argv[1] : "librquni.so.1", RTLD_NOW);
  if (library == NULL) return fprintf(stderr, "%s\n", dlerror()), 3;
  RQStatus (*registerHost)(RQKernel *, uint64_t *, uint64_t *);
  RQInterface *(*makeInterface)(RQContext *, RQJournal *);
  *(void **)&registerHost =
      dlsym(library, "rqextver"); /* POSIX's own way to turn an object pointer into a function's */
  *(void **)&makeInterface = dlsym(library, "rquni");
  if (registerHost == NULL || makeInterface == NULL) return fprintf(stderr, "%s\n", dlerror()), 3;

  RQKernel kernel = {.createPool = createPool}; /* no case service: the library's own tables serve */
  RQJournal journal = {.statusToJnl = logStatus};
  RQNlsServices nls = {.createTranscoder = createTranscoder, .querySession = querySession};
  RQContext context = {.lookUpOption = lookUpOption, .journal = &journal, .nls = &nls};

  uint64_t major, minor;
  registerHost(&kernel, &major, &minor);
  RQInterface *const object = makeInterface(&context, NULL);
  if (object == NULL) return 3;

  static const char text[] = "caf&#233;";
  enum { CAPACITY = 64 };
  uint8_t output[CAPACITY + RQ_OUTPUT_SLACK_BYTES];
  uint64_t written = 0;
  const RQStatus status = object->plain.getNCR(object, text, strlen(text), output, CAPACITY, &written);
  printf("interface %llu.%llu, status %u:", (unsigned long long)major, (unsigned long long)minor, (unsigned)status);
  for (uint64_t i = 0; i < written && i < CAPACITY; ++i) printf(" %02x", output[i]);
  printf("\n"); /* 63 61 66 e9 */
  object->destroy(object);
  return status == RQ_SUCCESS ? 0 : 1;
}
