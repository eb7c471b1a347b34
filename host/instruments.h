// What a host can do to its guests and see of them: services that fail or lie at their n-th call, a record of the
// calls, and counts of what is alive. Shared by all tables of one host; safe from several threads.
#ifndef RQUNI_HOST_INSTRUMENTS_H
#define RQUNI_HOST_INSTRUMENTS_H

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string_view>
#include <vector>

namespace rq::host {

/// The services that the library may call, one per slot.
enum class Service : std::uint8_t {
  createPool,
  destroyPool,
  allocate,
  release,
  createTranscoder,
  destroyTranscoder,
  convert,
  querySession,
  lookUpOption,
  messageToBuf,
  messageToJnl,
  statusToBuf,
  statusToJnl,
  getLocale,
  upper,
  lower,
  upperCase,
  lookUpCharset,
  count_,
};
std::string_view nameOf(Service service);

/// One call as it was recorded. The arguments follow the table's address in the slot's order; pointers count as
/// numbers, output pointers are left out. Convert: input bytes, capacity bytes, bytes reported as produced.
struct Call {
  Service service;
  const void* table;
  std::array<std::uint64_t, 3> arguments;
  std::uint64_t result;  // the slot's return value, 0 where it has none
};

/// A service's answer to one of its calls, or from that call on, is replaced.
struct Fault {
  enum class Action {
    fail,    // nothing is done: null, or the status faultStatus
    silent,  // nothing is done and nothing stored, yet success is reported (a null result, a status 0)
    status,  // all is done and stored, but `value` is returned as the status
    value,   // success, but `value` is what gets stored or returned: as produced length, encoding, option, character
  };
  Service service;
  std::uint64_t nth = 1;  // counted from 1, from the moment the fault was set
  Action action = Action::fail;
  std::uint64_t value = 0;
  bool fromThenOn = false;
};
inline constexpr std::uint32_t faultStatus = 0x8041000F;

/// What exists and what ever did.
struct Counts {
  std::atomic<std::int64_t> pools = 0, blocks = 0, transcoders = 0;
  std::atomic<std::int64_t> poolsMade = 0, blocksMade = 0, transcodersMade = 0;
};

class Instruments {
 public:
  Counts counts;

  void set(const Fault& fault);
  void clearFaults();
  /// Starts counting calls at zero, and recording them if `keepCalls`.
  void watch(bool keepCalls = true);
  void unwatch();
  /// How often a service was called since watch(); while nobody watches and no fault is set nothing is counted.
  std::uint64_t callsOf(Service service) const;
  /// The calls since watch(), in order; those of several threads as they came.
  std::vector<Call> calls() const;

  /// For the tables: false while calls need neither faults nor counting, which costs one load.
  bool active() const { return active_.load(std::memory_order_relaxed); }
  /// For the tables, once per call: counts it and returns the fault that strikes it.
  std::optional<Fault> enter(Service service);
  /// For the tables, when a call is over.
  void leave(const Call& call);

 private:
  struct Armed {
    Fault fault;
    std::uint64_t seen;
  };
  void refresh();  // with mutex_ held

  std::atomic<bool> active_ = false;
  mutable std::mutex mutex_;
  std::vector<Armed> faults_;
  bool counting_ = false, recording_ = false;
  std::array<std::uint64_t, static_cast<std::size_t>(Service::count_)> seen_{};
  std::vector<Call> calls_;
};

/// An address as a recorded number.
inline std::uint64_t number(const void* pointer) {
  return reinterpret_cast<std::uintptr_t>(pointer);
}

}  // namespace rq::host

#endif
