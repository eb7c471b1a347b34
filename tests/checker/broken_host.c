/* The smallest host with a case service, and with the one fault that the environment variable RQ_BROKEN names; sound
 * without. `rqtext check-host` must find each fault and blame no other rule. */
#include <sched.h>
#include <unistd.h>

/* The example, under other names for what it shares with this file. */
#include "rquni/host_entry.h"
#define rquni_host soundHost
#define main exampleMain
#include "examples/minimal_host.c"
#undef rquni_host
#undef main

static int broken(const char* how) {
  static const char* wished;
  if (!wished) wished = getenv("RQ_BROKEN");
  if (!wished) wished = "";
  return strcmp(wished, how) == 0;
}

/* Hosts rely on the constants that the library passes: the checker must pass the same. */
static void expect(uint64_t passed, uint64_t constant) {
  if (passed != constant) abort();
}

/* Pools. */
static const RQPoolParameters* keptParameters;
static char sharedBlock[100];
static char touching[199]; /* two blocks of 100 bytes, which share one */

static void* faultyAllocate(RQPool* pool, uint64_t bytes, uint64_t flags) {
  const int endless = bytes > UINT64_C(1) << 40;
  expect(flags & ~UINT64_C(0x80000000), 0);
  if (broken("pool.alignment") && !endless) return (char*)allocate(pool, bytes + 4, flags) + 4;
  if (broken("pool.refusal") && endless) return allocate(pool, 8, flags);
  if (broken("kernel.createPool kept") && keptParameters->zero[2] != 0) return NULL;
  if (broken("pool.blocks") && bytes == sizeof sharedBlock) return sharedBlock;
  const int last = broken("pool.blocks last"), first = broken("pool.blocks first");
  if ((last || first) && bytes == sizeof sharedBlock) {
    static int blocks; /* the second one is kept; the third one is filled over its last or its first byte */
    ++blocks;
    if (blocks == 2) return touching + (last ? 0 : 99);
    if (blocks == 3) return touching + (last ? 99 : 0);
  }
  return allocate(pool, bytes, flags);
}

static void faultyRelease(RQPool* pool, void* block) {
  const int isOwn = (char*)block >= touching && (char*)block < touching + sizeof touching;
  if (broken("pool.release") || block == sharedBlock || isOwn) return;
  release(pool, broken("pool.alignment") ? (char*)block - 4 : block);
}

static RQStatus faultyDestroyPool(RQPool* pool) {
  return broken("pool.destroy") ? RQ_SUCCESS : destroyPool(pool);
}

static RQPool* faultyCreatePool(RQKernel* kernel, RQPoolParameters* parameters, RQJournal* journal,
                                const char* description) {
  static RQPool* only;
  if (broken("kernel.createPool") && only != NULL) return only;
  if (broken("kernel.createPool second") && only != NULL) return NULL;
  RQPool* const pool = only = createPool(kernel, parameters, journal, description);
  keptParameters = parameters;
  pool->allocate = faultyAllocate;
  pool->release = broken("pool.words") ? NULL : faultyRelease;
  pool->destroy = faultyDestroyPool;
  if (broken("pool.words allocate")) pool->allocate = NULL;
  if (broken("pool.words destroy")) pool->destroy = NULL;
  return pool;
}

/* Context and session. */
static uint64_t lengthToZero(const RQChar* name) {
  uint64_t length = 0;
  while (name[length] != 0) ++length;
  return length;
}

static RQStatus faultyLookUp(RQContext* context, const RQChar* name, uint64_t length, uint64_t three, int64_t* value,
                             uint64_t* bytes) {
  expect(three, 3);
  if (broken("context.name")) length = lengthToZero(name);
  if (broken("context.name any") || (broken("context.value") && length == 21 && name[0] == 'R')) {
    value[0] = ISO_8859_1;
    if (broken("context.value")) value[1] = 0;
    return RQ_SUCCESS;
  }
  const int isAsked = length == 21 && name[0] == 'R';
  if (isAsked && broken("context.value nothing")) return RQ_SUCCESS;
  if (isAsked && broken("context.value length")) {
    *value = ISO_8859_1;
    *bytes = 9;
    return RQ_SUCCESS;
  }
  return lookUpOption(context, name, length, three, value, bytes);
}

