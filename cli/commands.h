// The commands of rqtext: one table says how each is called, what it takes and what it does.
#ifndef RQUNI_CLI_COMMANDS_H
#define RQUNI_CLI_COMMANDS_H

#include <span>

#include "cli/files.h"
#include "cli/job.h"

namespace rq::cli {

/// The operand that a command names its work by.
enum class Subject { none, form, decodedNotation, encodedNotation, host, shell };

/// Sets of options, to be added up.
namespace takes {
inline constexpr unsigned output = 1;    // --output
inline constexpr unsigned library = 2;   // --library
inline constexpr unsigned session = 4;   // --session, --flavour
inline constexpr unsigned texts = 8;     // files, --lines, --progress
inline constexpr unsigned inPlace = 16;  // --in-place, --keep-going
inline constexpr unsigned pad = 32;      // --pad
inline constexpr unsigned explain = 64;  // --explain
inline constexpr unsigned threads = 128;
inline constexpr unsigned invalid = 256;  // --invalid
inline constexpr unsigned host = 512;     // --host
inline constexpr unsigned mark = 1024;    // --bom
inline constexpr unsigned measures = output | library | session | texts | host;
inline constexpr unsigned rewrites = measures | inPlace;
}  // namespace takes

struct Command {
  const char* name;
  const char* help;
  Subject subject;
  unsigned options;            // of `takes`
  const char* jsonHelp;        // null: no --json
  const char* unmappableHelp;  // null: no --unmappable
  bool listed;                 // by --help and the completions
  const char* examples;        // for help
  /// Does the job. What it wrote to `output` before an error stays there.
  Done (*run)(const Job& job, Progress& progress, Output& output);

  bool has(unsigned option) const { return (options & option) != 0; }
};

/// All commands, in the order in which help lists them.
std::span<const Command> commands();

}  // namespace rq::cli

#endif
