// A library of the host's that does something with the service or the process when it is detached.
#pragma once

#include "qvjvm/qvjvm.h"

enum DetachWork : int {
  kDetachNothing,
  kDetachExitProcess,    // ends the process again, with the code
  kDetachExit,           // the same through the C runtime
  kDetachRelease,        // takes and gives back a reference, asks for the error text, and releases the object
  kDetachUseAndRelease,  // calls Java, which must fail, and releases the object
  kDetachReadText,       // reads the error text that the object has, and releases the object
};

// Exported as "PlanDetach". What the detach finds wrong it prints; a detach that went through prints "detached".
using PlanDetachFn = void (*)(DetachWork work, IQV_JavaVM* vm, unsigned exitCode);
