// A host around another one. Its tables record the calls, refuse chosen ones and forward the others.
#ifndef RQUNI_TESTS_HOST_WRAPPING_HOST_H
#define RQUNI_TESTS_HOST_WRAPPING_HOST_H

#include <array>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "frame/host_tables.h"

namespace rq::test {

/// Any number of threads may call it at once. Must outlive what was made through it, and the host inside must outlive
/// it.
class WrappingHost {
 public:
  enum class Service {
    createPool,
    destroyPool,
    allocate,
    release,
    createTranscoder,
    destroyTranscoder,
    lookUpOption,
    querySession
  };
  /// The arguments are those of Service::allocate (bytes, flags) and Service::createTranscoder (source, target).
  struct Call {
    Service service;
    std::array<std::uint64_t, 2> arguments;
  };
  /// What was made and has not ended.
  struct Alive {
    std::int64_t pools = 0, blocks = 0, transcoders = 0;
    bool operator==(const Alive&) const = default;
  };

  WrappingHost(RQKernel& kernel, RQContext& context);
  WrappingHost(const WrappingHost&) = delete;
  WrappingHost& operator=(const WrappingHost&) = delete;

  RQKernel& kernel() { return kernel_; }
  RQContext& context() { return context_; }

  /// From now on every call of the service is answered with null; for services that make something.
  void refuse(Service service);
  Alive alive() const;
  std::vector<Call> calls() const;
  std::size_t callsOf(Service service) const;
  /// The description that came with the last pool.
  std::string poolDescription() const;

 private:
  /// A table that knows its host and the table to which it forwards.
  template <class Table>
  struct Wrapped : Table {
    WrappingHost* host;
    Table* inner;
    Wrapped(WrappingHost* itsHost, Table* itsInner) : Table{}, host(itsHost), inner(itsInner) {}
  };
  struct Pool : Wrapped<RQPool> {
    std::int64_t blocks = 0;
    Pool(WrappingHost* itsHost, RQPool* itsInner);
  };
  using Transcoder = Wrapped<RQTranscoder>;

  static RQPool* createPool(RQKernel* kernel, RQPoolParameters* parameters, RQJournal* journal,
                            const char* description);
  static RQStatus destroyPool(RQPool* pool);
  static void* allocate(RQPool* pool, std::uint64_t bytes, std::uint64_t flags);
  static void release(RQPool* pool, void* block);
  static RQTranscoder* createTranscoder(RQNlsServices* nls, std::uint64_t source, std::uint64_t target,
                                        std::uint64_t zero1, std::uint64_t zero2);
  static RQStatus destroyTranscoder(RQTranscoder* transcoder);
  static RQStatus convert(RQTranscoder* transcoder, const void* input, std::uint64_t inputBytes, void* output,
                          std::uint64_t capacityBytes, std::uint64_t* producedBytes, std::uint64_t flags);
  static RQStatus lookUpOption(RQContext* context, const RQChar* name, std::uint64_t length, std::uint64_t three,
                               std::int64_t* value, std::uint64_t* valueBytes);
  static RQStatus querySession(RQNlsServices* nls, std::int32_t* encoding);

  /// Records the call; false when it is refused.
  bool enter(const Call& call);

  mutable std::mutex mutex_;
  std::set<Service> refused_;
  std::vector<Call> calls_;
  Alive alive_;
  std::string poolDescription_;

  Wrapped<RQKernel> kernel_;
  Wrapped<RQNlsServices> nls_;
  Wrapped<RQContext> context_;
};

}  // namespace rq::test

#endif
