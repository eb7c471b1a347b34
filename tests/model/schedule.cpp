#include "tests/model/fates.h"

#include <algorithm>
#include <iterator>

namespace rq::test {

const char* nameOf(Service service) {
  constexpr const char* names[] = {
      "createPool",       "destroyPool",       "allocate",     "release",     "lookUpOption", "querySession",
      "createTranscoder", "destroyTranscoder", "convert",      "upper",       "lower",        "lookUpCharset",
      "upperCase",        "messageToBuf",      "messageToJnl", "statusToBuf", "statusToJnl"};
  static_assert(std::size(names) == static_cast<std::size_t>(Service::count));
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

std::uint64_t toldLength(Lie lie, std::uint64_t produced, std::uint64_t capacity, std::uint64_t before) {
  switch (lie) {
    case Lie::none:
      break;
    case Lie::notSet:
      return before;
    case Lie::zero:
      return 0;
    case Lie::capacity:
      return capacity;
    case Lie::capacityPlusOne:
      return capacity + 1;
    case Lie::odd:
      return produced | 1;
    case Lie::notOfFour:
      return produced | 2;
    case Lie::twoTo31:
      return std::uint64_t{1} << 31;
    case Lie::twoTo62:
      return std::uint64_t{1} << 62;
    case Lie::enormous:
      return UINT64_MAX - 6;
    case Lie::most:
      return UINT64_MAX;
  }
  return produced;
}

void Fates::forget() {
  count_ = 0;
  byNumber_.clear();
  byQuestion_.clear();
}

void Fates::repeat(const std::vector<Call>& calls) {
  forget();
  std::vector<std::pair<Question, std::size_t>> answered;  // and the number of the call
  for (std::size_t i = 0; i < calls.size(); ++i)
    if (calls[i].service == Service::convert || calls[i].service == Service::allocate)
      answered.push_back({{calls[i].service, calls[i].digest}, i});
  std::sort(answered.begin(), answered.end());
  for (const auto& [question, i] : answered) {
    if (byQuestion_.empty() || byQuestion_.back().question != question) byQuestion_.push_back({question, {}});
    byQuestion_.back().fates.push_back(calls[i].fate);
  }
}

Fate Fates::next(Service service, std::uint64_t digest) {
  if (!canFail(service)) return {};
  ++count_;
  for (const auto& [nth, fate] : byNumber_)
    if (nth == count_) return fate;
  const Question question(service, digest);
  const auto found = std::lower_bound(byQuestion_.begin(), byQuestion_.end(), question,
                                      [](const Repeated& a, const Question& b) { return a.question < b; });
  if (found == byQuestion_.end() || found->question != question) return {};
  Repeated& repeated = *found;
  const Fate fate = repeated.fates[repeated.next];
  if (repeated.next + 1 < repeated.fates.size()) ++repeated.next;
  return fate;
}

}  // namespace rq::test
