// A host: all tables together, and a session with a loaded library.
#ifndef RQUNI_HOST_HOST_H
#define RQUNI_HOST_HOST_H

#include <cstdint>
#include <memory>

#include "host/case_service.h"
#include "host/context.h"
#include "host/journal.h"
#include "host/kernel.h"
#include "host/library.h"
#include "host/nls.h"
#include "host/result.h"

namespace rq::host {

/// One host with all its tables. Must outlive its sessions and the library's use of its kernel handle.
class Host {
 public:
  explicit Host(std::uint32_t sessionEncoding = RQ_ENCODING_UTF8);

  Journal journal;
  NlsServices nls;
  CaseService caseService;
  Kernel kernel;
  Context context;
};

/// An interface object and the library that made it. One thread opens and ends it; meanwhile any number may call.
class Session {
 public:
  /// Registers the kernel with the library and has an interface object made from the context. Fails when the library
  /// speaks another version of the interface, when it makes no object, and when the object lacks a transcoder. The
  /// error quotes what the library reported to `journal`, which should be the context's own.
  static Result<Session> open(const Library& library, RQKernel& kernel, RQContext& context, const Journal& journal);
  static Result<Session> open(const Library& library, Host& host);
  /// In another session encoding than the host's own.
  static Result<Session> open(const Library& library, Host& host, std::uint32_t encoding);

  RQInterface* object() const { return object_.get(); }
  RQInterface* operator->() const { return object_.get(); }

 private:
  struct Destroy {
    void operator()(RQInterface* object) const { object->destroy(object); }
  };
  explicit Session(RQInterface* object) : object_(object) {}
  std::unique_ptr<RQInterface, Destroy> object_;
};

}  // namespace rq::host

#endif
