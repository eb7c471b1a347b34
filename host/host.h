// A host: all tables together, and a session with a loaded library.
#ifndef RQUNI_HOST_HOST_H
#define RQUNI_HOST_HOST_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

#include "host/case_service.h"
#include "host/context.h"
#include "host/instruments.h"
#include "host/journal.h"
#include "host/kernel.h"
#include "host/library.h"
#include "host/nls.h"
#include "host/result.h"

namespace rq::host {

struct HostOptions {
  std::int32_t session = RQ_ENCODING_UTF8;  // the session encoding's identifier
  bool sessionByOption = true;              // offered as an option; without it only through the session query
  RQStatus queryAnswer = 0;                 // of the session query
  bool offersJournal = true;                // by the context
  bool offersNls = true;
  bool offersCaseService = true;
  bool charsetAtHand = true;           // "ZQD" stands in the case service's word; else by its name only
  std::optional<std::byte> blockFill;  // of pool blocks, zeros without one
};

/// One host with all its tables. Must outlive the sessions that use it, and the library's use of its kernel handle.
class Host {
 public:
  explicit Host(const HostOptions& options = {});

  Instruments instruments;
  Journal journal;
  NlsServices nls;
  CaseService caseService;
  Kernel kernel;
  Context context;
};

/// An interface object and the library that made it. One thread opens and ends it; meanwhile any number may call.
class Session {
 public:
  /// Registers the host's kernel with the library and has an interface object made. Fails when the library speaks
  /// another version of the interface, when it makes none, and when the object lacks a transcoder.
  static Result<Session> open(const Library& library, Host& host);
  /// The same in another session encoding than the host's own, by its identifier.
  static Result<Session> open(const Library& library, Host& host, std::uint32_t encoding);

  RQInterface* object() const { return object_.get(); }
  RQInterface* operator->() const { return object_.get(); }

 private:
  struct Destroy {
    void operator()(RQInterface* object) const { object->destroy(object); }
  };
  static Result<Session> openIn(const Library& library, Host& host, RQContext& context);
  explicit Session(RQInterface* object) : object_(object) {}
  std::unique_ptr<RQInterface, Destroy> object_;
};

}  // namespace rq::host

#endif
