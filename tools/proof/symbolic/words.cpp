#include "symbolic/words.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace rq::proof {

Prover& Prover::get() {
  static Prover prover;
  return prover;
}

std::uint32_t Prover::add(const z3::expr& expression) {
  if (nodes_.size() == std::size_t{1} << Word<std::uint32_t>::numberBits) std::abort();
  nodes_.push_back(expression);
  return static_cast<std::uint32_t>(nodes_.size() - 1);
}

bool Prover::isPossible(const z3::expr& condition) {
  solver_.push();
  solver_.add(condition);
  const z3::check_result result = solver_.check();
  solver_.pop();
  if (result == z3::unknown) std::abort();
  return result == z3::sat;
}

void Prover::claim(const z3::expr& condition, const char* what) {
  const z3::expr simple = condition.simplify();
  if (simple.is_true() || !refutation_.empty()) return;
  z3::solver solver(context_, "QF_BV");  // one that is asked once is far faster
  for (const z3::expr& assumed : solver_.assertions()) solver.add(assumed);
  solver.add(!simple);
  const z3::check_result result = solver.check();
  if (result == z3::unsat) return;
  refutation_ = std::string(what) + ": " + (result == z3::sat ? solver.get_model().to_string() : "unknown");
}

bool Prover::decide(const z3::expr& condition) {
  const z3::expr simple = condition.simplify();
  if (simple.is_true() || simple.is_false()) return simple.is_true();
  if (depth_ == decisions_.size()) {
    const bool possible = isPossible(simple);
    decisions_.push_back({possible, possible && isPossible(!simple), 0});
  }
  const bool taken = decisions_[depth_++].taken;
  solver_.add(taken ? simple : !simple);
  return taken;
}

std::uint64_t Prover::valueOf(const z3::expr& number) {
  for (;;) {
    std::uint64_t value = 0;
    if (depth_ < decisions_.size()) {
      value = decisions_[depth_].value;
    } else {
      if (solver_.check() != z3::sat) std::abort();
      if (!solver_.get_model().eval(number, true).is_numeral_u64(value)) std::abort();
    }
    const std::size_t place = depth_;
    const z3::expr same = number == context_.bv_val(value, number.get_sort().bv_size());
    const bool taken = decide(same);
    if (place < decisions_.size()) decisions_[place].value = value;
    if (taken) return value;
  }
}

/// Turns to the path that differs in the last decision that was open.
bool Prover::next() {
  while (!decisions_.empty() && !decisions_.back().open) decisions_.pop_back();
  if (decisions_.empty()) return false;
  decisions_.back().taken = !decisions_.back().taken;
  decisions_.back().open = false;
  return true;
}

void Prover::prove(const std::string& name, std::size_t cases, const std::function<void(std::size_t)>& body) {
  refutation_.clear();
  unsigned paths = 0;
  const auto start = std::chrono::steady_clock::now();
  for (std::size_t i = 0; i < cases && refutation_.empty(); ++i) {
    decisions_.clear();
    do {
      ++paths;
      depth_ = 0;
      nodes_.clear();
      Memory::get().clear();
      solver_.push();
      body(i);
      solver_.pop();
    } while (refutation_.empty() && next());
  }
  ++(refutation_.empty() ? proven_ : refuted_);
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  if (refutation_.empty())
    std::printf("proven   %s (%zu cases, %u paths, %.1f s)\n", name.c_str(), cases, paths, seconds.count());
  else
    std::printf("REFUTED  %s: %s\n", name.c_str(), refutation_.c_str());
  std::fflush(stdout);
}

int Prover::finish() const {
  std::printf("%u proven, %u refuted\n", proven_, refuted_);
  return refuted_ == 0 ? 0 : 1;
}

Memory& Memory::get() {
  static Memory memory;
  return memory;
}

void Memory::clear() {
  shadows_.clear();
  inside_.clear();
  edges_.clear();
  blocks_.clear();
}

std::uint8_t* Memory::buffer(std::size_t bytes, std::size_t offset) {
  constexpr std::uint8_t unused = 0xA5;
  auto& block = blocks_.emplace_back(2 * edge + bytes + 128, unused);
  const auto first = reinterpret_cast<std::uintptr_t>(block.data());
  const std::uintptr_t begin = (first + edge + 63) / 64 * 64 + offset;
  inside_.push_back({begin, begin + bytes});
  edges_.push_back({begin - edge, begin + bytes + edge / 2});
  return reinterpret_cast<std::uint8_t*>(begin);
}

void Memory::check(const void* at, std::size_t count) const {
  const auto begin = reinterpret_cast<std::uintptr_t>(at), end = begin + count;
  for (std::size_t i = 0; i < inside_.size(); ++i) {
    if (end <= edges_[i].begin || begin >= edges_[i].end) continue;
    Prover::get().claim(begin >= inside_[i].begin && end <= inside_[i].end, "nothing beyond a buffer is touched");
  }
}

void Memory::read(const void* from, Byte* bytes, std::size_t count) const {
  check(from, count);
  const auto* const own = static_cast<const std::uint8_t*>(from);
  for (std::size_t i = 0; i < count; ++i) {
    const auto found = shadows_.find(reinterpret_cast<std::uintptr_t>(own + i));
    if (found != shadows_.end() && found->second.own == own[i]) {
      bytes[i] = found->second.byte;
      continue;
    }
    bytes[i] = {.known = own[i]};
    if (i % 4 != 0 || count - i < 4) continue;
    Word<std::uint32_t> written;  // as the code wrote it, without a word of ours
    std::memcpy(&written, own + i, sizeof written);
    if (written.isKnown()) continue;
    split(written, bytes + i);
    i += 3;
  }
}

void Memory::write(void* to, const Byte* bytes, std::size_t count) {
  check(to, count);
  auto* const own = static_cast<std::uint8_t*>(to);
  for (std::size_t i = 0; i < count; ++i) {
    if (bytes[i].isKnown) own[i] = bytes[i].known;
  }
  // Code that reads four bytes as a word of ours finds one.
  for (std::size_t i = 0; i + 4 <= count; i += 4) {
    const Word<std::uint32_t> word = joined<std::uint32_t>(bytes + i);
    if (!word.isKnown()) std::memcpy(own + i, &word, sizeof word);
  }
  for (std::size_t i = 0; i < count; ++i) shadows_[reinterpret_cast<std::uintptr_t>(own + i)] = {bytes[i], own[i]};
}

}  // namespace rq::proof
