#include "tests/robustness/parallel_host.h"

#include <cstdlib>
#include <mutex>
#include <vector>

#include "tests/model/encodings.h"

namespace rq::test {

std::atomic<std::int64_t> ParallelHost::live_{0};

struct ParallelServices {
  struct Pool {
    RQPool table{};
    std::mutex mutex;
    std::vector<void*> blocks;
  };
  struct Transcoder {
    RQTranscoder table{};
    const Encoding* from = nullptr;
    const Encoding* to = nullptr;
  };

  static RQPool* createPool(RQKernel*, RQPoolParameters*, RQJournal*, const char*) {
    ++ParallelHost::live_;
    auto* pool = new Pool;
    pool->table.destroy = destroyPool;
    pool->table.allocate = allocate;
    pool->table.release = release;
    return &pool->table;
  }
  static RQStatus destroyPool(RQPool* table) {
    auto* pool = reinterpret_cast<Pool*>(table);
    for (void* block : pool->blocks) std::free(block);
    ParallelHost::live_ -= static_cast<std::int64_t>(pool->blocks.size()) + 1;
    delete pool;
    return 0;
  }
  static void* allocate(RQPool* table, std::uint64_t bytes, std::uint64_t) {
    auto* pool = reinterpret_cast<Pool*>(table);
    void* block = std::calloc(1, bytes);
    const std::lock_guard lock(pool->mutex);
    pool->blocks.push_back(block);
    ++ParallelHost::live_;
    return block;
  }
  static void release(RQPool* table, void* block) {
    auto* pool = reinterpret_cast<Pool*>(table);
    const std::lock_guard lock(pool->mutex);
    std::erase(pool->blocks, block);
    std::free(block);
    --ParallelHost::live_;
  }

  static RQTranscoder* createTranscoder(RQNlsServices*, std::uint64_t source, std::uint64_t target, std::uint64_t,
                                        std::uint64_t) {
    ++ParallelHost::live_;
    auto* transcoder = new Transcoder;
    transcoder->table.destroy = destroyTranscoder;
    transcoder->table.convert = convertText;
    transcoder->from = encodingOf(source);
    transcoder->to = encodingOf(target);
    return &transcoder->table;
  }
  static RQStatus destroyTranscoder(RQTranscoder* table) {
    --ParallelHost::live_;
    delete reinterpret_cast<Transcoder*>(table);
    return 0;
  }
  static RQStatus convertText(RQTranscoder* table, const void* input, std::uint64_t bytes, void* output,
                              std::uint64_t capacity, std::uint64_t* produced, std::uint64_t) {
    const auto* transcoder = reinterpret_cast<const Transcoder*>(table);
    const Conversion done = convert(*transcoder->from, *transcoder->to, static_cast<const std::uint8_t*>(input),
                                    bytes, static_cast<std::uint8_t*>(output), capacity);
    *produced = done.produced;
    return done.status;
  }

  static RQStatus lookUpOption(RQContext* context, const RQChar*, std::uint64_t, std::uint64_t, std::int64_t* value,
                               std::uint64_t*) {
    *value = reinterpret_cast<ParallelHost::Context*>(context)->encoding;
    return 0;
  }
  static RQChar sameCharacter(RQCaseService*, RQChar character, std::uint64_t) { return character; }
  static void upperCase(RQCharsetService*, void* buffer, std::uint64_t length, std::uint64_t) {
    auto* bytes = static_cast<std::uint8_t*>(buffer);
    for (std::uint64_t i = 0; i < length; ++i)
      if (bytes[i] >= 'a' && bytes[i] <= 'z') bytes[i] = static_cast<std::uint8_t>(bytes[i] - 32);
  }
  static std::uint64_t statusToJnl(RQJournal*, std::uint64_t, std::uint64_t, va_list) { return 0; }
};

ParallelHost::ParallelHost(std::uint32_t sessionEncoding) {
  charset_.upperCase = ParallelServices::upperCase;
  cases_.upper = cases_.lower = ParallelServices::sameCharacter;
  cases_.charset = &charset_;
  kernel_.table.createPool = ParallelServices::createPool;
  kernel_.table.caseService = &cases_;
  nls_.createTranscoder = ParallelServices::createTranscoder;
  journal_.statusToJnl = ParallelServices::statusToJnl;
  context_.encoding = sessionEncoding;
  context_.table.lookUpOption = ParallelServices::lookUpOption;
  context_.table.journal = &journal_;
  context_.table.nls = &nls_;
}

}  // namespace rq::test
