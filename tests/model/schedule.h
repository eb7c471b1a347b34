/* What becomes of the calls that a host gets: which it refuses, which it answers with a false length. */
#ifndef RQUNI_TESTS_MODEL_FATES_H
#define RQUNI_TESTS_MODEL_FATES_H

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
  count
};
const char* nameOf(Service service);
/// Whether a host may refuse that service.
bool canFail(Service service);

/// What a lying conversion stores as the number of bytes produced.
enum class Lie {
  none,
  notSet,
  zero,
  capacity,
  capacityPlusOne,
  odd,        // one more where the truth is even
  notOfFour,  // no whole number of RQChar
  twoTo31,
  twoTo62,
  enormous,  // near the end of the address space
  most       // the largest number there is
};
inline constexpr Lie allLies[] = {Lie::notSet,    Lie::zero,    Lie::capacity, Lie::capacityPlusOne, Lie::odd,
                                  Lie::notOfFour, Lie::twoTo31, Lie::twoTo62,  Lie::enormous,        Lie::most};
/// What a conversion that produced `produced` bytes tells; `before` is what stood there when it was called.
std::uint64_t toldLength(Lie lie, std::uint64_t produced, std::uint64_t capacity, std::uint64_t before);

struct Fate {
  bool refused = false;
  Lie lie = Lie::none;  // conversions only
};

/// One call: the registers as they came, and what the pointers among them led to.
struct Call {
  Service service;
  std::array<std::uint64_t, 7> arguments;  // the object itself is the first
  std::array<std::uint64_t, 3> seen;       // per service, see mock_host.cpp
  std::uint64_t digest;                    // of the text handed over, with service, object and capacity
  Fate fate{};
};

/// The fates of calls to come, by their number or by what was asked before.
class Fates {
 public:
  /// All calls go well, and counting starts anew.
  void forget();
  /// The n-th call from now on, over all services that can fail, counted from 1.
  void set(std::uint64_t nth, Fate fate) { byNumber_.emplace_back(nth, fate); }
  /// Conversions and blocks fare as the same question did in `calls`: when it is asked for the k-th time as it did
  /// the k-th time, or the last. One who asks more often than another then meets the same host.
  void repeat(const std::vector<Call>& calls);
  /// Calls that could have failed.
  std::uint64_t count() const { return count_; }

  Fate next(Service service, std::uint64_t digest);

 private:
  using Question = std::pair<Service, std::uint64_t>;
  struct Repeated {
    Question question;
    std::vector<Fate> fates;
    std::size_t next = 0;
  };
  std::uint64_t count_ = 0;
  std::vector<std::pair<std::uint64_t, Fate>> byNumber_;
  std::vector<Repeated> byQuestion_;  // sorted; a map would be filled by code that the memory sanitizer cannot see
};

}  // namespace rq::test

#endif
