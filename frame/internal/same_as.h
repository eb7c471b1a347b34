// Exported functions that are one routine under several names.
#ifndef RQUNI_FRAME_INTERNAL_SAME_AS_H
#define RQUNI_FRAME_INTERNAL_SAME_AS_H

/// Defines the exported function `name` as `other`, a function of the same file. Where the served flavour of an
/// operation does not differ from the plain one, it is the same routine.
#define RQ_SAME_AS(name, other) decltype(other) name __attribute__((alias(#other)));

#endif
