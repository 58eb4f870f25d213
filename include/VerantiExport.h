/* Marks what libcapi-veranti-service.so.0 offers to its callers; everything else is hidden. */
#pragma once

#define VERANTI_API __attribute__((visibility("default")))
