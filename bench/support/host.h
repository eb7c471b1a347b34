// A host that costs next to nothing: bump-pointer pools, transcoders between UTF-8, UTF-16 and UTF-32 with a fast
// path for ASCII. It can write down the transcoder calls that an operation makes and make them again, so that the
// host's time is known without a clock inside the operation.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "frame/rquni.h"

namespace rq::bench {

/// A pool that hands out one and the same block to a thread; for one block at a time of at most 1 GiB.
RQPool* recyclingPool();

/// Gives back the calling thread's block; for threads that end before the program does.
void giveBackLargeBlock();

/// One call of a transcoder, with its input.
struct Conversion {
  RQTranscoder* transcoder;
  std::string input;
  std::size_t capacity;
};

/// Writes down every conversion from now on, until `recorded` takes them.
void record();
std::vector<Conversion> recorded();
/// Makes the conversions again; returns the bytes produced.
std::size_t replay(const std::vector<Conversion>& conversions);

RQContext* context();
RQKernel* kernel();
RQJournal* journal();
/// The session encoding of the objects that are made next.
void setSession(std::uint32_t encoding);
/// The case service that `kernel` offers while `offered`: ASCII case, and Cyrillic and Greek by an offset.
void offerCaseService(bool offered);
RQCaseService* caseService();

/// An interface object of the library in a session of this encoding; null when the library makes none. Kept for good.
RQInterface* object(std::uint32_t encoding);

/// The host calls that making and ending one object takes, made directly.
std::size_t createDirectly();

}  // namespace rq::bench
