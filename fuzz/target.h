/* What a fuzz target is made of: it reads a recipe from the fuzzer's bytes, and says which exported names and slots
 * it covers. A broken invariant ends the process. */
#ifndef RQUNI_FUZZ_TARGET_H
#define RQUNI_FUZZ_TARGET_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace rq::fuzz {

/// The fuzzer's bytes, read from the front; behind their end all are zero.
class Recipe {
 public:
  Recipe(const std::uint8_t* data, std::size_t bytes) : at_(data), end_(data + bytes) {}

  std::uint8_t byte() { return at_ != end_ ? *at_++ : std::uint8_t{0}; }
  std::uint32_t below(std::uint32_t limit) { return (byte() | std::uint32_t{byte()} << 8) % limit; }
  std::uint64_t word();
  std::vector<std::uint8_t> rest() { return {at_, end_}; }
  std::size_t left() const { return static_cast<std::size_t>(end_ - at_); }

 private:
  const std::uint8_t* at_;
  const std::uint8_t* end_;
};

[[noreturn]] void broken(const char* invariant, const char* where);
inline void expect(bool holds, const char* invariant, const char* where) {
  if (!holds) broken(invariant, where);
}

/// Defined by each target.
void runOnce(Recipe& recipe);
std::vector<std::string> coveredNames();

}  // namespace rq::fuzz

#endif
