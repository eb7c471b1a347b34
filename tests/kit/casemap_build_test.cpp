// The builders of the case tables: what is right expands, what is wrong does not compile.
#include "kit/casemap/build.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "kit/casemap/case_map.h"
#include "kit/casemap/class_runs.h"

namespace rq::kit::casemap {
namespace {

template <std::size_t Count>
struct List {
  Run runs[Count];
};
template <std::size_t Count>
List(const Run (&)[Count]) -> List<Count>;

constexpr std::uint16_t firstAndThird[] = {0, 2};

/// Do these runs expand into tables of the blocks 0 and 2?
template <List list>
concept Builds = requires {
  typename std::bool_constant<(shiftsOf<2>(Runs(list.runs), Blocks(firstAndThird)), true)>;
};

static_assert(Builds<List{{each(0x41, 0x5A, 32), everyOther(0x100, 0x104, 1)}}>);
static_assert(!Builds<List{{single(0x80, 1)}}>, "a run outside its blocks");
static_assert(!Builds<List{{each(0x7E, 0x100, 1)}}>, "a run that leaves its blocks");
static_assert(!Builds<List{{single(0x10000, 1)}}>, "a run outside the plane");
static_assert(!Builds<List{{each(0x41, 0x5A, 32), single(0x5A, 1)}}>, "a character mapped twice");
static_assert(!Builds<List{{single(0x41, 0)}}>, "a character mapped to itself");
static_assert(!Builds<List{{everyOther(0x41, 0x44, 1)}}>, "a run that steps over its end");
static_assert(!Builds<List{{each(0x44, 0x41, 1)}}>, "a run that ends before it begins");

template <std::size_t Pairs, List list>
concept HasExceptions = requires {
  typename std::bool_constant<(exceptionsOf<Pairs>(Runs(list.runs)), true)>;
};
static_assert(HasExceptions<1, List{{single(0x41, 128), single(0x42, 127), single(0x43, -127)}}>);
static_assert(HasExceptions<2, List{{each(0x41, 0x42, -128)}}>);
static_assert(!HasExceptions<1, List{{each(0x41, 0x42, -128)}}>, "more exceptions than were counted");
static_assert(!HasExceptions<3, List{{each(0x41, 0x42, -128)}}>, "fewer exceptions than were counted");

constexpr std::uint16_t descending[] = {2, 0};
template <auto& blocks>
concept Orders = requires {
  typename std::bool_constant<(metaOf<std::int16_t>(blocks), true)>;
};
static_assert(Orders<firstAndThird> && !Orders<descending>);

static_assert(!blocksAreUsed(shiftsOf<2>(Runs(List{{single(0x41, 1)}}.runs), firstAndThird),
                             shiftsOf<2>(Runs(List{{single(0x42, 1)}}.runs), firstAndThird)));

TEST(CaseMapBuild, ExpandsRunsInTheOrderOfTheBlocks) {
  static constexpr casemap::Run runs[] = {each(0x41, 0x43, 32), everyOther(0x100, 0x104, -1)};
  constexpr auto shifts = shiftsOf<2>(runs, firstAndThird);
  for (std::size_t i = 0; i < shifts.size(); ++i) {
    const std::int32_t expected = i >= 0x41 && i <= 0x43 ? 32 : i == 128 || i == 130 || i == 132 ? -1 : 0;
    EXPECT_EQ(shifts[i], expected) << i;
  }
  constexpr auto meta = metaOf<std::int16_t>(firstAndThird);
  for (std::size_t block = 0; block < meta.size(); ++block)
    EXPECT_EQ(meta[block], block == 0 ? 0 : block == 2 ? 128 : -1);
}

TEST(CaseClassTables, HaveTheirBlocksInOrder) {
  constexpr std::uint16_t smallest[] = {0,  1,  2,  3,  4,  5,  6,  7,  8,   9,   10,  11,  39,  57,  60, 61,
                                        62, 63, 66, 67, 73, 88, 89, 90, 332, 333, 334, 335, 342, 343, 510};
  constexpr std::uint16_t largest[] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,   10,  33,  39,  57, 58,
                                       60, 61, 62, 63, 66, 67, 73, 88, 89, 332, 333, 334, 335, 510};
  const auto check = [](const CaseMap& map, Blocks blocks, std::size_t count) {
    ASSERT_EQ(blocks.size(), count);
    std::int32_t start = 128;
    for (std::uint16_t block = 0, i = 0; block < 512; ++block) {
      const bool present = i < blocks.size() && blocks[i] == block;
      EXPECT_EQ(map.meta[block], present ? start : 0) << block;
      if (present) ++i, start += 128;
    }
    EXPECT_EQ(map.meta[512], 0);
    for (int i = 0; i < 128; ++i) EXPECT_EQ(map.shift[i], 0) << i;
  };
  check(toSmallest, smallest, 31);
  check(toLargest, largest, 29);
}

}  // namespace
}  // namespace rq::kit::casemap
