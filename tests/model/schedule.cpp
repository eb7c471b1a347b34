#include "tests/model/schedule.h"

#include <algorithm>
#include <iterator>

namespace rq::test {

const char* nameOf(Service service) {
  constexpr const char* names[] = {
      "createPool",       "destroyPool",       "allocate",     "release",     "lookUpOption", "querySession",
      "createTranscoder", "destroyTranscoder", "convert",      "upper",       "lower",        "lookUpCharset",
      "upperCase",        "messageToBuf",      "messageToJnl", "statusToBuf", "statusToJnl",  "any service"};
  static_assert(std::size(names) == static_cast<std::size_t>(Service::any) + 1);
  return names[static_cast<std::size_t>(service)];
}

bool canFail(Service service) {
  constexpr Service all[] = {Service::createPool,   Service::allocate,         Service::lookUpOption,
                             Service::querySession, Service::createTranscoder, Service::convert,
                             Service::lookUpCharset};
  for (const Service one : all)
    if (one == service) return true;
  return false;
}

std::uint64_t reportedLength(Outcome outcome, std::uint64_t produced, std::uint64_t capacity, std::uint64_t before) {
  switch (outcome) {
    case Outcome::success:
    case Outcome::refusal:
      break;
    case Outcome::lengthNotStored:
      return before;
    case Outcome::lengthZero:
      return 0;
    case Outcome::lengthCapacity:
      return capacity;
    case Outcome::lengthCapacityPlusOne:
      return capacity + 1;
    case Outcome::lengthOdd:
      return produced | 1;
    case Outcome::lengthNotOfFour:
      return produced | 2;
    case Outcome::lengthTwoTo31:
      return std::uint64_t{1} << 31;
    case Outcome::lengthTwoTo62:
      return std::uint64_t{1} << 62;
    case Outcome::lengthNearMax:
      return UINT64_MAX - 6;
    case Outcome::lengthMax:
      return UINT64_MAX;
  }
  return produced;
}

void Schedule::clear() {
  counts_ = {};
  failures_.clear();
  repeated_.clear();
}

void Schedule::add(const Failure& failure) {
  const std::uint64_t now = counts_[static_cast<std::size_t>(failure.service)];
  failures_.push_back(failure);
  if (failure.nth != Failure::always) failures_.back().nth += now;
}

void Schedule::repeat(const std::vector<Call>& calls) {
  clear();
  std::vector<std::pair<Request, std::size_t>> requests;  // and the number of the call
  for (std::size_t i = 0; i < calls.size(); ++i)
    if (calls[i].service == Service::convert || calls[i].service == Service::allocate)
      requests.push_back({{calls[i].service, calls[i].digest}, i});
  std::sort(requests.begin(), requests.end());
  for (const auto& [request, i] : requests) {
    if (repeated_.empty() || repeated_.back().request != request) repeated_.push_back({request, {}});
    repeated_.back().outcomes.push_back(calls[i].outcome);
  }
}

Outcome Schedule::next(Service service, std::uint64_t digest) {
  if (!canFail(service)) return Outcome::success;
  ++counts_[static_cast<std::size_t>(service)];
  ++counts_[static_cast<std::size_t>(Service::any)];
  for (const Failure& failure : failures_) {
    if (failure.service != service && failure.service != Service::any) continue;
    if (failure.nth == Failure::always || failure.nth == counts_[static_cast<std::size_t>(failure.service)])
      return failure.outcome;
  }
  if (repeated_.empty()) return Outcome::success;
  const Request request(service, digest);
  const auto found = std::lower_bound(repeated_.begin(), repeated_.end(), request,
                                      [](const Repeated& a, const Request& b) { return a.request < b; });
  if (found == repeated_.end() || found->request != request) return Outcome::success;
  const Outcome outcome = found->outcomes[found->next];
  if (found->next + 1 < found->outcomes.size()) ++found->next;
  return outcome;
}

}  // namespace rq::test
