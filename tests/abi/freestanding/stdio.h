/* What the guide's program in C prints with, for compilers that have no C library. */
#pragma once
int printf(const char* format, ...);
