// ICU converters that stop at whatever they cannot convert and never substitute.
#ifndef RQUNI_HOST_ICU_H
#define RQUNI_HOST_ICU_H

#include <unicode/ucnv.h>

#include <memory>
#include <string>

namespace rq::host {

struct CloseConverter {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
};
using Converter = std::unique_ptr<UConverter, CloseConverter>;

/// A converter, or null when ICU cannot open one.
Converter openConverter(const std::string& icuName);

}  // namespace rq::host

#endif
