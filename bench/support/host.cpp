#include "bench/support/host.h"

#include <sys/mman.h>

#include <cstdlib>
#include <cstring>
#include <map>

#include "bench/support/convert.h"
#include "bench/support/library.h"

namespace rq::bench {
namespace {

std::uint32_t session = RQ_ENCODING_UTF8;
bool recording = false;
std::vector<Conversion> written;

// --- Pools: one reserved stretch a thread for the large block, a small one for the object.

struct Pool : RQPool {
  char small[2048];
};

/// Room for the working buffer of any row; pages that are not touched cost nothing.
constexpr std::size_t largeBytes = std::size_t{1} << 30;
thread_local constinit char* threadsBlock = nullptr;

char* mapLargeBlock() {
  void* const mapped =
      mmap(nullptr, largeBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (mapped == MAP_FAILED) std::abort();
  madvise(mapped, largeBytes, MADV_HUGEPAGE);
  return static_cast<char*>(mapped);
}

char* largeBlock() {
  if (!threadsBlock) [[unlikely]]
    threadsBlock = mapLargeBlock();
  return threadsBlock;
}

void* allocate(RQPool* pool, std::uint64_t bytes, std::uint64_t) {
  auto* const self = static_cast<Pool*>(pool);
  return bytes == sizeof(RQInterface) ? self->small : largeBlock();
}
void release(RQPool*, void*) {}
RQStatus destroyPool(RQPool* pool) {
  delete static_cast<Pool*>(pool);
  return 0;
}

Pool* newPool() {
  auto* const pool = new Pool;
  pool->destroy = destroyPool;
  pool->allocate = allocate;
  pool->release = release;
  return pool;
}

RQPool* createPool(RQKernel*, RQPoolParameters*, RQJournal*, const char*) {
  return newPool();
}

// --- Transcoders.

struct Transcoder : RQTranscoder {
  Convert* function;
};

RQStatus convert(RQTranscoder* transcoder, const void* input, std::uint64_t inputBytes, void* output,
                 std::uint64_t capacity, std::uint64_t* produced, std::uint64_t) {
  if (recording) [[unlikely]]
    written.push_back({transcoder, std::string(static_cast<const char*>(input), inputBytes), capacity});
  return static_cast<Transcoder*>(transcoder)->function(input, inputBytes, output, capacity, produced);
}
RQStatus destroyTranscoder(RQTranscoder* transcoder) {
  delete static_cast<Transcoder*>(transcoder);
  return 0;
}
RQTranscoder* createTranscoder(RQNlsServices*, std::uint64_t source, std::uint64_t target, std::uint64_t,
                               std::uint64_t) {
  auto* const made = new Transcoder;
  made->destroy = destroyTranscoder;
  made->convert = convert;
  made->function = converter(static_cast<std::uint32_t>(source), static_cast<std::uint32_t>(target));
  return made;
}

RQStatus lookUpOption(RQContext*, const RQChar*, std::uint64_t, std::uint64_t, std::int64_t* value, std::uint64_t*) {
  *value = session;
  return 0;
}
std::uint64_t logNothing(RQJournal*, std::uint64_t, std::uint64_t, va_list) {
  return 0;
}

// --- The case services.

RQChar upper(RQCaseService*, RQChar c, std::uint64_t) {
  if ((c - 0x430 < 32) || (c - 0x3B1 < 25 && c != 0x3C2)) return c - 32;
  return c;
}
RQChar lower(RQCaseService*, RQChar c, std::uint64_t) {
  if ((c - 0x410 < 32) || (c - 0x391 < 25 && c != 0x3A2)) return c + 32;
  return c;
}
void upperDigits(RQCharsetService*, void* buffer, std::uint64_t length, std::uint64_t) {
  auto* const p = static_cast<unsigned char*>(buffer);
  for (std::uint64_t i = 0; i < length; ++i)
    if (p[i] >= 'a' && p[i] <= 'z') p[i] = static_cast<unsigned char>(p[i] - 0x20);
}

template <class Table>
Table* zeroed() {
  return static_cast<Table*>(std::calloc(1, sizeof(Table)));
}

RQNlsServices* nls() {
  static RQNlsServices* const services = [] {
    auto* const made = zeroed<RQNlsServices>();
    made->createTranscoder = createTranscoder;
    return made;
  }();
  return services;
}

}  // namespace

RQPool* recyclingPool() {
  static RQPool* const pool = newPool();
  return pool;
}

void giveBackLargeBlock() {
  if (threadsBlock) munmap(threadsBlock, largeBytes);
  threadsBlock = nullptr;
}

void record() {
  written.clear();
  recording = true;
}

std::vector<Conversion> recorded() {
  recording = false;
  return std::move(written);
}

std::size_t replay(const std::vector<Conversion>& conversions) {
  static char* const output = [] {
    return static_cast<char*>(mmap(nullptr, std::size_t{1} << 29, PROT_READ | PROT_WRITE,
                                   MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
  }();
  std::size_t total = 0;
  for (const Conversion& one : conversions) {
    std::uint64_t produced = 0;
    one.transcoder->convert(one.transcoder, one.input.data(), one.input.size(), output, one.capacity, &produced, 0);
    total += produced;
  }
  return total;
}

RQJournal* journal() {
  static RQJournal* const made = [] {
    auto* const table = zeroed<RQJournal>();
    table->statusToJnl = logNothing;
    return table;
  }();
  return made;
}

RQContext* context() {
  static RQContext* const made = [] {
    auto* const table = zeroed<RQContext>();
    table->lookUpOption = lookUpOption;
    table->journal = journal();
    table->nls = nls();
    return table;
  }();
  return made;
}

RQKernel* kernel() {
  static RQKernel* const made = [] {
    auto* const table = zeroed<RQKernel>();
    table->createPool = createPool;
    return table;
  }();
  return made;
}

RQCaseService* caseService() {
  static RQCaseService* const made = [] {
    auto* const charset = zeroed<RQCharsetService>();
    charset->upperCase = upperDigits;
    auto* const table = zeroed<RQCaseService>();
    table->upper = upper;
    table->lower = lower;
    table->charset = charset;
    return table;
  }();
  return made;
}

void offerCaseService(bool offered) {
  kernel()->caseService = offered ? caseService() : nullptr;
}
void setSession(std::uint32_t encoding) {
  session = encoding;
}

RQInterface* object(std::uint32_t encoding) {
  static std::map<std::uint32_t, RQInterface*> made;
  if (const auto found = made.find(encoding); found != made.end()) return found->second;
  const auto registerKernel = RQ_OURS(rqextver);
  const auto create = RQ_OURS(rquni);
  if (!registerKernel || !create) return nullptr;
  std::uint64_t major = 0, minor = 0;
  registerKernel(kernel(), &major, &minor);
  setSession(encoding);
  return made[encoding] = create(context(), nullptr);
}

std::size_t createDirectly() {
  RQPoolParameters parameters = {};
  RQPool* const pool = kernel()->createPool(kernel(), &parameters, journal(), "");
  auto* const block = static_cast<RQInterface*>(pool->allocate(pool, sizeof(RQInterface), 0x80000000));
  std::int64_t value = -1;
  std::uint64_t length = 8;
  context()->lookUpOption(context(), nullptr, 21, 3, &value, &length);
  auto** const slots = reinterpret_cast<RQTranscoder**>(block->transcoders);
  for (std::size_t i = 0; i < 2 * RQ_FORMS; ++i) slots[i] = nls()->createTranscoder(nls(), 20, 27, 0, 0);
  for (std::size_t i = 0; i < 2 * RQ_FORMS; ++i) slots[i]->destroy(slots[i]);
  pool->destroy(pool);
  return 1 + 1 + 1 + 2 * RQ_FORMS + 2 * RQ_FORMS + 1;
}

}  // namespace rq::bench
