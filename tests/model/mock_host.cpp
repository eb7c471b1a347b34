#include "tests/model/mock_host.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace rq::test {
namespace {

constexpr std::uint64_t dirty = 0xD1D1D1D100000000;  // upper half of a register that holds a 32-bit answer
constexpr std::size_t canaryBytes = 32;
constexpr std::uint8_t canary = 0x3C;

void unlistedSlot() {
  std::fprintf(stderr, "the library called a slot that it must not call\n");
  std::abort();
}

template <class T>
std::uint64_t word(T* pointer) {
  return reinterpret_cast<std::uint64_t>(pointer);
}

/// A word at a time: the differential runs make millions of calls a second.
std::uint64_t digestOf(std::uint64_t seed, const void* data, std::uint64_t bytes) {
  const auto* at = static_cast<const std::uint8_t*>(data);
  std::uint64_t hash = (seed ^ 0xCBF29CE484222325 ^ bytes << 32) * 0x9E3779B97F4A7C15;
  for (std::uint64_t left = bytes; left > 0;) {
    const std::uint64_t size = left < 8 ? left : 8;
    std::uint64_t word = 0;
    std::memcpy(&word, at, size);
    hash = (hash ^ word) * 0x9E3779B97F4A7C15;
    hash ^= hash >> 29;
    at += size;
    left -= size;
  }
  return hash;
}

}  // namespace

template <std::size_t Words>
Table<Words>::Table(MockHost* owner) : host(owner) {
  words.fill(reinterpret_cast<std::uintptr_t>(&unlistedSlot));
}

/// The functions behind the slots.
struct MockFunctions {
  template <std::size_t Words>
  static MockHost& hostOf(Table<Words>* table) {
    return *table->host;
  }

  // seen: 0 when the parameter block is all zero, 0 when the description is right
  static MockPool* createPool(Table<64>* kernel, std::uint64_t parameters, std::uint64_t journal,
                              std::uint64_t description) {
    MockHost& host = hostOf(kernel);
    constexpr std::uint8_t zeros[24] = {};
    const bool parametersWrong = std::memcmp(reinterpret_cast<void*>(parameters), zeros, sizeof zeros) != 0;
    const bool descriptionWrong = std::strcmp(reinterpret_cast<const char*>(description), "RQUNI Extension") != 0;
    if (!host.enter(Service::createPool, {word(kernel), parameters, journal, description},
                    {parametersWrong, descriptionWrong}))
      return nullptr;
    auto pool = std::make_unique<MockPool>(&host);
    pool->set(2, &destroyPool);
    pool->set(3, &allocate);
    pool->set(4, &release);
    ++host.livePools;
    host.pools_.push_back(std::move(pool));
    return host.pools_.back().get();
  }

  static std::uint64_t destroyPool(MockPool* pool) {
    MockHost& host = hostOf(pool);
    host.enter(Service::destroyPool, {word(pool)});
    for (std::size_t i = host.blocks_.size(); i > 0; --i)
      if (host.blocks_[i - 1].pool == pool) host.endBlock(i - 1);
    for (std::size_t i = 0; i < host.pools_.size(); ++i) {
      if (host.pools_[i].get() != pool) continue;
      host.pools_.erase(host.pools_.begin() + static_cast<std::ptrdiff_t>(i));
      --host.livePools;
      return dirty;
    }
    ++host.mistakes;
    return dirty;
  }

  static void* allocate(MockPool* pool, std::uint64_t bytes, std::uint64_t flags) {
    MockHost& host = hostOf(pool);
    if (!host.enter(Service::allocate, {word(pool), bytes, flags}, {}, digestOf(3, &bytes, 8))) return nullptr;
    if (bytes > host.largestBlock) return nullptr;
    auto* memory = static_cast<std::uint8_t*>(std::malloc(bytes + 2 * canaryBytes));
    std::memset(memory, canary, canaryBytes);
    std::memset(memory + canaryBytes, host.poolPattern, bytes);
    std::memset(memory + canaryBytes + bytes, canary, canaryBytes);
    host.blocks_.push_back({memory, bytes, pool});
    ++host.liveBlocks;
    return memory + canaryBytes;
  }