static RQStatus faultyQuery(RQNlsServices* nls, int32_t* encoding) {
  if (broken("nls.querySession nothing")) return RQ_SUCCESS;
  const RQStatus status = querySession(nls, encoding);
  if (broken("nls.querySession beyond")) encoding[1] = 0;
  if (broken("nls.querySession before")) encoding[-1] = 0;
  if (broken("nls.identifiers")) *encoding = RQ_ENCODING_UTF8;
  return broken("nls.querySession") ? 7 : status;
}

/* Transcoders. */
static int destroyed;
static const RQTranscoder* stuck;
static RQChar shared;
volatile uint8_t seenBeyond; /* visible, so that the reading is not dropped */

/* Spoils how one character of UTF-32 became `length` bytes of the session. */
static RQStatus faultyCharacter(RQChar c, uint8_t* output, uint64_t capacity, uint64_t* length, RQStatus status) {
  if (broken("transcoder.roundTrip") && c == 0xE0) *output = 0xE1;
  if (broken("transcoder.roundTrip table") && c >= 0xC0 && c <= 0xDF && c != 0xC9) ++*output;
  if (broken("transcoder.roundTrip abort") && c == 0x491) abort();
  if (broken("transcoder.roundTrip half") && c == 0xF1) *output = 0x81, *length = 1;
  while (broken("transcoder.roundTrip hang") && c == 0x2028) sched_yield();
  if (broken("transcoder.bytes private") && c == 0x80) return *length = 0, FAILED;
  if (capacity == 0) return status;
  if (broken("failing substitute") && status != RQ_SUCCESS) return *output = '?', *length = 1, status;
  if (broken("zero substitute") && c == 0) *output = 0x1A;

  /* What is nobody's may become anything. */
  const int nobodys = (c >= 0xE000 && c <= 0xF8FF) || c >= 0xF0000 || (c & 0xFFFE) == 0xFFFE;
  const int otherLetter =
      (broken("private use") && nobodys) || (broken("transcoder.roundTrip F900") && c == 0xF900) ||
      (broken("transcoder.roundTrip EFFFD") && c == 0xEFFFD) ||
      (broken("transcoder.roundTrip FFFD") && c == 0xFFFD) || (broken("transcoder.roundTrip one") && c == 1) ||
      (broken("transcoder.roundTrip D7FF") && c == 0xD7FF) || (broken("transcoder.bytes private") && c == 0xE000);
  const int substituted = broken("transcoder.roundTrip substitution") && status != RQ_SUCCESS && c <= 0x10FFFF;
  if (!otherLetter && !substituted) return status;
  *output = substituted ? '?' : 'A';
  *length = 1;
  return RQ_SUCCESS;
}

