/* A host made of plain tables that writes down what it is asked, and refuses or lies on request.
 *
 * The tables are arrays of words, filled by slot number and without the library's headers in between; a word that the
 * library has no business with leads to a function that ends the process. The mock functions take whole argument
 * registers, and answer 32-bit statuses with a dirty upper half. One thread only; no ICU. */
#ifndef RQUNI_TESTS_MODEL_MOCK_HOST_H
#define RQUNI_TESTS_MODEL_MOCK_HOST_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "frame/rquni.h"
#include "tests/model/encodings.h"
#include "tests/model/fates.h"

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

  /// Refuses the n-th call of a service from now on, counted from 1 (0: every call; null or a failing status).
  void refuse(Service service, std::uint64_t nth);
  /// The n-th conversion from now on works, but tells a false length (0: every conversion).
  void lie(Lie lie, std::uint64_t nth);
  void behave();
  /// The same for chosen calls over all services together, and as often as wanted.
  Fates fates;
  /// Whether a conversion that claims more than it produced fills what it claims, as far as there is room.
  bool liesFill = false;

  /// What the option lookup and the session query answer.
  std::uint32_t optionStatus = 0;
  bool optionWrites = true;
  std::int64_t optionValue;
  std::uint32_t queryStatus = 0;
  bool queryWrites = true;
  std::int32_t queryValue = 0;
  /// A transcoder answers this after a conversion, unless it failed.
  std::uint32_t convertStatus = 0;
  /// When not null, conversions are this fixed answer instead of real ones: `produced` bytes of 0x2A.
  const std::uint64_t* fixedProduced = nullptr;

  /// The record: on by default.
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

  /// Balance: all zero after everything was ended as it should.
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
  struct Fault {
    bool active = false;
    std::uint64_t countdown = 0;
  };
  bool enter(Service service, std::array<std::uint64_t, 7> arguments, std::array<std::uint64_t, 3> seen = {},
             std::uint64_t digest = 0);
  static bool due(Fault& fault);
  void endBlock(std::size_t index);

  Table<64> kernel_;
  Table<64> context_;
  Table<128> nls_;
  Table<32> journal_;
  Table<192> case_;
  Table<96> charset_;
  std::array<std::uint64_t, static_cast<std::size_t>(Service::count)> counts_{};
  std::array<Fault, static_cast<std::size_t>(Service::count)> faults_{};
  Fault lieFault_;
  Services services_;
  Fate fate_;  // of the call that is being answered
  Lie lie_ = Lie::none;
  std::vector<Block> blocks_;
  std::vector<std::unique_ptr<MockPool>> pools_;
  std::vector<std::unique_ptr<MockTranscoder>> transcoders_;
};

}  // namespace rq::test

#endif
