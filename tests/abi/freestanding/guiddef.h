/* The one Windows header that the public header needs, for compilers that have no Windows headers at hand. */
#ifndef GUIDDEF_H
#define GUIDDEF_H
typedef struct {
  unsigned long Data1;
  unsigned short Data2;
  unsigned short Data3;
  unsigned char Data4[8];
} GUID;
#endif