  static void release(MockPool* pool, std::uint8_t* memory) {
    MockHost& host = hostOf(pool);
    host.enter(Service::release, {word(pool), word(memory)});
    for (std::size_t i = 0; i < host.blocks_.size(); ++i)
      if (host.blocks_[i].memory + canaryBytes == memory && host.blocks_[i].pool == pool) return host.endBlock(i);
    ++host.mistakes;
  }

  // seen: value and value length as they came in, 0 when the name is right and ends with a zero
  static std::uint64_t lookUpOption(Table<64>* context, std::uint64_t name, std::uint64_t length, std::uint64_t three,
                                    std::int64_t* value, std::uint64_t* valueBytes) {
    MockHost& host = hostOf(context);
    constexpr char32_t expected[] = U"RQNLS.ZMX_SESSION_CEI";
    const bool nameWrong = length != std::size(expected) - 1 ||
                           std::memcmp(reinterpret_cast<void*>(name), expected, sizeof expected) != 0;
    if (!host.enter(Service::lookUpOption, {word(context), name, length, three, word(value), word(valueBytes)},
                    {static_cast<std::uint64_t>(*value), *valueBytes, nameWrong}))
      return dirty | MockHost::refusalStatus;
    if (host.optionWrites) *value = host.optionValue;
    return dirty | host.optionStatus;
  }

  // seen: the integer as it came in
  static std::uint64_t querySession(Table<128>* nls, std::int32_t* encoding) {
    MockHost& host = hostOf(nls);
    if (!host.enter(Service::querySession, {word(nls), word(encoding)},
                    {static_cast<std::uint64_t>(static_cast<std::int64_t>(*encoding))}))
      return dirty | MockHost::refusalStatus;
    if (host.queryWrites) *encoding = host.queryValue;
    return dirty | host.queryStatus;
  }

  static MockTranscoder* createTranscoder(Table<128>* nls, std::uint64_t source, std::uint64_t target,
                                          std::uint64_t zero1, std::uint64_t zero2) {
    MockHost& host = hostOf(nls);
    if (!host.enter(Service::createTranscoder, {word(nls), source, target, zero1, zero2})) return nullptr;
    auto transcoder = std::make_unique<MockTranscoder>(&host);
    transcoder->set(2, &destroyTranscoder);
    transcoder->set(4, &convertText);
    transcoder->source = source;
    transcoder->target = target;
    transcoder->from = encodingOf(source);
    transcoder->to = encodingOf(target);
    ++host.liveTranscoders;
    host.transcoders_.push_back(std::move(transcoder));
    return host.transcoders_.back().get();
  }

  static std::uint64_t destroyTranscoder(MockTranscoder* transcoder) {
    MockHost& host = hostOf(transcoder);
    host.enter(Service::destroyTranscoder, {word(transcoder)});
    for (std::size_t i = 0; i < host.transcoders_.size(); ++i) {
      if (host.transcoders_[i].get() != transcoder) continue;
      host.transcoders_.erase(host.transcoders_.begin() + static_cast<std::ptrdiff_t>(i));
      --host.liveTranscoders;
      return dirty;
    }
    ++host.mistakes;
    return dirty;
  }

