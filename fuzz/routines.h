/* Fuzzing of the kit: a list of routines, each checked against its definition, unit by unit, between guard pages. */
#ifndef RQUNI_FUZZ_ROUTINES_H
#define RQUNI_FUZZ_ROUTINES_H

#include <cstring>

#include "support/guarded_buffer.h"
#include "support/library.h"
#include "support/mock_host.h"
#include "target.h"

namespace rq::fuzz {

/// One routine's name and the check that calls it; `name` is looked up in the library.
struct Routine {
  const char* name;
  void (*check)(const char* name, Recipe& recipe);
};

template <class Function>
Function* functionNamed(const char* name) {
  return test::Library::get().symbol<Function*>(name);
}

inline std::vector<std::string> namesOf(const Routine* routines, std::size_t count) {
  std::vector<std::string> names;
  for (std::size_t i = 0; i < count; ++i) names.emplace_back(routines[i].name);
  return names;
}

/// Units out of the recipe, flush against a guard page but for a shift that it chooses.
template <class Unit>
class Units {
 public:
  Units(Recipe& recipe, std::uint64_t mostUnits) : buffer_(2 * 4096) {
    shift_ = recipe.byte() % 40;
    count = recipe.below(static_cast<std::uint32_t>(mostUnits + 1));
    before.resize(count);
    const unsigned kind = recipe.byte();
    for (Unit& unit : before) unit = unitOf(recipe, kind);
    at = reinterpret_cast<Unit*>(buffer_.place(count * sizeof(Unit) + shift_));
    if (count) std::memcpy(static_cast<void*>(at), before.data(), count * sizeof(Unit));
  }

  std::vector<Unit> now() const {
    std::vector<Unit> units(count);
    if (count) std::memcpy(units.data(), static_cast<const void*>(at), count * sizeof(Unit));
    return units;
  }
  /// That nothing around the units is changed.
  bool intact() const {
    const auto* tail = reinterpret_cast<const std::uint8_t*>(at) + count * sizeof(Unit);
    for (unsigned i = 0; i < shift_; ++i)
      if (tail[i] != canary) return false;
    return buffer_.intact();
  }

  Unit* at;
  std::uint64_t count;
  std::vector<Unit> before;

 private:
  static constexpr std::uint8_t canary = 0xC7;
  /// Mostly one value, so that searches go far; else small differences, or anything.
  static Unit unitOf(Recipe& recipe, unsigned kind) {
    const std::uint8_t byte = recipe.byte();
    if (kind & 1) return static_cast<Unit>(byte);
    if constexpr (sizeof(Unit) > 1) {
      constexpr Unit blocks[] = {0x000, 0x100, 0x1C0, 0x380, 0x400, 0x1E00, 0x1F80, 0x2C00, 0xA640, 0xFF00, 0x10400};
      if (kind & 2) return static_cast<Unit>(blocks[kind / 4 % std::size(blocks)] + byte);
      if (byte >= 0xF0) return static_cast<Unit>(recipe.word());
    }
    return byte < 0xE0 ? static_cast<Unit>('a') : static_cast<Unit>(byte);
  }
  test::GuardedBuffer buffer_;
  unsigned shift_;
};

}  // namespace rq::fuzz

#endif
