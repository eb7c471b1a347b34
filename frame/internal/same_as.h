// Exported functions that are one routine with several names.
#ifndef RQUNI_FRAME_INTERNAL_SAME_AS_H
#define RQUNI_FRAME_INTERNAL_SAME_AS_H

/// Defines the exported function `name` as another name of `other`, a function of the same file. For operations whose
/// served flavour does not differ from the plain one.
#define RQ_SAME_AS(name, other) decltype(other) name __attribute__((alias(#other)));

#endif
