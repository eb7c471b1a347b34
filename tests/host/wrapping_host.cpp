#include "tests/host/wrapping_host.h"

#include <algorithm>

namespace rq::test {

WrappingHost::Pool::Pool(WrappingHost* itsHost, RQPool* itsInner) : Wrapped(itsHost, itsInner) {
  destroy = destroyPool;
  allocate = WrappingHost::allocate;
  release = WrappingHost::release;
}

WrappingHost::WrappingHost(RQKernel& kernel, RQContext& context)
    : kernel_(this, &kernel), nls_(this, context.nls), context_(this, &context) {
  kernel_.createPool = createPool;
  kernel_.caseService = kernel.caseService;
  nls_.createTranscoder = createTranscoder;
  nls_.querySession = querySession;
  context_.lookUpOption = lookUpOption;
  context_.journal = context.journal;
  context_.nls = &nls_;
}

void WrappingHost::refuse(Service service) {
  const std::lock_guard lock(mutex_);
  refused_.insert(service);
}

WrappingHost::Alive WrappingHost::alive() const {
  const std::lock_guard lock(mutex_);
  return alive_;
}

std::vector<WrappingHost::Call> WrappingHost::calls() const {
  const std::lock_guard lock(mutex_);
  return calls_;
}

std::size_t WrappingHost::callsOf(Service service) const {
  const std::lock_guard lock(mutex_);
  return static_cast<std::size_t>(std::ranges::count(calls_, service, &Call::service));
}

std::string WrappingHost::poolDescription() const {
  const std::lock_guard lock(mutex_);
  return poolDescription_;
}

bool WrappingHost::enter(const Call& call) {
  const std::lock_guard lock(mutex_);
  calls_.push_back(call);
  return !refused_.contains(call.service);
}

RQPool* WrappingHost::createPool(RQKernel* kernel, RQPoolParameters* parameters, RQJournal* journal,
                                 const char* description) {
  auto* self = static_cast<Wrapped<RQKernel>*>(kernel);
  WrappingHost& host = *self->host;
  if (!host.enter({Service::createPool, {}})) return nullptr;
  RQPool* made = self->inner->createPool(self->inner, parameters, journal, description);
  if (!made) return nullptr;
  const std::lock_guard lock(host.mutex_);
  ++host.alive_.pools;
  host.poolDescription_ = description;
  return new Pool(&host, made);
}

RQStatus WrappingHost::destroyPool(RQPool* pool) {
  auto* self = static_cast<Pool*>(pool);
  WrappingHost& host = *self->host;
  host.enter({Service::destroyPool, {}});
  const RQStatus status = self->inner->destroy(self->inner);
  const std::lock_guard lock(host.mutex_);
  --host.alive_.pools;
  host.alive_.blocks -= self->blocks;
  delete self;
  return status;
}

void* WrappingHost::allocate(RQPool* pool, std::uint64_t bytes, std::uint64_t flags) {
  auto* self = static_cast<Pool*>(pool);
  WrappingHost& host = *self->host;
  if (!host.enter({Service::allocate, {bytes, flags}})) return nullptr;
  void* block = self->inner->allocate(self->inner, bytes, flags);
  const std::lock_guard lock(host.mutex_);
  host.alive_.blocks += block ? 1 : 0;
  self->blocks += block ? 1 : 0;
  return block;
}

void WrappingHost::release(RQPool* pool, void* block) {
  auto* self = static_cast<Pool*>(pool);
  WrappingHost& host = *self->host;
  host.enter({Service::release, {}});
  self->inner->release(self->inner, block);
  const std::lock_guard lock(host.mutex_);
  --host.alive_.blocks;
  --self->blocks;
}

RQTranscoder* WrappingHost::createTranscoder(RQNlsServices* nls, std::uint64_t source, std::uint64_t target,
                                             std::uint64_t zero1, std::uint64_t zero2) {
  auto* self = static_cast<Wrapped<RQNlsServices>*>(nls);
  WrappingHost& host = *self->host;
  if (!host.enter({Service::createTranscoder, {source, target}})) return nullptr;
  RQTranscoder* inner = self->inner->createTranscoder(self->inner, source, target, zero1, zero2);
  if (!inner) return nullptr;
  auto* made = new Transcoder(&host, inner);
  made->destroy = destroyTranscoder;
  made->convert = convert;
  const std::lock_guard lock(host.mutex_);
  ++host.alive_.transcoders;
  return made;
}

RQStatus WrappingHost::destroyTranscoder(RQTranscoder* transcoder) {
  auto* self = static_cast<Transcoder*>(transcoder);
  WrappingHost& host = *self->host;
  host.enter({Service::destroyTranscoder, {}});
  const RQStatus status = self->inner->destroy(self->inner);
  delete self;
  const std::lock_guard lock(host.mutex_);
  --host.alive_.transcoders;
  return status;
}

RQStatus WrappingHost::convert(RQTranscoder* transcoder, const void* input, std::uint64_t inputBytes, void* output,
                               std::uint64_t capacityBytes, std::uint64_t* producedBytes, std::uint64_t flags) {
  RQTranscoder* inner = static_cast<Transcoder*>(transcoder)->inner;
  return inner->convert(inner, input, inputBytes, output, capacityBytes, producedBytes, flags);
}

RQStatus WrappingHost::lookUpOption(RQContext* context, const RQChar* name, std::uint64_t length, std::uint64_t three,
                                    std::int64_t* value, std::uint64_t* valueBytes) {
  auto* self = static_cast<Wrapped<RQContext>*>(context);
  self->host->enter({Service::lookUpOption, {}});
  return self->inner->lookUpOption(self->inner, name, length, three, value, valueBytes);
}

RQStatus WrappingHost::querySession(RQNlsServices* nls, std::int32_t* encoding) {
  auto* self = static_cast<Wrapped<RQNlsServices>*>(nls);
  self->host->enter({Service::querySession, {}});
  return self->inner->querySession(self->inner, encoding);
}

}  // namespace rq::test
