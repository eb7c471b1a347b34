// How near two names are, to propose what somebody may have meant.
#ifndef RQUNI_HOST_SPELLING_H
#define RQUNI_HOST_SPELLING_H

#include <cstddef>
#include <string_view>

namespace rq::host {

/// The least number of characters to insert, remove or replace that turns one word into the other.
std::size_t stepsBetween(std::string_view from, std::string_view to);

}  // namespace rq::host

#endif
