/* A host made of plain tables that records each call and fails as its schedule says.
 *
 * The tables are arrays of words, filled by slot number, so that a mistake in the library's headers shows. A call of
 * any other word ends the process. The mock functions take whole argument registers and return 32-bit statuses with a
 * dirty upper half. For one thread only. */
#ifndef RQUNI_TESTS_MODEL_MOCK_HOST_H
#define RQUNI_TESTS_MODEL_MOCK_HOST_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "frame/rquni.h"
#include "tests/model/encodings.h"
#include "tests/model/schedule.h"

namespace rq::test {

class MockHost;

/// Words of a table: the listed ones are set, all others end the process when called.
template <std::size_t Words>
struct Table {
  std::array<std::uintptr_t, Words> words;
  MockHost* host;
  explicit Table(MockHost* owner);
  template <class F>
  void set(std::size_t word, F* function) {
    words[word] = reinterpret_cast<std::uintptr_t>(function);
  }
};

struct MockPool : Table<16> {
  using Table::Table;
};

struct MockTranscoder : Table<16> {
  using Table::Table;
  std::uint64_t source = 0, target = 0;
  const Encoding* from = nullptr;
  const Encoding* to = nullptr;
};

class MockHost {
 public:
  /// The status of a refused call.
  static constexpr std::uint32_t refusalStatus = 0x805FFFFF;

  explicit MockHost(std::uint32_t sessionEncoding = latin1);
  ~MockHost();
  MockHost(const MockHost&) = delete;
  MockHost& operator=(const MockHost&) = delete;

  RQKernel* kernel() { return reinterpret_cast<RQKernel*>(&kernel_); }
  RQContext* context() { return reinterpret_cast<RQContext*>(&context_); }
  RQJournal* journal() { return reinterpret_cast<RQJournal*>(&journal_); }
  RQNlsServices* nls() { return reinterpret_cast<RQNlsServices*>(&nls_); }
  RQCaseService* caseService() { return reinterpret_cast<RQCaseService*>(&case_); }
  RQCharsetService* charsetService() { return reinterpret_cast<RQCharsetService*>(&charset_); }

  void setDefaultJournal(RQJournal* journal);
  void setNls(RQNlsServices* nls);
  void setJournalSlot(std::size_t slot, void* function) {
    journal_.words[slot] = reinterpret_cast<std::uintptr_t>(function);
  }

  /// Which of the services behind the kernel's word 27 the host has; all by default false.
  struct Services {
    bool caseService = false;
    bool cachedCharset = false;    // word 149 of the case service
    bool charsetOnLookUp = false;  // slot 153 finds "ZQD"
  };
  void offer(Services services);

  /// Which calls fail. Every test that wants a failure says so here.
  Schedule schedule;
  /// Whether a conversion that reports more than it produced fills what it reports, as far as there is room.
  bool fillsFalseLengths = false;

  /// What the option lookup and the session query answer.
  std::uint32_t optionStatus = 0;
  bool optionWrites = true;
  std::int64_t optionValue;
  std::uint32_t queryStatus = 0;
  bool queryWrites = true;
  std::int32_t queryValue = 0;
  /// The status of a conversion that did not fail.
  std::uint32_t convertStatus = 0;
  /// When not null, conversions are this fixed answer instead of real ones: `produced` bytes of 0x2A.
  const std::uint64_t* fixedProduced = nullptr;

  /// The record of calls: on by default.
  bool recording = true;
  std::vector<Call> calls;
  void forget();
  std::uint64_t count(Service service) const { return counts_[static_cast<std::size_t>(service)]; }

  /// Results of the journal's slots, and the arguments that they take from their list: 'i' for an integer, 'd' for a
  /// double.
  std::uint64_t journalResult = 0;
  const char* listShape = "";
  std::vector<std::uint64_t> listIntegers;
  std::vector<double> listDoubles;

  /// What the pool hands out.
  std::uint8_t poolPattern = 0xA5;
  std::uint64_t largestBlock = std::uint64_t{1} << 30;

  /// All zero once the library has given everything back.
  std::uint64_t livePools = 0, liveBlocks = 0, liveTranscoders = 0;
  /// Mistakes of the library: damaged canaries, blocks or objects released that are not live.
  std::uint64_t mistakes = 0;
  bool balanced() const { return livePools == 0 && liveBlocks == 0 && liveTranscoders == 0 && mistakes == 0; }

 private:
  friend struct MockFunctions;
  struct Block {
    std::uint8_t* memory;
    std::uint64_t bytes;
    MockPool* pool;
  };
  bool enter(Service service, std::array<std::uint64_t, 7> arguments, std::array<std::uint64_t, 3> seen = {},
             std::uint64_t digest = 0);
  void endBlock(std::size_t index);

  Table<64> kernel_;
  Table<64> context_;
  Table<128> nls_;
  Table<32> journal_;
  Table<192> case_;
  Table<96> charset_;
  std::array<std::uint64_t, static_cast<std::size_t>(Service::any)> counts_{};
  Services services_;
  Outcome outcome_ = Outcome::success;  // of the call that is being answered
  std::vector<Block> blocks_;
  std::vector<std::unique_ptr<MockPool>> pools_;
  std::vector<std::unique_ptr<MockTranscoder>> transcoders_;
};

}  // namespace rq::test

#endif
