// The numbers of the operations that a test can count and script: the ordinals of the functions, then the object
// operations. Written once for the library and for the tests of its users.
#pragma once

#include <cstdint>

enum QvshrCall : uint32_t {
  kQvshrCallAlloc = 1,
  kQvshrCallFree = 2,
  kQvshrCallCreateString = 3,
  kQvshrCallOpenRegistryKey = 4,
  kQvshrCallOpenDefaultTree = 5,
  kQvshrCallWideToMultiByte = 6,
  kQvshrCallGetDirectory = 7,
  kQvshrCallGetFileName = 8,
  kQvshrCallGetSpecialFolder = 9,
  kQvshrCallGetSetting = 10,
  kQvshrCallIsWebDeployment = 11,
  kQvshrCallNoDetachQuery = 12,
  kQvshrCallGetText = 20,  // counted only: a text always has its characters and its length
  kQvshrCallGetLength = 21,
  kQvshrCallConcat = 22,
  kQvshrCallOpenSubKey = 23,
  kQvshrCallEnumValue = 24,
  kQvshrCallQueryStringValue = 25,
  kQvshrCallLimit = 26,
};
