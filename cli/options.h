// What the user asked rqtext for.
#ifndef RQUNI_CLI_OPTIONS_H
#define RQUNI_CLI_OPTIONS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace rq::cli {

enum class Command { from, to, decode, encode, length, width, info, encodings, checkHost, completion };
enum class Flavour { plain, served, wide };

struct Options {
  Command command = Command::info;
  std::string subject;  // a Unicode form, a notation or a shell, for the commands that take one
  std::vector<std::string> files;
  std::string host;  // to check
  std::optional<std::string> output;
  std::optional<std::string> session;
  Flavour flavour = Flavour::plain;
  std::optional<std::string> library;
  std::optional<std::uint64_t> pad;
  bool lines = false, inPlace = false, json = false, explain = false, threads = false;
  std::optional<bool> progress;
};

}  // namespace rq::cli

#endif