static RQStatus faultyConvert(RQTranscoder* self, const void* input, uint64_t inputBytes, void* output,
                              uint64_t capacity, uint64_t* produced, uint64_t flags) {
  expect(flags, 0);
  uint64_t length = 0;
  const Transcoder* const transcoder = (const Transcoder*)self;
  if (inputBytes == 4 && transcoder->source == RQ_ENCODING_UTF32_LITTLE) {
    const RQChar character = readUnit(RQ_ENCODING_UTF32_LITTLE, input);
    if (broken("transcoder.zero") && character == 0) return *produced = 0, FAILED;
    if (broken("transcoder.returns") && character == 0xDC00) abort();
  }
  while (broken("hang")) pause();
  if (broken("transcoder.input")) seenBeyond = ((const volatile uint8_t*)input)[inputBytes];
  if (broken("transcoder.destroy") && destroyed > 0) inputBytes = 0;
  const int wasStuck = stuck == self;
  stuck = capacity == 1 ? self : NULL;
  if (broken("transcoder.answer") && wasStuck) return *produced = 0, FAILED;
  if (broken("object") && inputBytes == 4 && memcmp(input, "A\0\0\0", 4) == 0) return *produced = 0, FAILED;
  if (broken("threads") && inputBytes == 4) {
    memcpy(&shared, input, 4);
    static int yields;  // few: each is a long wait on a busy machine
    if (yields < 500) ++yields, sched_yield();
    input = &shared;
  }
  const int toSession = transcoder->target == ISO_8859_1 && transcoder->source != ISO_8859_1;
  RQStatus status = convert(self, input, inputBytes, output, capacity, &length, flags);
  if (inputBytes == 4 && transcoder->source == RQ_ENCODING_UTF32_LITTLE && toSession) {
    status = faultyCharacter(readUnit(RQ_ENCODING_UTF32_LITTLE, input), output, capacity, &length, status);
  }
  if (broken("transcoder.bytes private") && transcoder->source == ISO_8859_1 && inputBytes == 1 && length == 4 &&
      *(const uint8_t*)input == 0x80 && transcoder->target == RQ_ENCODING_UTF32_LITTLE) {
    memcpy(output, &(const RQChar){0xE000}, 4);
  }
  if (broken("transcoder.roundTrip two") && transcoder->source == ISO_8859_1 && inputBytes == 1 && length == 4 &&
      *(const uint8_t*)input == 0xF1 && transcoder->target == RQ_ENCODING_UTF32_LITTLE && capacity >= 8) {
    memcpy((uint8_t*)output + length, &(const RQChar){'x'}, 4);
    length = 8;
  }
  if (transcoder->source == ISO_8859_1 && inputBytes == 2) {
    const uint8_t* const bytes = (const uint8_t*)input;
    if (broken("transcoder.bytes") && bytes[0] == 0xF0 && bytes[1] == 'A') abort();
  }
  if (broken("transcoder.long") && inputBytes > 1024 && !toSession && status == RQ_SUCCESS) *(uint8_t*)output ^= 1;
  if (broken("transcoder.long first") && inputBytes > 4096 && transcoder->source == RQ_ENCODING_UTF8) --length;
  if (broken("transcoder.long cut") && inputBytes > 4096 && toSession && status == RQ_SUCCESS) --length;
  if (broken("transcoder.answer status") && wasStuck) status = FAILED;
  if (broken("transcoder.status failure") && status == RQ_SUCCESS && length == 7 && inputBytes == 14) status = FAILED;
  if (broken("transcoder.status full") && status == RQ_SUCCESS && length > 1 && length == capacity) status = FAILED;
  if (broken("transcoder.status invalid") && inputBytes == 2 && memcmp(input, "A\xFF", 2) == 0) {
    status = RQ_SUCCESS;
  }
  if (status == RQ_SUCCESS || !broken("transcoder.length")) *produced = length;
  if (status == RQ_SUCCESS) return status;
  if (broken("transcoder.capacity")) ((uint8_t*)output)[capacity] = 0;
  if (broken("transcoder.capacity reported")) *produced = capacity + 1;
  if (broken("transcoder.whole") && length < capacity) {
    memset((uint8_t*)output + length, 0xC3, capacity - length);
    *produced = capacity;
  }
  if (broken("transcoder.whole other") && toSession && length > 0) ((uint8_t*)output)[length - 1] = '?';
  return broken("transcoder.status") ? RQ_SUCCESS : status;
}

static RQStatus faultyDestroy(RQTranscoder* transcoder) {
  ++destroyed;
  return broken("transcoder.destroy leak") ? RQ_SUCCESS : destroyTranscoder(transcoder);
}

