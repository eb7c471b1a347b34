/* The smallest complete host: one single-byte encoding (ISO-8859-1), every table that the library calls.
 *
 *   cc -std=c11 minimal_host.c -ldl -o minimal_host && ./minimal_host path/to/librquni.so
 *
 * As a shared object it can be checked against the rules of rquni/host_tables.h:
 *
 *   cc -std=c11 -fPIC -shared minimal_host.c -ldl -o minimal_host.so && rqtext check-host ./minimal_host.so */
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "rquni/host_entry.h"
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

static void* allocate(RQPool* pool, uint64_t bytes, uint64_t flags) {
  (void)flags;
  if (bytes > SIZE_MAX - sizeof(Block)) return NULL;
  Block* const head = &((Pool*)pool)->blocks;
  Block* const block = calloc(1, sizeof(Block) + bytes);
  if (block == NULL) return NULL;
  block->next = head->next;
  block->previous = head;
  head->next->previous = block;
  head->next = block;
  return block + 1;
}

static void release(RQPool* pool, void* memory) {
  (void)pool;
  Block* const block = (Block*)memory - 1;
  block->previous->next = block->next;
  block->next->previous = block->previous;
  free(block);
}

static RQStatus destroyPool(RQPool* pool) {
  Block* const head = &((Pool*)pool)->blocks;
  while (head->next != head) release(pool, head->next + 1);
  free(pool);
  return RQ_SUCCESS;
}

static RQPool* createPool(RQKernel* kernel, RQPoolParameters* parameters, RQJournal* journal,
                          const char* description) {
  (void)kernel, (void)parameters, (void)journal, (void)description;
  Pool* const pool = calloc(1, sizeof *pool);
  if (pool == NULL) return NULL;
  pool->blocks.next = pool->blocks.previous = &pool->blocks;
  pool->table.destroy = destroyPool;
  pool->table.allocate = allocate;
  pool->table.release = release;
  return &pool->table;
}

/* Encodings, a character at a time: this host's session encoding and the five Unicode forms. */
static uint64_t unitBytes(uint32_t encoding) {
  if (encoding == RQ_ENCODING_UTF32_BIG || encoding == RQ_ENCODING_UTF32_LITTLE) return 4;
  return encoding == RQ_ENCODING_UTF16_BIG || encoding == RQ_ENCODING_UTF16_LITTLE ? 2 : 1;
}

static int isBig(uint32_t encoding) {
  return encoding == RQ_ENCODING_UTF16_BIG || encoding == RQ_ENCODING_UTF32_BIG;
}

static int isCharacter(RQChar c) {
  return c <= 0x10FFFF && (c < 0xD800 || c > 0xDFFF);
}

static RQChar readUnit(uint32_t encoding, const uint8_t* in) {
  const uint64_t bytes = unitBytes(encoding);
  RQChar unit = 0;
  for (uint64_t i = 0; i < bytes; ++i) unit = unit << 8 | in[isBig(encoding) ? i : bytes - 1 - i];
  return unit;
}

static void writeUnit(uint32_t encoding, uint8_t* out, RQChar unit) {
  const uint64_t bytes = unitBytes(encoding);
  for (uint64_t i = 0; i < bytes; ++i) out[isBig(encoding) ? bytes - 1 - i : i] = (uint8_t)(unit >> 8 * i);
}

static uint64_t readUtf8(const uint8_t* in, uint64_t left, RQChar* c) {
  static const RQChar least[] = {0, 0, 0x80, 0x800, 0x10000};
  const uint64_t bytes = in[0] < 0x80   ? 1
                         : in[0] < 0xC0 ? 0
                         : in[0] < 0xE0 ? 2
                         : in[0] < 0xF0 ? 3
                         : in[0] < 0xF8 ? 4
                                        : 0;
  if (bytes == 0 || bytes > left) return 0;
  *c = bytes == 1 ? in[0] : in[0] & (0x7Fu >> bytes);
  for (uint64_t i = 1; i < bytes; ++i) {
    if ((in[i] & 0xC0) != 0x80) return 0;
    *c = *c << 6 | (in[i] & 0x3F);
  }
  return *c >= least[bytes] ? bytes : 0;
}

/* Reads a character and returns its length in bytes, 0 where there is none. */
static uint64_t readCharacter(uint32_t encoding, const uint8_t* in, uint64_t left, RQChar* c) {
  uint64_t bytes = unitBytes(encoding);
  if (left < bytes) return 0;
  *c = readUnit(encoding, in);
  if (encoding == RQ_ENCODING_UTF8) {
    bytes = readUtf8(in, left, c);
  } else if (bytes == 2 && (*c & 0xFC00) == 0xD800 && left >= 4) {
    const RQChar low = readUnit(encoding, in + 2);
    if ((low & 0xFC00) != 0xDC00) return 0;
    *c = 0x10000 + ((*c & 0x3FF) << 10 | (low & 0x3FF));
    bytes = 4;
  }
  return bytes != 0 && isCharacter(*c) ? bytes : 0;
}

