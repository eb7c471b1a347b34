// The commands and options of rqtext: what --help lists and the shells complete.
#ifndef RQUNI_HOST_CLI_COMMAND_LINE_H
#define RQUNI_HOST_CLI_COMMAND_LINE_H

#include <CLI/CLI.hpp>

#include "host/cli/options.h"

namespace rq::cli {

/// The types that arguments are listed with; shells complete what they name.
inline constexpr const char *fileType = "FILE", *encodingType = "ENCODING";

/// Describes them to `app`, which fills `options` when it parses. Both must live until then.
void describe(CLI::App &app, Options &options);

}  // namespace rq::cli

#endif