static RQTranscoder* faultyCreate(RQNlsServices* nls, uint64_t source, uint64_t target, uint64_t a, uint64_t b) {
  expect(a | b, 0);
  if (broken("nls.createTranscoder") && target == RQ_ENCODING_UTF16_BIG) return NULL;
  if (broken("nls.createTranscoder first") && source == RQ_ENCODING_UTF8) return NULL;
  if (broken("nls.identifiers")) {
    static int leavesSession; /* where both are UTF-8, the way in is made first */
    const int isOut = source == target ? leavesSession : source == RQ_ENCODING_UTF8;
    if (source == target) leavesSession = !leavesSession;
    *(isOut ? &source : &target) = ISO_8859_1;
  }
  if (broken("transcoder.forms") && target == RQ_ENCODING_UTF16_BIG) target = RQ_ENCODING_UTF16_LITTLE;
  RQTranscoder* const transcoder = createTranscoder(nls, source, target, a, b);
  transcoder->convert = faultyConvert;
  transcoder->destroy = broken("transcoder.words") ? NULL : faultyDestroy;
  if (broken("transcoder.words convert") && target == RQ_ENCODING_UTF32_BIG) transcoder->convert = NULL;
  return transcoder;
}

/* The case service. */
static RQChar faultyUpper(RQCaseService* service, RQChar c, uint64_t one) {
  (void)service;
  expect(one, 1);
  if (broken("case.any") && c > 0x10FFFF) abort();
  return c == 0xE9 ? 0xC9 : c;
}

static RQChar lower(RQCaseService* service, RQChar c, uint64_t one) {
  (void)service;
  expect(one, 1);
  return c == 0xC9 ? 0xE9 : c;
}

static void faultyUpperCase(RQCharsetService* service, void* buffer, uint64_t length, uint64_t zero) {
  (void)service;
  expect(zero, 0);
  char* const text = buffer;
  for (uint64_t i = 0; i < (broken("charset.length") ? 8 : length); ++i) {
    if (text[i] >= 'a' && text[i] <= 'z' && !broken("charset.letters")) text[i] = (char)(text[i] - 'a' + 'A');
  }
}

static RQCharsetService charset = {.upperCase = faultyUpperCase};

static RQCharsetService* faultyLookUpCharset(RQCaseService* service, const RQChar* name, uint64_t length,
                                             RQStatus* status) {
  (void)service;
  if (broken("case.charset")) length = lengthToZero(name);
  *status = RQ_SUCCESS;
  return length == 3 && name[0] == 'Z' && name[1] == 'Q' && name[2] == 'D' ? &charset : NULL;
}

RQStatus rquni_host(RQKernel** kernel, RQContext** context) {
  static RQCaseService cases = {.upper = faultyUpper, .lower = lower, .lookUp = faultyLookUpCharset};
  if (broken("entry crash")) abort();
  if (broken("entry exit")) exit(5);
  soundHost(kernel, context);
  (*kernel)->createPool = broken("kernel.words") ? NULL : faultyCreatePool;
  (*kernel)->caseService = &cases;
  (*context)->lookUpOption = faultyLookUp;
  (*context)->nls->createTranscoder = faultyCreate;
  (*context)->nls->querySession = broken("nls.words") ? NULL : faultyQuery;
  if (broken("context.words")) (*context)->nls = NULL;
  if (broken("context.words option")) (*context)->lookUpOption = NULL;
  if (broken("nls.words create")) (*context)->nls->createTranscoder = NULL;
  if (broken("case.words lower")) cases.lower = NULL;
  if (broken("case.words look")) cases.lookUp = NULL;
  if (broken("entry context")) *context = NULL;
  if (broken("journal.status")) (*context)->journal->statusToJnl = NULL;
  if (broken("case.words")) cases.upper = NULL;
  if (broken("case.charset null")) charset.upperCase = NULL;
  if (broken("entry null")) *kernel = NULL;
  return broken("entry") ? 5 : RQ_SUCCESS;
}
