// The interface object: rquni makes it, ulDestroy ends it. Only this file knows all operations.
#include "frame/interface.h"

#include <cstdint>
#include <cstring>

#include "frame/internal/kernel_handle.h"
#include "frame/internal/wide_literal.h"
#include "frame/journal_bridges.h"

namespace rq {
namespace {

constexpr std::uint64_t failureLevel = 4;
constexpr std::uint64_t objectAllocationFlags = 0x80000000;
constexpr std::int64_t noEncoding = -1;

constexpr auto sessionOption = wideLiteral("RQNLS.ZMX_SESSION_CEI");
constexpr std::uint64_t sessionOptionMode = 3;
static_assert(sessionOption.length == 21);

/// The host's identifier of each encoding form, in the order of RQForm. Native order is little-endian.
constexpr std::uint32_t formEncodings[] = {
    RQ_ENCODING_UTF8,         RQ_ENCODING_UTF16_LITTLE, RQ_ENCODING_UTF16_BIG,    RQ_ENCODING_UTF16_LITTLE,
    RQ_ENCODING_UTF32_LITTLE, RQ_ENCODING_UTF32_BIG,    RQ_ENCODING_UTF32_LITTLE,
};
static_assert(sizeof formEncodings / sizeof *formEncodings == RQ_FORMS);

#define OPERATION(position, slot, function, shape) .slot = ul##function,
constexpr RQOperations plainOperations = {
#include "frame/operations.def"
};
#undef OPERATION
#define OPERATION(position, slot, function, shape) .slot = S_ul##function,
constexpr RQOperations servedOperations = {
#include "frame/operations.def"
};
#undef OPERATION
#define OPERATION(position, slot, function, shape) .slot = T_ul##function,
constexpr RQOperations wideOperations = {
#include "frame/operations.def"
};
#undef OPERATION

void logNoMemory(RQJournal* journal) {
  rqlStatusToJnl(journal, failureLevel, RQ_NO_MEMORY);
}

/// The session encoding that the NLS services report, or 0 when they fail.
std::int64_t queriedSession(RQNlsServices* nls) {
  std::int32_t encoding = noEncoding;
  const RQStatus status = nls->querySession(nls, &encoding);
  return status == RQ_SUCCESS || status == RQ_SESSION_QUERY_DEFAULTED ? encoding : 0;
}

/// The session encoding: the context's option, or else what the NLS services report.
std::int64_t sessionEncoding(RQContext* context, RQNlsServices* nls) {
  std::int64_t value = noEncoding;
  std::uint64_t valueBytes = sizeof value;
  const RQStatus status = context->lookUpOption(context, sessionOption.text, sessionOption.length, sessionOptionMode,
                                                &value, &valueBytes);
  return status == RQ_SUCCESS ? value : queriedSession(nls);
}

/// Makes the transcoders: first all into the session encoding, then all out of it. A refused one is null in the
/// object.
void createTranscoders(RQInterface* object) {
  RQNlsServices* const nls = object->nls;
  const std::uint64_t session = static_cast<std::uint32_t>(object->sessionEncoding);
  for (int form = 0; form < RQ_FORMS; ++form)
    object->transcoders[form].toSession = nls->createTranscoder(nls, formEncodings[form], session, 0, 0);
  for (int form = 0; form < RQ_FORMS; ++form)
    object->transcoders[form].fromSession = nls->createTranscoder(nls, session, formEncodings[form], 0, 0);
}

void destroyTranscoder(RQTranscoder* transcoder) {
  if (transcoder) transcoder->destroy(transcoder);
}

/// Writes these members and no other byte: all gaps of the block belong to the host.
void fillHeader(RQInterface* object) {
  object->getReqVersion = ulGetReqVersion;
  object->getVersion = ulGetVersion;
  object->destroy = ulDestroy;
  object->plain = plainOperations;
  object->served = servedOperations;
  object->wide = wideOperations;
  object->escape = '\\';
  object->reference = '#';
  std::memcpy(object->eyeCatcher, "nevo", sizeof object->eyeCatcher);
}

std::uint64_t storeVersion(std::uint64_t* major, std::uint64_t* minor, std::uint64_t* patch,
                           const std::uint64_t (&version)[3]) {
  *major = version[0];
  *minor = version[1];
  *patch = version[2];
  return 0;
}

}  // namespace
}  // namespace rq

RQInterface* rquni(RQContext* context, RQJournal* journal) {
  if (!journal) journal = context->journal;
  if (!journal) return nullptr;
  RQNlsServices* const nls = context->nls;
  if (!nls) return nullptr;

  RQKernel* const kernel = rq::kernelHandle();
  RQPoolParameters parameters = {};
  RQPool* const pool = kernel->createPool(kernel, &parameters, journal, "RQUNI Extension");
  if (!pool) {
    rq::logNoMemory(journal);
    return nullptr;
  }
  auto* const object =
      static_cast<RQInterface*>(pool->allocate(pool, sizeof(RQInterface), rq::objectAllocationFlags));
  if (!object) {
    rq::logNoMemory(journal);
    pool->destroy(pool);
    return nullptr;
  }

  const std::int64_t session = rq::sessionEncoding(context, nls);
  object->pool = pool;
  object->journal = journal;
  object->nls = nls;
  object->sessionEncoding = session;
  rq::createTranscoders(object);
  rq::fillHeader(object);
  return object;
}

std::uint64_t ulDestroy(RQInterface* object) {
  for (const RQTranscoderPair& pair : object->transcoders) rq::destroyTranscoder(pair.toSession);
  for (const RQTranscoderPair& pair : object->transcoders) rq::destroyTranscoder(pair.fromSession);
  RQPool* const pool = object->pool;
  pool->destroy(pool);  // frees the object as well
  return 0;
}

std::uint64_t ulGetVersion(RQInterface*, std::uint64_t* major, std::uint64_t* minor, std::uint64_t* patch) {
  return rq::storeVersion(major, minor, patch, {1, 0, 0});
}

std::uint64_t ulGetReqVersion(RQInterface*, std::uint64_t* major, std::uint64_t* minor, std::uint64_t* patch) {
  return rq::storeVersion(major, minor, patch, {9, 1, 1});
}
