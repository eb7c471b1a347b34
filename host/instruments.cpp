#include "host/instruments.h"

namespace rq::host {

std::string_view nameOf(Service service) {
  switch (service) {
    case Service::createPool:
      return "create pool";
    case Service::destroyPool:
      return "destroy pool";
    case Service::allocate:
      return "allocate";
    case Service::release:
      return "release";
    case Service::createTranscoder:
      return "create transcoder";
    case Service::destroyTranscoder:
      return "destroy transcoder";
    case Service::convert:
      return "convert";
    case Service::querySession:
      return "query session";
    case Service::lookUpOption:
      return "look up option";
    case Service::messageToBuf:
      return "message to buffer";
    case Service::messageToJnl:
      return "message to journal";
    case Service::statusToBuf:
      return "status to buffer";
    case Service::statusToJnl:
      return "status to journal";
    case Service::getLocale:
      return "get locale";
    case Service::upper:
      return "upper";
    case Service::lower:
      return "lower";
    case Service::upperCase:
      return "upper-case in place";
    case Service::lookUpCharset:
      return "look up charset service";
    case Service::count_:
      break;
  }
  return "unknown";
}

void Instruments::set(const Fault& fault) {
  const std::lock_guard lock(mutex_);
  faults_.push_back({fault, 0});
  refresh();
}

void Instruments::clearFaults() {
  const std::lock_guard lock(mutex_);
  faults_.clear();
  refresh();
}

void Instruments::watch(bool keepCalls) {
  const std::lock_guard lock(mutex_);
  counting_ = true;
  recording_ = keepCalls;
  seen_.fill(0);
  calls_.clear();
  refresh();
}

void Instruments::unwatch() {
  const std::lock_guard lock(mutex_);
  counting_ = recording_ = false;
  refresh();
}

std::uint64_t Instruments::callsOf(Service service) const {
  const std::lock_guard lock(mutex_);
  return seen_[static_cast<std::size_t>(service)];
}

std::vector<Call> Instruments::calls() const {
  const std::lock_guard lock(mutex_);
  return calls_;
}

std::optional<Fault> Instruments::enter(Service service) {
  const std::lock_guard lock(mutex_);
  if (counting_) ++seen_[static_cast<std::size_t>(service)];
  std::optional<Fault> struck;
  for (Armed& armed : faults_) {
    if (armed.fault.service != service) continue;
    ++armed.seen;
    if (armed.seen == armed.fault.nth || (armed.fault.fromThenOn && armed.seen > armed.fault.nth)) {
      struck = armed.fault;
    }
  }
  return struck;
}

void Instruments::leave(const Call& call) {
  const std::lock_guard lock(mutex_);
  if (recording_) calls_.push_back(call);
}

void Instruments::refresh() {
  active_.store(counting_ || !faults_.empty(), std::memory_order_relaxed);
}

}  // namespace rq::host
