#include "cli/advice.h"

#include "cli/commands.h"

namespace rq::cli {

using host::Error;

Error withAdvice(const Job& job, const Error& error) {
  if (error.kind != Error::Kind::memory) return error;
  std::string advice;
  if (job.command->has(takes::texts)) {
    if (!job.lines) advice += "; --lines takes each line alone";
    if (job.jobs != 1U) advice += "; --jobs 1 needs the least";
  }
  return {Error::Kind::system, error.text + advice};
}

}  // namespace rq::cli