  // seen: the produced length as it came in
  static std::uint64_t convertText(MockTranscoder* transcoder, const std::uint8_t* in, std::uint64_t bytes,
                                   std::uint8_t* out, std::uint64_t capacity, std::uint64_t* produced,
                                   std::uint64_t flags) {
    MockHost& host = hostOf(transcoder);
    std::uint64_t digest = 0;
    if (host.recording) {
      const std::uint64_t head[] = {transcoder->source, transcoder->target, capacity};
      digest = digestOf(digestOf(8, head, sizeof head), in, bytes);
    }
    const bool goes =
        host.enter(Service::convert, {word(transcoder), word(in), bytes, word(out), capacity, word(produced), flags},
                   {*produced}, digest);
    if (!goes) return *produced = 0, dirty | MockHost::refusalStatus;
    Conversion done{0, 0};
    if (host.fixedProduced) {
      done.produced = *host.fixedProduced;
      std::memset(out, 0x2A, done.produced < capacity ? done.produced : capacity);
    } else if (transcoder->from && transcoder->to) {
      done = convert(*transcoder->from, *transcoder->to, in, bytes, out, capacity);
    }
    const std::uint64_t reported = reportedLength(host.outcome_, done.produced, capacity, *produced);
    if (host.fillsFalseLengths && reported > done.produced)
      std::memset(out + done.produced, '.', (reported < capacity ? reported : capacity) - done.produced);
    *produced = reported;
    return dirty | (done.status ? done.status : host.convertStatus);
  }

  // Upper case as the mock's service sees it: fullwidth digits and letters become their ASCII forms, so that a test
  // can tell that the service was asked.
  static std::uint64_t upper(Table<192>* service, std::uint64_t character, std::uint64_t one) {
    MockHost& host = hostOf(service);
    host.enter(Service::upper, {word(service), character, one});
    const auto c = static_cast<std::uint32_t>(character);
    if (c >= 0xFF10 && c <= 0xFF19) return dirty | (c - 0xFF10 + '0');
    if (c >= 0xFF41 && c <= 0xFF5A) return dirty | (c - 0xFF41 + 'A');
    return dirty | c;
  }

  static std::uint64_t lower(Table<192>* service, std::uint64_t character, std::uint64_t one) {
    hostOf(service).enter(Service::lower, {word(service), character, one});
    return dirty | static_cast<std::uint32_t>(character);
  }

  // seen: 0 when the name is right
  static Table<96>* lookUpCharset(Table<192>* service, std::uint64_t name, std::uint64_t length,
                                  std::uint32_t* status) {
    MockHost& host = hostOf(service);
    const bool nameWrong = length != 3 || std::memcmp(reinterpret_cast<void*>(name), U"ZQD", 12) != 0;
    const bool found = host.enter(Service::lookUpCharset, {word(service), name, length, word(status)}, {nameWrong}) &&
                       host.services_.charsetOnLookUp;
    *status = found ? 0x803FE999 : 0;  // the status says nothing, only the result does
    return found ? &host.charset_ : nullptr;
  }

  // Upper-cases, and makes a 'D' of the dollar sign, so that a test can tell that the service was asked.
  static void upperCase(Table<96>* service, std::uint8_t* buffer, std::uint64_t length, std::uint64_t zero) {
    MockHost& host = hostOf(service);
    host.enter(Service::upperCase, {word(service), word(buffer), length, zero}, {}, digestOf(12, buffer, length));
    for (std::uint64_t i = 0; i < length; ++i) {
      if (buffer[i] >= 'a' && buffer[i] <= 'z') buffer[i] = static_cast<std::uint8_t>(buffer[i] - 0x20);
      if (buffer[i] == '$') buffer[i] = 'D';
    }
  }

  static void readList(MockHost& host, va_list list) {
    host.listIntegers.clear();
    host.listDoubles.clear();
    for (const char* shape = host.listShape; *shape; ++shape) {
      if (*shape == 'i') host.listIntegers.push_back(va_arg(list, std::uint64_t));
      if (*shape == 'd') host.listDoubles.push_back(va_arg(list, double));
    }
  }

  // seen: how many general and vector argument registers stand before the list
  static std::array<std::uint64_t, 3> listHead(va_list list) {
    std::uint32_t offsets[2];  // a list begins with the offsets of its next general and vector register
    std::memcpy(offsets, list, sizeof offsets);
    return {offsets[0] / 8, (offsets[1] - 48) / 16, 0};
  }

