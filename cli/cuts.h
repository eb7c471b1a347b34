// Where a long text may be cut, so that the results of its pieces are the result of the whole.
#ifndef RQUNI_CLI_CUTS_H
#define RQUNI_CLI_CUTS_H

#include <functional>

#include "cli/files.h"
#include "host/encodings.h"
#include "host/notation.h"

namespace rq::cli {

/// The length of the longest beginning of a text that can be worked on while the rest is not known, 0 if there is
/// none.
using Cut = std::function<std::size_t(Bytes text)>;

/// Not before the end.
Cut cutNowhere();
/// Between two characters.
Cut cutAtCharacters(const host::Encoding& encoding);
/// Between two characters, where the results in `target` are the same.
Cut cutForTarget(const host::Encoding& encoding, const host::Encoding& target);
/// Where no notation is open, and none that a decoder reads together with the next.
Cut cutForDecoding(host::Notation notation, bool wide);
/// Where `cut` cuts, and between two characters as well.
Cut cutBetween(Cut cut, const host::Encoding& encoding);
/// Where no notation is open that an encoder lets pass or doubles, if it sees five more characters behind the piece.
/// In some encodings a byte below 0x80 is not its ASCII character. What an encoder makes of it depends on whether the
/// text has bytes above: without one before it, it begins a piece that reaches to the first one. For one text.
Cut cutForEncoding(host::Notation notation, const host::Encoding& encoding);

}  // namespace rq::cli

#endif
