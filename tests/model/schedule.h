/* Which calls of a host fail, and how: refused, or answered with a false length. */
#ifndef RQUNI_TESTS_MODEL_SCHEDULE_H
#define RQUNI_TESTS_MODEL_SCHEDULE_H

#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace rq::test {

enum class Service : unsigned {
  createPool,
  destroyPool,
  allocate,
  release,
  lookUpOption,
  querySession,
  createTranscoder,
  destroyTranscoder,
  convert,
  upper,
  lower,
  lookUpCharset,
  upperCase,
  messageToBuf,
  messageToJnl,
  statusToBuf,
  statusToJnl,
  any  // of those that can fail
};
const char* nameOf(Service service);
/// Whether a host may refuse that service.
bool canFail(Service service);

/// What a host makes of a call. From `lengthNotStored` on a conversion succeeds and reports a false length; other
/// services have no length and succeed.
enum class Outcome {
  success,
  refusal,
  lengthNotStored,
  lengthZero,
  lengthCapacity,
  lengthCapacityPlusOne,
  lengthOdd,        // one more where the true length is even
  lengthNotOfFour,  // no whole number of RQChar
  lengthTwoTo31,
  lengthTwoTo62,
  lengthNearMax,  // near the end of the address space
  lengthMax
};
inline constexpr Outcome falseLengths[] = {
    Outcome::lengthNotStored, Outcome::lengthZero,      Outcome::lengthCapacity, Outcome::lengthCapacityPlusOne,
    Outcome::lengthOdd,       Outcome::lengthNotOfFour, Outcome::lengthTwoTo31,  Outcome::lengthTwoTo62,
    Outcome::lengthNearMax,   Outcome::lengthMax};
/// The length that a conversion reports after it produced `produced` bytes; `before` stood there when it was called.
std::uint64_t reportedLength(Outcome outcome, std::uint64_t produced, std::uint64_t capacity, std::uint64_t before);

/// One call: the registers as they came, and what the pointers among them led to.
struct Call {
  Service service;
  std::array<std::uint64_t, 7> arguments;  // the object itself is the first
  std::array<std::uint64_t, 3> seen;       // per service, see mock_host.cpp
  std::uint64_t digest;                    // of the input text, with service, object and capacity
  Outcome outcome = Outcome::success;
};

/// The outcome of one call: the n-th of a service, or of all that can fail, counted from 1.
struct Failure {
  static constexpr std::uint64_t always = 0;  // as `nth`: every call

  Service service = Service::any;
  std::uint64_t nth = always;
  Outcome outcome = Outcome::success;
};

/// The outcomes of the calls to come.
class Schedule {
 public:
  /// All calls succeed, and counting starts again.
  void clear();
  /// Counts `failure.nth` from now on.
  void add(const Failure& failure);
  void refuse(Service service, std::uint64_t nth) { add({service, nth, Outcome::refusal}); }
  /// Conversions and allocations get the outcomes of the same requests in `calls`: the k-th of equal requests that of
  /// the k-th there, or of the last. So a twin meets the same host, even where it asks more often.
  void repeat(const std::vector<Call>& calls);
  /// Calls since `clear` that could have failed.
  std::uint64_t count() const { return counts_[static_cast<std::size_t>(Service::any)]; }

  /// Counts a call and decides it.
  Outcome next(Service service, std::uint64_t digest);

 private:
  using Request = std::pair<Service, std::uint64_t>;
  struct Repeated {
    Request request;
    std::vector<Outcome> outcomes;
    std::size_t next = 0;
  };

  std::array<std::uint64_t, static_cast<std::size_t>(Service::any) + 1> counts_{};
  std::vector<Failure> failures_;   // `nth` as the service's count will then be
  std::vector<Repeated> repeated_;  // sorted; the memory sanitizer does not see what fills a std::map
};

}  // namespace rq::test

#endif