  static std::uint64_t messageToBuf(Table<32>* journal, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3,
                                    std::uint64_t a4, std::uint64_t a5, va_list list) {
    MockHost& host = hostOf(journal);
    host.enter(Service::messageToBuf, {word(journal), a1, a2, a3, a4, a5}, listHead(list));
    return readList(host, list), host.journalResult;
  }

  static std::uint64_t messageToJnl(Table<32>* journal, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3,
                                    va_list list) {
    MockHost& host = hostOf(journal);
    host.enter(Service::messageToJnl, {word(journal), a1, a2, a3}, listHead(list));
    return readList(host, list), host.journalResult;
  }

  static std::uint64_t statusToBuf(Table<32>* journal, std::uint64_t a1, std::uint64_t a2, std::uint64_t a3,
                                   std::uint64_t a4, va_list list) {
    MockHost& host = hostOf(journal);
    host.enter(Service::statusToBuf, {word(journal), a1, a2, a3, a4}, listHead(list));
    return readList(host, list), host.journalResult;
  }

  static std::uint64_t statusToJnl(Table<32>* journal, std::uint64_t level, std::uint64_t status, va_list list) {
    MockHost& host = hostOf(journal);
    host.enter(Service::statusToJnl, {word(journal), level, status}, listHead(list));
    return readList(host, list), host.journalResult;
  }
};

MockHost::MockHost(std::uint32_t sessionEncoding)
    : optionValue(sessionEncoding),
      kernel_(this),
      context_(this),
      nls_(this),
      journal_(this),
      case_(this),
      charset_(this) {
  kernel_.set(6, &MockFunctions::createPool);
  context_.set(14, &MockFunctions::lookUpOption);
  nls_.set(14, &MockFunctions::createTranscoder);
  nls_.set(78, &MockFunctions::querySession);
  journal_.set(4, &MockFunctions::messageToBuf);
  journal_.set(5, &MockFunctions::messageToJnl);
  journal_.set(6, &MockFunctions::statusToBuf);
  journal_.set(7, &MockFunctions::statusToJnl);
  case_.set(31, &MockFunctions::upper);
  case_.set(32, &MockFunctions::lower);
  case_.set(153, &MockFunctions::lookUpCharset);
  charset_.set(54, &MockFunctions::upperCase);
  setDefaultJournal(journal());
  setNls(nls());
  offer({});
}

MockHost::~MockHost() {
  while (!blocks_.empty()) endBlock(blocks_.size() - 1);
}

void MockHost::setDefaultJournal(RQJournal* journal) {
  context_.words[26] = word(journal);
}
void MockHost::setNls(RQNlsServices* nls) {
  context_.words[27] = word(nls);
}

void MockHost::offer(Services services) {
  services_ = services;
  kernel_.words[27] = services.caseService ? word(&case_) : 0;
  case_.words[149] = services.cachedCharset ? word(&charset_) : 0;
}

void MockHost::forget() {
  calls.clear();
  counts_ = {};
}

bool MockHost::enter(Service service, std::array<std::uint64_t, 7> arguments, std::array<std::uint64_t, 3> seen,
                     std::uint64_t digest) {
  ++counts_[static_cast<std::size_t>(service)];
  outcome_ = schedule.next(service, digest);
  if (recording) calls.push_back({service, arguments, seen, digest, outcome_});
  return outcome_ != Outcome::refusal;
}

void MockHost::endBlock(std::size_t index) {
  const Block block = blocks_[index];
  for (std::size_t i = 0; i < canaryBytes; ++i)
    if (block.memory[i] != canary || block.memory[canaryBytes + block.bytes + i] != canary) {
      ++mistakes;
      break;
    }
  std::free(block.memory);
  blocks_.erase(blocks_.begin() + static_cast<std::ptrdiff_t>(index));
  --liveBlocks;
}

}  // namespace rq::test
