// This backend as the library's host.
#ifndef RQUNI_ENGINES_POSTGRESQL_HOST_H
#define RQUNI_ENGINES_POSTGRESQL_HOST_H

#include "engines/postgresql/encoding.h"
#include "engines/session.h"

namespace rq::postgresql {

/// What an operation needs: the object, and the session that tells what went wrong.
struct Host {
  RQInterface* object;
  engines::Session* session;
};

/// The backend's host, made at the first call. Raises an error when it cannot be made; the next call tries again.
/// Clears what the last operation left.
Host enter();

}  // namespace rq::postgresql

#endif