/* Writes a character in at most 4 bytes and returns its length, 0 where the encoding lacks it. */
static uint64_t writeCharacter(uint32_t encoding, uint8_t* out, RQChar c) {
  const uint64_t unit = unitBytes(encoding);
  if (encoding == RQ_ENCODING_UTF8 && c >= 0x80) {
    const uint64_t bytes = c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    for (uint64_t i = bytes; --i > 0; c >>= 6) out[i] = (uint8_t)(0x80 | (c & 0x3F));
    out[0] = (uint8_t)(0xF00 >> bytes | c);
    return bytes;
  }
  if (encoding == ISO_8859_1 && c > 0xFF) return 0;
  if (unit == 2 && c > 0xFFFF) {
    writeUnit(encoding, out, 0xD7C0 + (c >> 10));
    writeUnit(encoding, out + 2, 0xDC00 | (c & 0x3FF));
    return 4;
  }
  writeUnit(encoding, out, c);
  return unit;
}

/* Transcoders: whole characters only, and the length is stored on failure too. */
enum { FAILED = 1 };
typedef struct {
  RQTranscoder table;
  uint32_t source, target;
} Transcoder;

static RQStatus convert(RQTranscoder* self, const void* input, uint64_t inputBytes, void* output, uint64_t capacity,
                        uint64_t* produced, uint64_t flags) {
  const Transcoder* const transcoder = (const Transcoder*)self;
  const uint8_t* in = input;
  (void)flags;
  *produced = 0;
  while (inputBytes > 0) {
    RQChar c;
    uint8_t bytes[4];
    const uint64_t read = readCharacter(transcoder->source, in, inputBytes, &c);
    const uint64_t written = read == 0 ? 0 : writeCharacter(transcoder->target, bytes, c);
    if (written == 0 || written > capacity - *produced) return FAILED;
    memcpy((uint8_t*)output + *produced, bytes, written);
    *produced += written;
    in += read;
    inputBytes -= read;
  }
  return RQ_SUCCESS;
}

static RQStatus destroyTranscoder(RQTranscoder* transcoder) {
  free(transcoder);
  return RQ_SUCCESS;
}

static RQTranscoder* createTranscoder(RQNlsServices* nls, uint64_t source, uint64_t target, uint64_t a, uint64_t b) {
  (void)nls, (void)a, (void)b;
  Transcoder* const transcoder = calloc(1, sizeof *transcoder);
  if (transcoder == NULL) return NULL;
  transcoder->table.destroy = destroyTranscoder;
  transcoder->table.convert = convert;
  transcoder->source = (uint32_t)source;
  transcoder->target = (uint32_t)target;
  return &transcoder->table;
}

static RQStatus querySession(RQNlsServices* nls, int32_t* encoding) {
  (void)nls;
  *encoding = ISO_8859_1;
  return RQ_SUCCESS;
}

static RQStatus lookUpOption(RQContext* context, const RQChar* name, uint64_t length, uint64_t three, int64_t* value,
                             uint64_t* bytes) {
  (void)context, (void)name, (void)length, (void)three, (void)value, (void)bytes;
  return FAILED; /* no options here: the session query answers */
}

static uint64_t logStatus(RQJournal* journal, uint64_t level, uint64_t status, va_list list) {
  (void)journal, (void)list;
  fprintf(stderr, "rquni reports status 0x%llx at level %llu\n", (unsigned long long)status,
          (unsigned long long)level);
  return 0;
}

RQStatus rquni_host(RQKernel** kernel, RQContext** context) {
  static RQJournal journal = {.statusToJnl = logStatus};
  static RQNlsServices nls = {.createTranscoder = createTranscoder, .querySession = querySession};
  static RQKernel theKernel = {.createPool = createPool}; /* no case service: the library's own tables serve */
  static RQContext theContext = {.lookUpOption = lookUpOption, .journal = &journal, .nls = &nls};
  *kernel = &theKernel;
  *context = &theContext;
  return RQ_SUCCESS;
}

int main(int argc, char** argv) {
  void* const library = dlopen(argc > 1 ? argv[1] : "librquni.so.1", RTLD_NOW);
  if (library == NULL) return fprintf(stderr, "%s\n", dlerror()), 3;
  RQStatus (*registerHost)(RQKernel*, uint64_t*, uint64_t*);
  RQInterface* (*makeInterface)(RQContext*, RQJournal*);
  *(void**)&registerHost =
      dlsym(library, "rqextver"); /* POSIX's own way to turn an object pointer into a function's */
  *(void**)&makeInterface = dlsym(library, "rquni");
  if (registerHost == NULL || makeInterface == NULL) return fprintf(stderr, "%s\n", dlerror()), 3;

  RQKernel* kernel;
  RQContext* context;
  rquni_host(&kernel, &context);
  uint64_t major, minor;
  registerHost(kernel, &major, &minor);
  RQInterface* const object = makeInterface(context, NULL);
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
