/* A library that fails as the environment variable RQ_STUB says: unsupported, version, minor, object, transcoders,
 * memory, strange, lying. The tool must report each. With "overshoot" a codec writes one unit past a small capacity,
 * as a doubled marker may, and that is no failure. */
#include <stdlib.h>
#include <string.h>

#include "frame/rquni.h"

static int failing(const char* how) {
  const char* wished = getenv("RQ_STUB");
  return wished != NULL && strcmp(wished, how) == 0;
}

static RQStatus status(void) {
  return failing("memory") ? RQ_NO_MEMORY : failing("strange") ? 7 : RQ_UNSUPPORTED;
}

static RQStatus codec(RQInterface* self, const void* input, uint64_t units, void* output, uint64_t capacity,
                      uint64_t* written) {
  (void)self, (void)input, (void)units, (void)output;
  if (failing("overshoot")) {
    *written = capacity < 200 ? capacity + 1 : 0;
    return RQ_SUCCESS;
  }
  if (!failing("lying")) return status();
  *written = capacity + (UINT64_C(1) << 40);
  return RQ_SUCCESS;
}

static RQStatus padded(RQInterface* self, const void* input, uint64_t length, void* output, uint64_t capacity,
                       uint64_t* written, int32_t pad) {
  (void)pad;
  return codec(self, input, length, output, capacity, written);
}

static int64_t measure(RQInterface* self, const void* input, uint64_t units) {
  (void)self, (void)input, (void)units;
  return failing("memory") ? -1 : (int64_t)status();
}

static uint64_t destroy(RQInterface* self) {
  for (int form = 0; form < RQ_FORMS; ++form) {
    RQTranscoder* both[] = {self->transcoders[form].toSession, self->transcoders[form].fromSession};
    for (int i = 0; i < 2; ++i) {
      if (both[i] != NULL) both[i]->destroy(both[i]);
    }
  }
  free(self);
  return 0;
}

RQStatus rqextver(RQKernel* kernel, uint64_t* major, uint64_t* minor) {
  (void)kernel;
  *major = failing("version") ? 8 : 9;
  *minor = failing("minor") ? 0 : 1;
  return RQ_SUCCESS;
}

void rqvercn1(RQVersionRecord* destination) {
  memset(destination, 0, sizeof *destination);
}

#define OPERATION(position, slot, function, shape) RQ_STUB_##shape(slot)
#define RQ_STUB_Codec(slot) operations.slot = codec;
#define RQ_STUB_Transform(slot) operations.slot = codec;
#define RQ_STUB_PaddedTransform(slot) operations.slot = padded;
#define RQ_STUB_Measure(slot) operations.slot = measure;

RQInterface* rquni(RQContext* context, RQJournal* journal) {
  (void)journal;
  RQInterface* object = failing("object") ? NULL : calloc(1, sizeof *object);
  if (object == NULL) return NULL;
  RQOperations operations;
#include "frame/operations.def"
  object->plain = object->served = object->wide = operations;
  object->destroy = destroy;
  for (int form = 0; form < RQ_FORMS && !failing("transcoders"); ++form) {
    RQNlsServices* nls = context->nls;
    object->transcoders[form].toSession = nls->createTranscoder(nls, RQ_ENCODING_UTF8, RQ_ENCODING_UTF8, 0, 0);
    object->transcoders[form].fromSession = nls->createTranscoder(nls, RQ_ENCODING_UTF8, RQ_ENCODING_UTF8, 0, 0);
  }
  return object;
}
