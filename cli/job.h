// What rqtext is to do: the command line, checked and typed.
#ifndef RQUNI_CLI_JOB_H
#define RQUNI_CLI_JOB_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "frame/interface.h"
#include "host/codec.h"
#include "host/notation.h"

namespace rq::cli {

using host::Notation;
using host::Unmappable;

struct Command;

enum class Flavour { plain, served, wide };
enum class Shell { bash, zsh, fish };

/// A command and what it works on. A command reads the members that its row in the table of commands lists.
struct Job {
  const Command* command = nullptr;
  RQForm form = RQ_FORM_UTF8;  // the native ones: byte order marks say in which order
  Notation notation = Notation::ncr;
  Shell shell = Shell::bash;
  std::string host;                // to check, or to work with instead of the tool's own
  std::vector<std::string> files;  // never empty for commands that read texts
  std::optional<std::string> output;
  std::optional<std::string> session;
  Flavour flavour = Flavour::plain;
  std::optional<std::string> library;
  std::optional<std::uint64_t> padBytes;
  std::optional<bool> progress;
  std::optional<unsigned> jobs;          // threads that work on texts
  std::string backupSuffix;              // of files edited in place; empty for no backup
  std::optional<Unmappable> unmappable;  // each command has its own default
  bool keepInvalid = false, keepGoing = false, byteOrderMark = false;
  bool lines = false, inPlace = false, json = false, explain = false, threads = false, quiet = false;
};

}  // namespace rq::cli

#endif
