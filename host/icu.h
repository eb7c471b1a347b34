// ICU converters that stop at whatever they cannot convert, unless asked to replace what their encoding lacks.
#ifndef RQUNI_HOST_ICU_H
#define RQUNI_HOST_ICU_H

#include <unicode/ucnv.h>

#include <memory>
#include <string>

#include "host/codec.h"

namespace rq::host {

struct CloseConverter {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

/// A converter, or null when ICU cannot open one.
Converter openConverter(const std::string& icuName);

/// The same, of a converter that does so with characters that the encoding lacks.
Converter openConverter(const std::string& icuName, Unmappable unmappable);

}  // namespace rq::host

#endif
