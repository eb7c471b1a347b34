/* The kit's exports under their own names, taken from the loaded library. */
#ifndef RQUNI_TESTS_MODEL_KIT_H
#define RQUNI_TESTS_MODEL_KIT_H

#include <type_traits>

#include "frame/kit_exports.h"
#include "tests/model/library.h"

namespace rq::test {

// A pointer to the function, or to the first element of the table. Each hides the declaration of its name, which is
// not linked.
#define RQ_KIT_EXPORT(name) inline const auto name = Library::get().symbol<std::decay_t<decltype(::name)>>(#name);
#include "frame/kit_exports.def"
#undef RQ_KIT_EXPORT

}  // namespace rq::test

#endif
