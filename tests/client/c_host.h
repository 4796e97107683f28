/* A host in C that Java calls, for tests in C++. */
#ifndef QVTEST_C_HOST_H
#define QVTEST_C_HOST_H

#include "qvjvm/callbacks.h"

#if defined(__cplusplus)
extern "C" {
#endif

/* Implements client.Callbacks.Every: gives back what it gets, and for `all`, which wants a context of 7, "whole ". */
extern const qv_implementation kEveryInC;

/* Gives back its argument, whatever it is. */
int32_t SameInC(qv_call* call);

/* Functions for native methods of client.Natives. */
extern const qv_native kNativesInC[];
extern const int32_t kNativesInCCount;

/* How often the `end` of kEveryInC was called. */
int32_t EndsInC(void);

#if defined(__cplusplus)
}
#endif

#endif
