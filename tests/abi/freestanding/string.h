/* What callbacks.h needs of C's header, for compilers that have none. */
#pragma once
#include <stddef.h>

#if defined(__cplusplus)
extern "C" {
#endif
void* memcpy(void* into, const void* from, size_t size);
int strcmp(const char* left, const char* right);
size_t strlen(const char* text);
char* strchr(const char* text, int unit);
#if defined(__cplusplus)
}
#endif
