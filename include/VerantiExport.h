/* Marks what libcapi-veranti-service.so.0 offers to its callers; everything else is hidden. */
#pragma once

#define VERANTI_API __attribute__((visibility("default")))

/* Stands behind the name of an enumeration of the C interface, so that in C++ too each int that a C
   caller passes is one of its values. */
#ifdef __cplusplus
#define VERANTI_ANY_INT : int
#else
#define VERANTI_ANY_INT
#endif
